#pragma once

#include "sdk/sdkobject.h"

#include <QStringList>
#include <functional>

// A back end for page and facade tests: it notes every call as "operation argument..." and returns the
// rows and failures the test sets up. Listings are produced fresh on each call, as a real back end's are.
class RecordingBackend : public SdkObject
{
    Q_OBJECT
public:
    using SdkObject::SdkObject;

    QStringList calls;
    std::function<QList<FileEntry *>(const QString &path)> listing;
    int taskCount = 0, downloadCount = 0;
    bool failFolderOperations = false;
    QString user = QStringLiteral("recorder"), home = QStringLiteral("/home"), project;

    void upload(const QString &file) override { calls << "upload " + file; }
    void uploadDir(const QString &dir) override { calls << "uploadDir " + dir; }
    void download(int id) override { calls << QStringLiteral("download %1").arg(id); }
    void reservedOperation(int argument) override { calls << QStringLiteral("reservedOperation %1").arg(argument); }
    void deleteTask(int id) override { calls << QStringLiteral("deleteTask %1").arg(id); }
    QList<TaskInfo *> refreshTask(int type, int status) override;
    QList<DownloadInfo *> refreshDown(const QString &name) override;
    QList<FileEntry *> getFileInfo(const QString &path, const QString &name) override;
    void deleteFile(const QString &path) override { calls << "deleteFile " + path; }
    bool connectToServer() override { return true; }
    void parseAuthCode(const QString &) override { }
    void loadSampleSettings() override { }
    const QString &userName() const override { return user; }
    const QString &homePath() const override { return home; }
    const QString &projectName() const override { return project; }
    int validDays() const override { return 7; }
    void continueTask(int id) override { calls << QStringLiteral("continueTask %1").arg(id); }
    void pauseTask(int id) override { calls << QStringLiteral("pauseTask %1").arg(id); }
    void createDir(const QString &path) override { folderOperation("createDir " + path); }
    void rename(const QString &from, const QString &to) override { folderOperation("rename " + from + ' ' + to); }
    void setServerState(const ServerState &) override { }

    // Rows shaped like a listing: folders and files with the given names, ids from 0.
    static QList<FileEntry *> makeEntries(const QStringList &names, const QStringList &folders = {});

private:
    void folderOperation(const QString &call)
    {
        calls << call;
        hasError = failFolderOperations;
        lastError = QStringLiteral("folder operation failed"); // read only when hasError is set
    }
};
