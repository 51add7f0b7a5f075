#pragma once

#include "sdk/sdkobject.h"

#include <QStringList>
#include <QVariant>
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
    int taskCount = 0;
    int downloadCount = 0;
    bool failFolderOperations = false;
    QString failureText = QStringLiteral("folder operation failed");
    QString user = QStringLiteral("recorder"), home = QStringLiteral("/home"), project;

    void upload(const QString &file) override { note("upload", file); }
    void uploadDir(const QString &dir) override { note("uploadDir", dir); }
    void download(int id) override { note("download", id); }
    void reservedOperation(int argument) override { note("reservedOperation", argument); }
    void deleteTask(int id) override { note("deleteTask", id); }
    QList<TaskInfo *> refreshTask(int type, int status) override;
    QList<DownloadInfo *> refreshDown(const QString &name) override;
    QList<FileEntry *> getFileInfo(const QString &path, const QString &name) override;
    void deleteFile(const QString &path) override { note("deleteFile", path); }
    bool connectToServer() override
    {
        note("connectToServer");
        return true;
    }
    void parseAuthCode(const QString &json) override { note("parseAuthCode", json); }
    void loadSampleSettings() override { note("loadSampleSettings"); }
    const QString &userName() const override { return user; }
    const QString &homePath() const override { return home; }
    const QString &projectName() const override { return project; }
    int validDays() const override { return 7; }
    void continueTask(int id) override { note("continueTask", id); }
    void pauseTask(int id) override { note("pauseTask", id); }
    void createDir(const QString &path) override { noteFolderOperation("createDir", path); }
    void rename(const QString &from, const QString &to) override { noteFolderOperation("rename", from, to); }
    void setServerState(const ServerState &newState) override;

    // Rows shaped like a listing: folders and files with the given names, ids from 0.
    static QList<FileEntry *> makeEntries(const QStringList &names, const QStringList &folders = {});

private:
    template<typename... Args> void note(const char *operation, const Args &...args)
    {
        QStringList words { QLatin1String(operation) };
        (words << ... << QVariant(args).toString());
        calls << words.join(QLatin1Char(' '));
    }
    template<typename... Args> void noteFolderOperation(const char *operation, const Args &...args)
    {
        note(operation, args...);
        hasError = failFolderOperations;
        if (failFolderOperations)
            lastError = failureText;
    }
};
