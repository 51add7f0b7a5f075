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
    void write(const QString &message);

    // The file name of a call site without folders and extension ("vorsdk" for ops/vorsdk.cpp).
    static QByteArray sourceName(const char *file);
    // Deletes the daily logs in the folder that are more than 30 days older than today.
    static void removeOldLogs(const QString &folder, const QDate &today);

    template<typename... Items>
    static void record(QDebug stream, int level, const char *file, const char *function, int line,
                       const Items &...items)
    {
        stream << level << "|" << currentTime().constData() << "|" << QThread::currentThreadId() << "|"
               << sourceName(file).constData() << "|" << function << "|" << line << "|";
        (void)std::initializer_list<int> { ((void)(stream << items), 0)... };
    }

signals:
    void ShowLog(QString info, Qt::GlobalColor color);

private:
    explicit VorLog(QObject *parent = nullptr);
    static QByteArray currentTime();

    QString m_filePath;
};

// Qt message handler that feeds VorLog; installed first thing by the entry point.
void vorMessageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message);

#define VOR_LOG(level, ...) VorLog::record(qDebug(), (level), __FILE__, __FUNCTION__, __LINE__, ##__VA_ARGS__)
