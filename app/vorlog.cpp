#include "app/vorlog.h"

#include "app/platform.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>

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
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (Platform::appendToFile(Platform::nativePath(file), "", 0))
        QFile::setPermissions(file, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
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
    m_nativeFilePath = Platform::nativePath(m_filePath);
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
    // The first seven parts between the "|" separators; whatever follows a seventh "|" is dropped.
    QStringRef part[RecordParts];
    int start = 0;
    for (int i = 0; i < RecordParts; ++i) {
        int end = message.indexOf(QLatin1Char('|'), start);
        if (end < 0) {
            if (i < RecordParts - 1)
                return; // not a record of VOR_LOG
            end = message.size();
        }
        part[i] = message.midRef(start, end - start).trimmed();
        start = end + 1;
    }

    QString line;
    line.reserve(message.size() + 16);
    line += QLatin1Char('[');
    line += levelLetter(part[0].toInt());
    line += QLatin1String("][");
    line += part[1];
    line += QLatin1String("][");
    line += part[2];
    line += QLatin1String("][");
    line += part[3];
    line += QLatin1Char(' ');
    line += part[4];
    line += QLatin1Char(':');
    line += part[5];
    line += QLatin1String("][");
    line += part[6];
    line += QLatin1String("]\n");
    // Opened, appended to and closed for every record, straight through the system calls.
    const QByteArray bytes = line.toUtf8();
    Platform::appendToFile(m_nativeFilePath, bytes.constData(), bytes.size());
}

VorLog::SourceName::SourceName(const char *file)
{
    const char *name = file;
    for (const char *c = file; *c; ++c) {
        if (*c == '/' || *c == '\\')
            name = c + 1;
    }
    size_t length = std::strcspn(name, ".");
    length = qMin(length, sizeof text - 1);
    std::memcpy(text, name, length);
    text[length] = '\0';
}

const char *VorLog::currentTime()
{
    thread_local char text[32] = {};
    thread_local std::time_t shownSecond = -1;
    thread_local size_t prefix = 0; // up to the colon before the milliseconds
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
    const auto second = static_cast<std::time_t>(milliseconds / 1000);
    if (second != shownSecond) {
        shownSecond = second;
        Platform::reloadTimeZone();
        std::tm local {};
        Platform::localTime(second, &local);
        prefix = std::strftime(text, sizeof text - 4, "%Y-%m-%d %H:%M:%S:", &local);
    }
    std::snprintf(text + prefix, sizeof text - prefix, "%03d", static_cast<int>(milliseconds % 1000));
    return text;
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
