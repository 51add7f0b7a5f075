#pragma once

#include "app/vorlog.h"

#include <QMutex>
#include <QStringList>
#include <utility>

// Catches every Qt warning, critical and fatal message raised on any thread, so that a test can fail on
// them. Debug messages (the log records) still reach the project's log file.
class WarningGuard
{
public:
    static void install() { qInstallMessageHandler(handle); }
    // The warnings seen since the last call, emptied.
    static QStringList take()
    {
        QMutexLocker lock(&mutex);
        return std::exchange(seen, {});
    }
    // Messages containing this text are expected and not reported.
    static void allow(const QString &fragment)
    {
        QMutexLocker lock(&mutex);
        allowed << fragment;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtDebugMsg || type == QtInfoMsg)
            return vorMessageHandler(type, context, message);
        QMutexLocker lock(&mutex);
        for (const QString &fragment : qAsConst(allowed)) {
            if (message.contains(fragment))
                return;
        }
        seen << message;
    }

    static inline QMutex mutex;
    static inline QStringList seen;
    // The offscreen platform has no window system to pass size hints to or raise windows on, and says so.
    static inline QStringList allowed { QStringLiteral("This plugin does not support propagateSizeHints()"),
                                        QStringLiteral("This plugin does not support raise()") };
};

#define VERIFY_NO_QT_WARNINGS()                                                                                        \
    do {                                                                                                               \
        const QStringList warnings = WarningGuard::take();                                                             \
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));                                    \
    } while (false)
