#include "sftptestsupport.h"

#include "model/fileentry.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ops/vorthreadexit.h"
#include "sdk/sdksftp.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QJsonDocument>
#include <QTest>
#include <QThread>

#include <unistd.h>

namespace {

const int WorkerLimitMs = 120000;

bool waitForThread(QThread *thread)
{
    QDeadlineTimer deadline(WorkerLimitMs);
    while (!thread->isFinished() && !deadline.hasExpired())
        QTest::qWait(5);
    if (!thread->wait(1000))
        return false;
    // Signals that the store emitted on the worker arrive here queued.
    QCoreApplication::processEvents();
    return true;
}

} // namespace

namespace SftpTestSupport {

bool loginOnWorker(const QString &code, QString *message)
{
    // The program builds the store, and with it its windows, on the GUI thread before anyone signs in.
    VorData::instance();
    std::unique_ptr<QThread> worker(QThread::create([code, message] { *message = VorSdk::instance()->login(code); }));
    worker->start();
    return waitForThread(worker.get());
}

bool logoutOnWorker()
{
    VorThreadExit worker;
    worker.start();
    return waitForThread(&worker);
}

std::unique_ptr<SdkSftp> connectBackend(const QJsonObject &json, bool *connected, int sessionTimeoutMs)
{
    auto backend = std::make_unique<SdkSftp>();
    if (sessionTimeoutMs > 0)
        backend->setSessionTimeout(sessionTimeoutMs);
    backend->parseAuthCode(QString::fromUtf8(QJsonDocument(json).toJson()));
    *connected = backend->connectToServer();
    return backend;
}

QSet<QByteArray> openSockets()
{
    QSet<QByteArray> sockets;
    const QStringList descriptors
        = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::System | QDir::AllEntries);
    for (const QString &descriptor : descriptors) {
        char target[256] = {};
        const QByteArray link = QByteArray("/proc/self/fd/") + descriptor.toLatin1();
        const ssize_t length = ::readlink(link.constData(), target, sizeof target - 1);
        if (length > 0 && QByteArray(target, static_cast<int>(length)).startsWith("socket:"))
            sockets.insert(QByteArray(target, static_cast<int>(length)));
    }
    return sockets;
}

QStringList sortedNames(const QList<FileEntry *> &entries)
{
    QStringList names;
    for (const FileEntry *entry : entries)
        names << entry->name;
    names.sort();
    return names;
}

void freeEntries(QList<FileEntry *> &entries)
{
    qDeleteAll(entries);
    entries.clear();
}

} // namespace SftpTestSupport
