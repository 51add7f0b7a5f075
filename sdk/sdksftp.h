#pragma once

#include "sdk/sdkobject.h"
#include "sdk/sdksocketfd.h"

#include <QByteArray>
#include <QHash>
#include <QLoggingCategory>
#include <QStringList>

#include <libssh2.h>
#include <libssh2_sftp.h>

Q_DECLARE_LOGGING_CATEGORY(lcSdkSftp)

// The back end of private cloud storage: an SSH session (password log-in) with the SFTP subsystem, run by
// libssh2 in blocking mode on a TCP connection that a QTcpSocket opens.
//
// The object is built on the login worker, used on the GUI thread and deleted on the logout worker, so it
// keeps nothing bound to a thread: the connection is held as a plain descriptor, and every blocking SSH
// call is bounded by the session time-out.
class SdkSftp : public SdkObject
{
    Q_OBJECT
public:
    static const int ConnectTimeoutMs = 30000;
    static const int DefaultSessionTimeoutMs = 30000;
    // Room for a name and for a long-entry line as large as anything one SFTP packet can carry (the
    // library's packet limit): an entry that does not fit would be lost, as the library counts it read.
    static const int ListingBufferSize = 256 * 1024;
    // A folder read stops after this many entries, so that a folder without end cannot eat all memory.
    static const int DefaultListingLimit = 200000;

    // Starts and ends the SSH library for the process; start-up calls them once each.
    static int init();
    static void exit();

    explicit SdkSftp(QObject *parent = nullptr);
    ~SdkSftp() override;

    void upload(const QString &file) override;
    void uploadDir(const QString &dir) override;
    void download(int id) override;
    void reservedOperation(int argument) override;
    void deleteTask(int id) override;
    QList<TaskInfo *> refreshTask(int type, int status) override;
    QList<DownloadInfo *> refreshDown(const QString &name) override;
    QList<FileEntry *> getFileInfo(const QString &path, const QString &name) override;
    void deleteFile(const QString &path) override;
    bool connectToServer() override;
    void parseAuthCode(const QString &json) override;
    void loadSampleSettings() override;
    const QString &userName() const override { return m_userName; }
    const QString &homePath() const override { return m_homePath; }
    const QString &projectName() const override { return m_projectName; }
    int validDays() const override { return m_validDays; }
    void continueTask(int id) override;
    void pauseTask(int id) override;
    void createDir(const QString &path) override;
    void rename(const QString &oldPath, const QString &newPath) override;
    void setServerState(const ServerState &state) override;

    // Ends the SFTP subsystem and the session; the destructor calls it.
    void disconnectFromServer();
    // Fills one listed entry's size and modification time from the cache, from the attributes the folder
    // read gave (when given) or from a stat; false when the stat failed.
    bool fillEntryDetails(FileEntry *entry, const QString &folder, const LIBSSH2_SFTP_ATTRIBUTES *listed = nullptr);
    // One stat request, answered from the per-path cache once a path has been seen; attributes that a
    // folder read gave for this very non-link entry answer it without the round trip.
    LIBSSH2_SFTP_ATTRIBUTES getFileInfoFromSftpServer(const QString &fullPath,
                                                      const LIBSSH2_SFTP_ATTRIBUTES *listed = nullptr);

    QString host() const { return m_host; }
    quint32 port() const { return m_port; }
    bool isConnected() const { return m_sftp != nullptr; }

    // For tests only: the limit on each blocking SSH call, 30000 ms unless changed. Takes effect for the
    // next connection and for the current session.
    void setSessionTimeout(int milliseconds);
    // For tests only: the number of entries after which a folder read stops (200,000 otherwise).
    void setListingLimit(int entries);
    // True once the server left a request unanswered for the whole session time-out: the session is then
    // dead, and every later request fails at once.
    bool isServerSilent() const { return m_serverSilent; }

    // One entry of a folder read: the name, the `ls -l` style line and the attributes the server sent.
    struct ListedEntry
    {
        QByteArray name;
        QByteArray longEntry;
        LIBSSH2_SFTP_ATTRIBUTES attributes {};
    };
    // The listing row for one read entry (parts: its long-entry line split by splitLongEntry), or null
    // for ".".
    static FileEntry *entryFromListing(const ListedEntry &listed, const QStringList &parts, int id);
    static QStringList splitLongEntry(const QString &longEntry);
    // A path as the stat, mkdir and rename requests send it: local 8-bit bytes cut to the path's count
    // of characters.
    static QByteArray encodedPath(const QString &path);

private:
    bool openTcpConnection();
    void shutdownSftp();
    void endSession();
    void prepareGoodbye();
    QString hostKeyFingerprint(QByteArray *raw) const;
    // False, with the session ended, when the server shows another key than the one recorded for it.
    bool hostKeyTrusted();
    QByteArray authenticationMethods();
    // A listed row and what the folder read said about it: the attributes, and whether a stat of the
    // row's path would name this very entry (so that they may stand for that stat).
    struct ListedRow
    {
        FileEntry *entry = nullptr;
        LIBSSH2_SFTP_ATTRIBUTES attributes {};
        bool attributesStandForStat = false;
    };
    QList<ListedRow> readFolder(LIBSSH2_SFTP_HANDLE *folder, const QString &path, bool *cutShort);
    static void echoListedEntry(const ListedEntry &listed);
    static bool attributesStandForStat(const ListedEntry &listed, const FileEntry &entry, const QByteArray &folder);
    bool targetExists(const QByteArray &encodedPath);
    // The one way a failure is recorded: the text for lastError, the error flag unless the caller keeps
    // it, and a log line (level 1) under the caller's name when one is given.
    enum class ErrorFlag { Set, Keep };
    void setError(const QString &text, const char *loggedBy = nullptr, ErrorFlag flag = ErrorFlag::Set);
    // Marks the session dead when rc is the session time-out; true (with the error set) when it is dead.
    bool serverSilent(int rc, const char *operation);
    QString silentServerText() const;

    QString m_userName;
    QString m_password;
    QString m_host;
    quint32 m_port = 0;
    QString m_homePath;
    QString m_projectName;
    int m_validDays = 0;
    SdkSocketFd m_socket;
    LIBSSH2_SESSION *m_session = nullptr;
    LIBSSH2_SFTP *m_sftp = nullptr;
    [[maybe_unused]] LIBSSH2_SFTP_HANDLE *m_dirHandle = nullptr; // the listing keeps its handle locally
    QHash<QString, LIBSSH2_SFTP_ATTRIBUTES> m_entryCache;
    int m_dirMode = 0755;
    int m_sessionTimeoutMs = DefaultSessionTimeoutMs;
    int m_listingLimit = DefaultListingLimit;
    bool m_serverSilent = false;
};
