#include "sdk/sdktarn.h"

#include "sdk/sdksamples.h"

#include <QDate>
#include <QDateTime>
#include <QJsonObject>

// Off below warnings: the state line is for whoever switches the category on while debugging.
Q_LOGGING_CATEGORY(sdkTarnLog, "sdk.tarn", QtWarningMsg)

namespace {

// Calendar days from today to the local date of an instant given as milliseconds since the epoch.
int daysUntil(const QString &expireTime)
{
    const qint64 msecs = expireTime.toLongLong(nullptr, 10);
    return static_cast<int>(QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(msecs).date()));
}

} // namespace

SdkTarn::SdkTarn(QObject *parent)
    : SdkObject(parent)
{
}

void SdkTarn::parseAuthCode(const QString &json)
{
    const QJsonObject object = parseCodeJson(json);
    m_projectName = object.value(QStringLiteral("project")).toString();

    const QJsonValue userInfo = object.value(QStringLiteral("userInfo"));
    if (!userInfo.isObject())
        return;
    const QJsonObject user = userInfo.toObject();
    m_validDays = daysUntil(user.value(QStringLiteral("expireTime")).toString());
    m_secretKey = user.value(QStringLiteral("secretkey")).toString();
    m_accessKey = user.value(QStringLiteral("accesskey")).toString();
    m_endPoint = user.value(QStringLiteral("endPoint")).toString();
    m_bucketName = user.value(QStringLiteral("bucketName")).toString();
    m_prefixName = user.value(QStringLiteral("prefixName")).toString();
}

bool SdkTarn::connectToServer()
{
    return true;
}

QList<FileEntry *> SdkTarn::getFileInfo(const QString &, const QString &)
{
    return SdkSamples::files();
}

QList<TaskInfo *> SdkTarn::refreshTask(int, int)
{
    return SdkSamples::tasks();
}

QList<DownloadInfo *> SdkTarn::refreshDown(const QString &)
{
    return SdkSamples::downloads();
}

void SdkTarn::setServerState(const ServerState &newState)
{
    if (newState == state)
        return;
    qCDebug(sdkTarnLog) << " Change server state " << state << " to " << newState;
    applyServerState(newState);
}

// Transfers and folder changes are accepted and dropped until the store protocol exists.
void SdkTarn::upload(const QString &) { }
void SdkTarn::uploadDir(const QString &) { }
void SdkTarn::download(int) { }
void SdkTarn::reservedOperation(int) { }
void SdkTarn::deleteTask(int) { }
void SdkTarn::deleteFile(const QString &) { }
void SdkTarn::loadSampleSettings() { }
void SdkTarn::continueTask(int) { }
void SdkTarn::pauseTask(int) { }
void SdkTarn::createDir(const QString &) { }
void SdkTarn::rename(const QString &, const QString &) { }
