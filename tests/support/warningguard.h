#pragma once

#include <QStringList>

// Catches every Qt warning, critical and fatal message raised on any thread, so that a test can fail on
// them. Debug messages (the log records) still reach the project's log file.
class WarningGuard
{
public:
    static void install();
    // The warnings seen since the last call, emptied.
    static QStringList take();
    // Messages containing this text are expected and not reported.
    static void allow(const QString &fragment);
};

#define VERIFY_NO_QT_WARNINGS()                                                                                        \
    do {                                                                                                               \
        const QStringList warnings = WarningGuard::take();                                                             \
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));                                    \
    } while (false)
