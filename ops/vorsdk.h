#pragma once

#include "model/fileentry.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class QJsonObject;
class SdkObject;

// The single entry through which the pages act on the signed-in account: it forwards each action to the
// current back end and writes the results into the session store, whose signals redraw the pages.
class VorSdk : public QObject
{
    Q_OBJECT
public:
    static VorSdk *instance();

    // Returns the message to show, empty on success. Runs on the login worker.
    QString login(const QString &code);
    // Deletes the back end. Runs on the logout worker.
    void exit();

    void getFileInfo(const QString &path, const QString &name);
    void refreshSave(const QString &name);
    void EnterDir(const QString &dir);
    void createDir(const QString &path);
    void renameFile(const QString &oldPath, const QString &newPath);
    void deleteFile(const QString &path);

    void upload(const QStringList &files);
    void uploadDir(const QString &dir);
    void download(int id);
    void download(const QList<FileEntry *> &entries);
    void deleteTask(int id);
    void deleteTask(const QList<int> &ids);
    void pauseTask(int id);
    void continueTask(int id);
    void refreshTask(int type, int status);
    void refreshDown(const QString &name);

    SdkObject *backend() const { return m_backend; }
    // What the pages read after a folder operation; with no back end the operation cannot have worked.
    bool backendHasError() const;
    QString backendLastError() const;

    // Makes a back end the current one. It may have been built on a worker thread: it is moved to the
    // facade's thread, which uses it, and becomes the facade's child.
    void adoptBackend(SdkObject *backend);

    // The JSON text inside an authorization code: outer base64, a six-character prefix, inner base64.
    static QString decodeAuthCode(const QString &code);

    // The kind of store a decoded code names in "storage"; anything but the exact lower-case names is
    // unknown.
    enum class Storage { Unknown, Sftp, Tarn };
    static Storage storageOf(const QJsonObject &code);
    // A new back end of that kind without parent, or null for an unknown kind.
    static SdkObject *createBackend(Storage storage);

private:
    explicit VorSdk(QObject *parent = nullptr);
    bool hasBackend(const char *operation) const;

    SdkObject *m_backend = nullptr;
};
