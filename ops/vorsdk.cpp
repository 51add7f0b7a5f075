#include "ops/vorsdk.h"

#include "app/vorlog.h"
#include "model/vordata.h"
#include "sdk/sdkobject.h"
#include "sdk/sdksftp.h"
#include "sdk/sdktarn.h"
#include "ui/vorcommontool.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonObject>

namespace {
const int AuthCodePrefixLength = 6;
// Far beyond any real code: a longer text is pasted by mistake and is not worth decoding.
const int MaxAuthCodeLength = 64 * 1024;
} // namespace

VorSdk::VorSdk(QObject *parent)
    : QObject(parent)
{
    // The first use may come from the login worker; the facade belongs to the application's thread.
    if (QCoreApplication::instance() && thread() != QCoreApplication::instance()->thread())
        moveToThread(QCoreApplication::instance()->thread());
}

VorSdk *VorSdk::instance()
{
    static VorSdk sdk;
    return &sdk;
}

QString VorSdk::decodeAuthCode(const QString &code)
{
    const QString outer = VorCommonTool::fromBase64(code);
    return VorCommonTool::fromBase64(outer.mid(AuthCodePrefixLength));
}

VorSdk::Storage VorSdk::storageOf(const QJsonObject &code)
{
    // A missing key or a value that is not a string reads as empty text.
    const QString storage = code.value(QStringLiteral("storage")).toString();
    if (storage == QLatin1String("sftp"))
        return Storage::Sftp;
    if (storage == QLatin1String("tarn"))
        return Storage::Tarn;
    return Storage::Unknown;
}

SdkObject *VorSdk::createBackend(Storage storage)
{
    switch (storage) {
    case Storage::Sftp:
        return new SdkSftp;
    case Storage::Tarn:
        return new SdkTarn;
    case Storage::Unknown:
        break;
    }
    return nullptr;
}

void VorSdk::adoptBackend(SdkObject *backend)
{
    // An earlier back end that failed to connect stays a child until the facade goes.
    if (backend->thread() != thread())
        backend->moveToThread(thread());
    backend->setParent(this);
    m_backend = backend;
}

QString VorSdk::login(const QString &code)
{
    VOR_LOG(4, "login", code);
    if (code.isEmpty())
        return tr("授权码不能为空");
    if (code.size() > MaxAuthCodeLength)
        return tr("授权码解析错误，请检查你的授权码是否正确！");

    const QString json = decodeAuthCode(code);
    const QJsonObject object = SdkObject::parseCodeJson(json);
    VOR_LOG(5, "jsonObject", object);

    const Storage storage = storageOf(object);
    if (storage == Storage::Unknown)
        return tr("授权码解析错误，请检查你的授权码是否正确！");
    SdkObject *backend = createBackend(storage);
    VorData::instance()->updateSaveLocation(storage == Storage::Tarn, storage == Storage::Sftp);

    backend->parseAuthCode(json);
    VorData::instance()->updateUser(backend->userName(), backend->validDays(), true);
    const bool connected = backend->connectToServer();
    // Handed over only now: until here it lives on this worker, so whatever it creates while connecting
    // belongs to the same thread and moves along with it. A back end that failed stays the current one.
    adoptBackend(backend);
    if (!connected)
        return tr("登录服务器失败，请检查你的授权码是否有效！\n错误信息：%1").arg(backend->lastError);

    getFileInfo(backend->homePath(), QString());
    refreshTask(0, 0);
    refreshDown(QString());
    return QString();
}

void VorSdk::exit()
{
    VOR_LOG(4);
    // Deleted here, on the logout worker, so that a slow or dead server blocks the worker and not the
    // window; back ends hold nothing bound to a thread.
    delete m_backend;
    m_backend = nullptr;
}

bool VorSdk::hasBackend(const char *operation) const
{
    if (m_backend)
        return true;
    VOR_LOG(2, "no back end for", operation);
    return false;
}

bool VorSdk::backendHasError() const
{
    return !m_backend || m_backend->hasError;
}

QString VorSdk::backendLastError() const
{
    return m_backend ? m_backend->lastError : QString();
}

void VorSdk::getFileInfo(const QString &path, const QString &name)
{
    VOR_LOG(4, path);
    if (!hasBackend("getFileInfo"))
        return;
    VorData::instance()->updateFilePath(path);
    VorData::instance()->updateSaveFileInfo(m_backend->getFileInfo(path, name));
}

void VorSdk::refreshSave(const QString &name)
{
    VOR_LOG(4, name);
    getFileInfo(VorData::instance()->path(), name);
}

void VorSdk::EnterDir(const QString &dir)
{
    VOR_LOG(4, dir);
    const QString joined = VorData::instance()->path() + QLatin1Char('/') + dir;
    if (joined == QLatin1String("//.."))
        return; // there is nothing above the root
    getFileInfo(QDir::cleanPath(joined), QString());
}

void VorSdk::createDir(const QString &path)
{
    VOR_LOG(4, path);
    if (hasBackend("createDir"))
        m_backend->createDir(path);
}

void VorSdk::renameFile(const QString &oldPath, const QString &newPath)
{
    VOR_LOG(4, oldPath, "to ", newPath);
    if (hasBackend("renameFile"))
        m_backend->rename(oldPath, newPath);
}

void VorSdk::deleteFile(const QString &path)
{
    VOR_LOG(4, path);
    if (hasBackend("deleteFile"))
        m_backend->deleteFile(path);
}

void VorSdk::upload(const QStringList &files)
{
    VOR_LOG(4, files);
    if (!hasBackend("upload"))
        return;
    for (const QString &file : files)
        m_backend->upload(file);
}

void VorSdk::uploadDir(const QString &dir)
{
    VOR_LOG(4, dir);
    if (hasBackend("uploadDir"))
        m_backend->uploadDir(dir);
}

void VorSdk::download(int id)
{
    VOR_LOG(4, id);
    if (hasBackend("download"))
        m_backend->download(id);
}

void VorSdk::download(const QList<FileEntry *> &entries)
{
    QList<quintptr> addresses;
    for (FileEntry *entry : entries)
        addresses << reinterpret_cast<quintptr>(entry);
    VOR_LOG(4, addresses);
    // The checked rows go by their record's address while the row button sends the id; the back end
    // ignores both today, and only the log shows the difference.
    for (quintptr address : qAsConst(addresses))
        download(static_cast<int>(address));
}

void VorSdk::deleteTask(int id)
{
    VOR_LOG(4, id);
    if (hasBackend("deleteTask"))
        m_backend->deleteTask(id);
}

void VorSdk::deleteTask(const QList<int> &ids)
{
    VOR_LOG(4, ids);
    for (int id : ids)
        deleteTask(id);
}

void VorSdk::pauseTask(int id)
{
    VOR_LOG(4, id);
    if (hasBackend("pauseTask"))
        m_backend->pauseTask(id);
}

void VorSdk::continueTask(int id)
{
    VOR_LOG(4, id);
    if (hasBackend("continueTask"))
        m_backend->continueTask(id);
}

void VorSdk::refreshTask(int type, int status)
{
    VOR_LOG(4, type, status);
    if (hasBackend("refreshTask"))
        VorData::instance()->updateTaskInfo(m_backend->refreshTask(type, status));
}

void VorSdk::refreshDown(const QString &name)
{
    VOR_LOG(4, name);
    if (hasBackend("refreshDown"))
        VorData::instance()->updateDownloadInfo(m_backend->refreshDown(name));
}
