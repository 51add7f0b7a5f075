#pragma once

#include "app/vorlog.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

// The lines the project's log file gained since this object was made.
class LogTail
{
public:
    // The path is for a log that the program under test has not opened yet.
    explicit LogTail(const QString &path = VorLog::instance()->filePath())
        : m_path(path)
        , m_start(QFile(path).size())
    {
    }

    QStringList lines() const
    {
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly) || !file.seek(m_start))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    // The message fields (the last bracket) of the new lines written by one function.
    QStringList messagesOf(const QString &function) const
    {
        // [F][time][thread][file function:line][message]
        static const QRegularExpression shape(QStringLiteral("^(?:\\[[^\\]]*\\]){3}\\[\\S+ (\\S+):\\d+\\]\\[(.*)\\]$"));
        QStringList result;
        for (const QString &line : lines()) {
            const QRegularExpressionMatch match = shape.match(line);
            if (match.captured(1) == function)
                result << match.captured(2);
        }
        return result;
    }

private:
    QString m_path;
    qint64 m_start = 0;
};
