#pragma once

#include "sdk/sdkobject.h"

// Placeholder until the SFTP back end lands.
class SdkSftp : public SdkObject
{
    Q_OBJECT
public:
    static int init();
    static void exit();
    explicit SdkSftp(QObject *parent = nullptr);

    void upload(const QString &) override { }
    void uploadDir(const QString &) override { }
    void download(int) override { }
    void reservedOperation(int) override { }
    void deleteTask(int) override { }
    QList<TaskInfo *> refreshTask(int, int) override { return {}; }
    QList<DownloadInfo *> refreshDown(const QString &) override { return {}; }
    QList<FileEntry *> getFileInfo(const QString &, const QString &) override { return {}; }
    void deleteFile(const QString &) override { }
    bool connectToServer() override { return false; }
    void parseAuthCode(const QString &) override { }
    void loadSampleSettings() override { }
    const QString &userName() const override { return m_userName; }
    const QString &homePath() const override { return m_prefixName; }
    const QString &projectName() const override { return m_projectName; }
    int validDays() const override { return m_validDays; }
    void continueTask(int) override { }
    void pauseTask(int) override { }
    void createDir(const QString &) override { }
    void rename(const QString &, const QString &) override { }
    void setServerState(const ServerState &) override { }

private:
    QString m_userName = QString();
    QString m_projectName;
    QString m_prefixName;
    int m_validDays = 0;
};
