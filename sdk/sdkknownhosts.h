#pragma once

#include <QString>

#include <libssh2.h>

#include <optional>

// The host keys of the servers this user has signed in to, in an OpenSSH known-hosts file in the
// program's configuration folder. A server seen for the first time is trusted and recorded; one that
// later shows another key is refused, since it may be an impostor waiting for the password.
//
// libssh2 reads and writes the lines, Qt the file. A file that cannot be read or written is reported in the
// log and the key counts as unknown: the sign-in goes on without it.
class SdkKnownHosts
{
public:
    enum class Verdict {
        Known, // the recorded key
        Unknown, // not recorded before (and now recorded, unless the file cannot be written)
        Changed, // another key than the recorded one
    };

    // Works on the host key that the session's key exchange brought.
    explicit SdkKnownHosts(LIBSSH2_SESSION *session, const QString &filePath = defaultFilePath());
    ~SdkKnownHosts();
    SdkKnownHosts(const SdkKnownHosts &) = delete;
    SdkKnownHosts &operator=(const SdkKnownHosts &) = delete;

    // known_hosts in the program's configuration folder.
    static QString defaultFilePath();
    QString filePath() const { return m_filePath; }

    // Checks the session's key for host and port; an unknown key is recorded.
    Verdict check(const QString &host, quint16 port);
    // "SHA256:" and the unpadded base64 of the key's SHA-256 hash, as ssh-keygen -l shows it.
    QString sha256Fingerprint() const;
    // What the user is told when the key changed: in our words, with the new fingerprint and the file.
    QString changedKeyExplanation() const;

private:
    bool readFile();
    void record(const QByteArray &name, const char *key, size_t keyLength, int keyType);
    bool writeFile();
    // The list in the file's format, one line a host; none when a host's line cannot be made.
    std::optional<QByteArray> fileContents() const;

    LIBSSH2_SESSION *m_session;
    LIBSSH2_KNOWNHOSTS *m_hosts;
    QString m_filePath;
};
