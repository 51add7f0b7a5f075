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
    QList<TaskInfo *> refreshTask(int type, int status) override
    {
        calls << QStringLiteral("refreshTask %1 %2").arg(type).arg(status);
        QList<TaskInfo *> tasks;
        for (int i = 0; i < taskCount; ++i) {
            const int status = i % 5; // 4: a status no back end sends
            const QDateTime created(QDate(2026, 1, 2 + i % 28), QTime(13, 4, 5));
            tasks << new TaskInfo { i,      QStringLiteral("task%1").arg(i), i % 2 == 0, i % 2 ? "下载" : "上传",
                                    status, QStringLiteral("%1 MB").arg(i),  created,    status == 1 ? 100 : 40 + i };
        }
        return tasks;
    }
    QList<DownloadInfo *> refreshDown(const QString &name) override
    {
        calls << "refreshDown " + name;
        QList<DownloadInfo *> rows;
        for (int i = 0; i < downloadCount; ++i) {
            const QDateTime started(QDate(2026, 3, 1 + i % 28), QTime(23, 59, 58));
            const QDateTime elapsed(QDate(2000, 1, 1), QTime(0, 0).addSecs(i * 3661));
            rows << new DownloadInfo { i,     QStringLiteral("down%1").arg(i), started, started.addSecs(i * 3661),
                                       false, QStringLiteral("%1 KB").arg(i),  elapsed };
        }
        return rows;
    }
    QList<FileEntry *> getFileInfo(const QString &path, const QString &name) override
    {
        calls << QStringLiteral("getFileInfo %1 %2").arg(path, name);
        return listing ? listing(path) : QList<FileEntry *>();
    }
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
    static QList<FileEntry *> makeEntries(const QStringList &names, const QStringList &folders = {})
    {
        QList<FileEntry *> entries;
        for (const QString &name : names) {
            const QString size = QStringLiteral("%1 KB").arg(entries.size());
            const QDateTime modified(QDate(2026, 5, 6 + entries.size() % 20), QTime(7, 8, 9));
            entries << new FileEntry { entries.size(), name,     folders.contains(name), QStringLiteral("标准存储"),
                                       size,           modified, "sftp://home/" + name };
        }
        return entries;
    }

private:
    void folderOperation(const QString &call)
    {
        calls << call;
        hasError = failFolderOperations;
        lastError = QStringLiteral("folder operation failed"); // read only when hasError is set
    }
};
