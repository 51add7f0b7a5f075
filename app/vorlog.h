#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QDebug>
#include <QObject>
#include <QString>
#include <QThread>

// One daily log file next to the executable. Records are built by VOR_LOG on a debug stream and reach the
// file through the process-wide message handler, which keeps only the records the macro made.
class VorLog : public QObject
{
    Q_OBJECT
public:
    static VorLog *instance();

    QString filePath() const { return m_filePath; }
    static QString levelLetter(int level);
    // How a flag reads in a record.
    static const char *boolText(bool value) { return value ? "true" : "false"; }
    void write(const QString &message);

    // The file name of a call site without folders and extension ("vorsdk" for ops/vorsdk.cpp), cut out
    // of the compiler's path without allocating.
    struct SourceName
    {
        explicit SourceName(const char *file);
        char text[64];
    };
    // Deletes the daily logs in the folder that are more than 30 days older than today.
    static void removeOldLogs(const QString &folder, const QDate &today);

    template<typename... Items>
    static void record(QDebug stream, int level, const char *file, const char *function, int line,
                       const Items &...items)
    {
        stream << level << "|" << currentTime() << "|" << QThread::currentThreadId() << "|" << SourceName(file).text
               << "|" << function << "|" << line << "|";
        (void)std::initializer_list<int> { ((void)(stream << items), 0)... };
    }

signals:
    void ShowLog(QString info, Qt::GlobalColor color);

private:
    explicit VorLog(QObject *parent = nullptr);
    // "yyyy-MM-dd hh:mm:ss:zzz" of now in local time; the zone is consulted once a second, not per record.
    static const char *currentTime();

    QString m_filePath;
    QByteArray m_nativeFilePath; // as the system calls take it, encoded once
};

// Qt message handler that feeds VorLog; installed first thing by the entry point.
void vorMessageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message);

#define VOR_LOG(level, ...) VorLog::record(qDebug(), (level), __FILE__, __FUNCTION__, __LINE__, ##__VA_ARGS__)
