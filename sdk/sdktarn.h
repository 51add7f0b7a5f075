#pragma once

#include "sdk/sdkobject.h"

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(sdkTarnLog)

// The object-store back end. It keeps the store's credentials from the authorization code but contacts no
// server yet: connecting succeeds at once and every listing is the shared sample set.
class SdkTarn : public SdkObject
{
    Q_OBJECT
public:
    explicit SdkTarn(QObject *parent = nullptr);

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
    // The object-name prefix is this store's home folder.
    const QString &homePath() const override { return m_prefixName; }
    const QString &projectName() const override { return m_projectName; }
    int validDays() const override { return m_validDays; }
    void continueTask(int id) override;
    void pauseTask(int id) override;
    void createDir(const QString &path) override;
    void rename(const QString &oldPath, const QString &newPath) override;
    void setServerState(const ServerState &state) override;

    const QString &accessKey() const { return m_accessKey; }
    const QString &secretKey() const { return m_secretKey; }
    const QString &endPoint() const { return m_endPoint; }
    const QString &bucketName() const { return m_bucketName; }
    const QString &prefixName() const { return m_prefixName; }

private:
    QString m_userName = QStringLiteral("tarn");
    QString m_accessKey;
    QString m_secretKey;
    QString m_endPoint;
    QString m_bucketName;
    QString m_projectName;
    QString m_prefixName;
    qint32 m_validDays = 0;
};
