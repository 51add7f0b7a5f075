#include "support/warningguard.h"

#include "app/vorlog.h"

#include <QMutex>
#include <QMutexLocker>
#include <cstdio>
#include <utility>

namespace {

QMutex mutex;
QStringList seen;
// The offscreen platform cannot pass size hints to, or raise windows on, a window system it does not
// have; it says so for every dialog it shows, which is not ours to fix.
QStringList allowed { QStringLiteral("This plugin does not support propagateSizeHints()"),
                      QStringLiteral("This plugin does not support raise()") };

void guardHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return vorMessageHandler(type, context, message);
    QMutexLocker lock(&mutex);
    for (const QString &fragment : qAsConst(allowed)) {
        if (message.contains(fragment))
            return;
    }
    seen << message;
    std::fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

void WarningGuard::install()
{
    qInstallMessageHandler(guardHandler);
}

QStringList WarningGuard::take()
{
    QMutexLocker lock(&mutex);
    return std::exchange(seen, {});
}

void WarningGuard::allow(const QString &fragment)
{
    QMutexLocker lock(&mutex);
    allowed << fragment;
}
