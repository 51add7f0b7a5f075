#pragma once

#include "model/downloadinfo.h"
#include "model/fileentry.h"
#include "model/taskinfo.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>

// Connection state of a back end; only "not connected" is ever held so far.
enum ServerState : qint32 { ServerDisconnected = 0 };

// The storage back end that the facade drives. A failed operation leaves hasError and lastError for the
// caller to read; lists returned by the listing and refresh operations are handed over to the caller.
class SdkObject : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~SdkObject() override = default;

    virtual void upload(const QString &file) = 0;
    virtual void uploadDir(const QString &dir) = 0;
    virtual void download(int id) = 0;
    virtual void reservedOperation(int argument) = 0;
    virtual void deleteTask(int id) = 0;
    virtual QList<TaskInfo *> refreshTask(int type, int status) = 0;
    virtual QList<DownloadInfo *> refreshDown(const QString &name) = 0;
    virtual QList<FileEntry *> getFileInfo(const QString &path, const QString &name) = 0;
    virtual void deleteFile(const QString &path) = 0;
    virtual bool connectToServer() = 0;
    virtual void parseAuthCode(const QString &json) = 0;
    virtual void loadSampleSettings() = 0;
    virtual const QString &userName() const = 0;
    virtual const QString &homePath() const = 0;
    virtual const QString &projectName() const = 0;
    virtual int validDays() const = 0;
    virtual void continueTask(int id) = 0;
    virtual void pauseTask(int id) = 0;
    virtual void createDir(const QString &path) = 0;
    virtual void rename(const QString &oldPath, const QString &newPath) = 0;
    virtual void setServerState(const ServerState &state) = 0;

    ServerState serverState() const { return state; }

    // The top-level object of a decoded authorization code. Empty when the text is not a JSON object, or
    // when one of its objects repeats a name: such a code is ambiguous, and Qt 5.15's parser loses the
    // memory of the value that the repeated name replaces.
    static QJsonObject parseCodeJson(const QString &json);

    QString lastError;
    bool hasError = false;

signals:
    void serverStateChanged(ServerState state);

protected:
    // Stores a state that differs from the current one and announces it.
    void applyServerState(const ServerState &newState);

    ServerState state = ServerDisconnected;
};
