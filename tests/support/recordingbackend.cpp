#include "support/recordingbackend.h"

QList<TaskInfo *> RecordingBackend::refreshTask(int type, int status)
{
    calls << QStringLiteral("refreshTask %1 %2").arg(type).arg(status);
    QList<TaskInfo *> tasks;
    for (int i = 0; i < taskCount; ++i) {
        const int status = i % 5; // 4: a status no back end sends
        const QDateTime created(QDate(2026, 1, 2 + i % 28), QTime(13, 4, 5));
        tasks << new TaskInfo { i,      QStringLiteral("task%1").arg(i), i % 2 == 0, i % 2 ? "下载" : "上传",
                                status, QStringLiteral("%1 MB").arg(i),  created,    status == 1 ? 100 : 40 + i };
    }
    return tasks;
}

QList<DownloadInfo *> RecordingBackend::refreshDown(const QString &name)
{
    calls << "refreshDown " + name;
    QList<DownloadInfo *> rows;
    for (int i = 0; i < downloadCount; ++i) {
        const QDateTime started(QDate(2026, 3, 1 + i % 28), QTime(23, 59, 58));
        const QDateTime elapsed(QDate(2000, 1, 1), QTime(0, 0).addSecs(i * 3661));
        rows << new DownloadInfo { i,     QStringLiteral("down%1").arg(i), started, started.addSecs(i * 3661),
                                   false, QStringLiteral("%1 KB").arg(i),  elapsed };
    }
    return rows;
}

QList<FileEntry *> RecordingBackend::getFileInfo(const QString &path, const QString &name)
{
    calls << QStringLiteral("getFileInfo %1 %2").arg(path, name);
    return listing ? listing(path) : QList<FileEntry *>();
}

QList<FileEntry *> RecordingBackend::makeEntries(const QStringList &names, const QStringList &folders)
{
    QList<FileEntry *> entries;
    for (const QString &name : names) {
        const QString size = QStringLiteral("%1 KB").arg(entries.size());
        const QDateTime modified(QDate(2026, 5, 6 + entries.size() % 20), QTime(7, 8, 9));
        entries << new FileEntry { entries.size(), name,    folders.contains(name), QStringLiteral("标准存储"),
                                   size,           modified };
    }
    return entries;
}
