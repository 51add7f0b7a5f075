#include "sdk/sdksamples.h"

#include <QRandomGenerator>

namespace {

QString sampleName(int row)
{
    return QStringLiteral("Name%1").arg(row + 1);
}

QString sampleSize(int row)
{
    return QStringLiteral("%1KB").arg(row + 100);
}

bool sampleIsDir(int row)
{
    return row % 3 == 0;
}

} // namespace

QList<FileEntry *> SdkSamples::files()
{
    QList<FileEntry *> entries;
    for (int i = 0; i < RowCount; ++i) {
        auto *entry = new FileEntry;
        entry->id = i;
        entry->name = sampleName(i);
        entry->isDir = sampleIsDir(i);
        entry->storageClass = tr("标准存储");
        entry->size = sampleSize(i);
        entry->modified = QDateTime::currentDateTime();
        entry->link = entry->name;
        entries << entry;
    }
    return entries;
}

QList<TaskInfo *> SdkSamples::tasks()
{
    QList<TaskInfo *> tasks;
    for (int i = 0; i < RowCount; ++i) {
        auto *task = new TaskInfo;
        task->id = i;
        task->name = sampleName(i);
        task->isDir = sampleIsDir(i);
        task->type = (i + 1) % 2 == 0 ? tr("下载") : tr("上传");
        task->status = i & 3;
        task->size = sampleSize(i);
        task->created = QDateTime::currentDateTime();
        task->progress = static_cast<int>(QRandomGenerator::global()->generate() % 101);
        if (task->status == TaskFinished)
            task->progress = 100;
        tasks << task;
    }
    return tasks;
}

QList<DownloadInfo *> SdkSamples::downloads()
{
    QList<DownloadInfo *> rows;
    for (int i = 0; i < RowCount; ++i) {
        auto *row = new DownloadInfo;
        row->id = i;
        row->name = sampleName(i);
        // Read one after the other: the elapsed column shows the time of day until real durations exist.
        row->started = QDateTime::currentDateTime();
        row->finished = QDateTime::currentDateTime();
        row->elapsed = QDateTime::currentDateTime();
        row->isDir = sampleIsDir(i);
        row->size = sampleSize(i);
        rows << row;
    }
    return rows;
}
