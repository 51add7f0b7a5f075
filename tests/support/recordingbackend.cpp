#include "support/recordingbackend.h"

RecordingBackend::RecordingBackend(QObject *parent)
    : SdkObject(parent)
{
}

void RecordingBackend::upload(const QString &file)
{
    calls << QStringLiteral("upload %1").arg(file);
}

void RecordingBackend::uploadDir(const QString &dir)
{
    calls << QStringLiteral("uploadDir %1").arg(dir);
}

void RecordingBackend::download(int id)
{
    calls << QStringLiteral("download %1").arg(id);
}

void RecordingBackend::reservedOperation(int argument)
{
    calls << QStringLiteral("reservedOperation %1").arg(argument);
}

void RecordingBackend::deleteTask(int id)
{
    calls << QStringLiteral("deleteTask %1").arg(id);
}

QList<TaskInfo *> RecordingBackend::refreshTask(int type, int status)
{
    calls << QStringLiteral("refreshTask %1 %2").arg(type).arg(status);
    QList<TaskInfo *> tasks;
    for (int i = 0; i < taskCount; ++i) {
        auto *task = new TaskInfo;
        task->id = i;
        task->name = QStringLiteral("task%1").arg(i);
        task->status = i % 4;
        task->progress = task->status == TaskFinished ? 100 : 40;
        task->created = QDateTime::currentDateTime();
        tasks << task;
    }
    return tasks;
}

QList<DownloadInfo *> RecordingBackend::refreshDown(const QString &name)
{
    calls << QStringLiteral("refreshDown %1").arg(name);
    QList<DownloadInfo *> rows;
    for (int i = 0; i < downloadCount; ++i) {
        auto *row = new DownloadInfo;
        row->id = i;
        row->name = QStringLiteral("down%1").arg(i);
        rows << row;
    }
    return rows;
}

QList<FileEntry *> RecordingBackend::getFileInfo(const QString &path, const QString &name)
{
    calls << QStringLiteral("getFileInfo %1 %2").arg(path, name);
    return listing ? listing(path) : QList<FileEntry *>();
}

void RecordingBackend::deleteFile(const QString &path)
{
    calls << QStringLiteral("deleteFile %1").arg(path);
}

bool RecordingBackend::connectToServer()
{
    calls << QStringLiteral("connectToServer");
    return true;
}

void RecordingBackend::parseAuthCode(const QString &json)
{
    calls << QStringLiteral("parseAuthCode %1").arg(json);
}

void RecordingBackend::loadSampleSettings()
{
    calls << QStringLiteral("loadSampleSettings");
}

void RecordingBackend::continueTask(int id)
{
    calls << QStringLiteral("continueTask %1").arg(id);
}

void RecordingBackend::pauseTask(int id)
{
    calls << QStringLiteral("pauseTask %1").arg(id);
}

void RecordingBackend::createDir(const QString &path)
{
    calls << QStringLiteral("createDir %1").arg(path);
    if (failFolderOperations) {
        hasError = true;
        lastError = failureText;
    }
}

void RecordingBackend::rename(const QString &oldPath, const QString &newPath)
{
    calls << QStringLiteral("rename %1 %2").arg(oldPath, newPath);
    hasError = failFolderOperations;
    if (failFolderOperations)
        lastError = failureText;
}

void RecordingBackend::setServerState(const ServerState &newState)
{
    calls << QStringLiteral("setServerState %1").arg(newState);
    if (newState != state)
        applyServerState(newState);
}

QList<FileEntry *> RecordingBackend::makeEntries(const QStringList &names, const QStringList &folders)
{
    QList<FileEntry *> entries;
    for (const QString &name : names) {
        auto *entry = new FileEntry;
        entry->id = entries.size();
        entry->name = name;
        entry->isDir = folders.contains(name);
        entry->storageClass = QStringLiteral("标准存储");
        entry->size = QStringLiteral("%1 KB").arg(entries.size());
        entry->modified = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5));
        entry->link = name;
        entries << entry;
    }
    return entries;
}
