#include "support/warningguard.h"

#include "app/vorlog.h"

#include <QMutex>
#include <QMutexLocker>

namespace {

QMutex mutex;
QStringList seen;
// The offscreen platform cannot pass size hints to a window system it does not have; it says so on
// every dialog it shows.
QStringList allowed { QStringLiteral("This plugin does not support propagateSizeHints()") };
QtMessageHandler previous = nullptr;

void guardHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg) {
        vorMessageHandler(type, context, message);
        return;
    }
    {
        QMutexLocker lock(&mutex);
        bool expected = false;
        for (const QString &fragment : qAsConst(allowed))
            expected = expected || message.contains(fragment);
        if (expected)
            return;
        seen << message;
    }
    if (previous)
        previous(type, context, message);
}

} // namespace

void WarningGuard::install()
{
    QtMessageHandler old = qInstallMessageHandler(guardHandler);
    if (old != guardHandler)
        previous = old;
    // Windows are raised when they open; the offscreen platform says it cannot, which is not ours to fix.
    allow(QStringLiteral("This plugin does not support raise()"));
}

QStringList WarningGuard::take()
{
    QMutexLocker lock(&mutex);
    QStringList result;
    result.swap(seen);
    return result;
}

void WarningGuard::allow(const QString &fragment)
{
    QMutexLocker lock(&mutex);
    allowed << fragment;
}
