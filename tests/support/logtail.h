#pragma once

#include <QStringList>

// The lines the project's log file gained since this object was made.
class LogTail
{
public:
    LogTail();
    // For a log that the program under test has not opened yet.
    explicit LogTail(const QString &path);
    QStringList lines() const;
    // The message fields (the last bracket) of the new lines written by one function.
    QStringList messagesOf(const QString &function) const;

private:
    QString m_path;
    qint64 m_start = 0;
};
