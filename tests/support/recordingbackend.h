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
    explicit RecordingBackend(QObject *parent = nullptr);

    QStringList calls;
    std::function<QList<FileEntry *>(const QString &path)> listing;
    int taskCount = 0;
    int downloadCount = 0;
    bool failFolderOperations = false;
    QString failureText = QStringLiteral("folder operation failed");
    QString user = QStringLiteral("recorder");
    QString home = QStringLiteral("/home");
    QString project;
    int days = 7;

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
    const QString &userName() const override { return user; }
    const QString &homePath() const override { return home; }
    const QString &projectName() const override { return project; }
    int validDays() const override { return days; }
    void continueTask(int id) override;
    void pauseTask(int id) override;
    void createDir(const QString &path) override;
    void rename(const QString &oldPath, const QString &newPath) override;
    void setServerState(const ServerState &state) override;

    // Rows shaped like a listing: folders and files with the given names, ids from 0.
    static QList<FileEntry *> makeEntries(const QStringList &names, const QStringList &folders = {});
};
