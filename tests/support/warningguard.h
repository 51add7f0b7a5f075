#pragma once

#include "app/vorlog.h"

#include <QMutex>
#include <QStringList>
#include <utility>

// Catches the Qt warnings, critical and fatal messages of every thread so that a test fails on them; debug
// messages (the log records) still reach the log file. The offscreen platform's notes that it has no window
// system to pass size hints to or raise windows on are expected.
class WarningGuard
{
public:
    static void install() { qInstallMessageHandler(handle); }
    static QString take()
    {
        QMutexLocker lock(&mutex);
        return std::exchange(seen, {}).join('\n');
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtDebugMsg || type == QtInfoMsg)
            return vorMessageHandler(type, context, message);
        QMutexLocker lock(&mutex);
        if (!message.startsWith("This plugin does not support "))
            seen << message;
    }
    static inline QMutex mutex;
    static inline QStringList seen;
};

#define VERIFY_NO_QT_WARNINGS() QCOMPARE(WarningGuard::take(), QString())
