#pragma once

#include <QStringList>

// The lines the project's log file gained since this object was made.
class LogTail
{
public:
    LogTail();
    QStringList lines() const;
    // The message fields (the last bracket) of the new lines written by one function.
    QStringList messagesOf(const QString &function) const;

private:
    qint64 m_start = 0;
};
