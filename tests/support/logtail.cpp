#include "support/logtail.h"

#include "app/vorlog.h"

#include <QFile>
#include <QRegularExpression>

LogTail::LogTail()
    : LogTail(VorLog::instance()->filePath())
{
}

LogTail::LogTail(const QString &path)
    : m_path(path)
    , m_start(QFile(path).size())
{
}

QStringList LogTail::lines() const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(m_start))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList LogTail::messagesOf(const QString &function) const
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
