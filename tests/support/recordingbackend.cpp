#include "support/recordingbackend.h"

QList<TaskInfo *> RecordingBackend::refreshTask(int type, int status)
{
    calls << QStringLiteral("refreshTask %1 %2").arg(type).arg(status);
    QList<TaskInfo *> tasks;
    for (int i = 0; i < taskCount; ++i)
        tasks << new TaskInfo { i, QStringLiteral("task%1").arg(i), false, QString(), i % 4 };
    return tasks;
}

QList<DownloadInfo *> RecordingBackend::refreshDown(const QString &name)
{
    calls << "refreshDown " + name;
    QList<DownloadInfo *> rows;
    for (int i = 0; i < downloadCount; ++i)
        rows << new DownloadInfo { i, QStringLiteral("down%1").arg(i) };
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
        entries << new FileEntry { entries.size(), name, folders.contains(name), QStringLiteral("标准存储"), size };
    }
    return entries;
}
