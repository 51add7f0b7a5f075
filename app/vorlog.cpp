#include "app/vorlog.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const int RecordParts = 7;
const int KeepDays = 30;

QString logFolder()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/log/");
}

// The log holds passwords in clear: the folder and the day's file are for the user alone, whatever the
// umask. The file is made here, before the first record, so that it never exists with looser modes.
void keepPrivate(const QString &folder, const QString &file)
{
    ::chmod(QFile::encodeName(folder).constData(), 0700);
    const int fd = ::open(QFile::encodeName(file).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    ::fchmod(fd, 0600);
    ::close(fd);
}

// Messages raised while a record is being written (by Qt's file code, say) would re-enter the handler.
thread_local bool writingRecord = false;

} // namespace

VorLog::VorLog(QObject *parent)
    : QObject(parent)
{
    // The log may first be used on a worker thread; it belongs with the application like every singleton.
    if (QCoreApplication::instance() && thread() != QCoreApplication::instance()->thread())
        moveToThread(QCoreApplication::instance()->thread());

    const QString folder = logFolder();
    QDir().mkpath(folder);
    m_filePath = folder + QStringLiteral("vorlog%1.log").arg(QDate::currentDate().toString(QStringLiteral("yyyyMMdd")));
    keepPrivate(folder, m_filePath);
    removeOldLogs(folder, QDate::currentDate());
}

VorLog *VorLog::instance()
{
    static VorLog log;
    return &log;
}

QString VorLog::levelLetter(int level)
{
    switch (level) {
    case 1:
        return QStringLiteral("E");
    case 2:
        return QStringLiteral("W");
    case 3:
        return QStringLiteral("M");
    case 4:
        return QStringLiteral("F");
    case 5:
        return QStringLiteral("D");
    default:
        return QStringLiteral("C");
    }
}

void VorLog::write(const QString &message)
{
    const QStringList parts = message.split(QLatin1Char('|'));
    if (parts.size() < RecordParts)
        return;

    QStringList field;
    for (int i = 0; i < RecordParts; ++i)
        field << parts.at(i).trimmed();
    const QString line = QStringLiteral("[%1][%2][%3][%4 %5:%6][%7]")
                             .arg(levelLetter(field.at(0).toInt()), field.at(1), field.at(2), field.at(3), field.at(4),
                                  field.at(5), field.at(6));

    QFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    file.write(line.toUtf8() + '\n');
    file.close();
}

QByteArray VorLog::sourceName(const char *file)
{
    QByteArray name(file);
    name = name.mid(name.lastIndexOf('/') + 1);
    name = name.mid(name.lastIndexOf('\\') + 1);
    const int dot = name.indexOf('.');
    return dot < 0 ? name : name.left(dot);
}

QByteArray VorLog::currentTime()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss:zzz")).toLatin1();
}

void VorLog::removeOldLogs(const QString &folder, const QDate &today)
{
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::NoSort);
    for (const QFileInfo &info : files) {
        if (!info.fileName().contains(QLatin1String("vorlog")) || info.suffix() != QLatin1String("log"))
            continue;
        const QString stamp = info.baseName().remove(QStringLiteral("vorlog"));
        const QDate date = QDate::fromString(stamp, QStringLiteral("yyyyMMdd"));
        if (date.isValid() && date.daysTo(today) > KeepDays)
            QFile::remove(info.absoluteFilePath());
    }
}

void vorMessageHandler(QtMsgType, const QMessageLogContext &, const QString &message)
{
    // Only records made by VOR_LOG are kept; checking the shape first keeps Qt's own early warnings
    // (raised before the application object exists) from building the log too soon.
    if (writingRecord || message.count(QLatin1Char('|')) < RecordParts - 1 || !QCoreApplication::instance())
        return;
    writingRecord = true;
    VorLog::instance()->write(message);
    writingRecord = false;
}
