#pragma once

#include <QDateTime>
#include <QString>

// Task states; a finished task always shows progress 100.
enum TaskStatus { TaskRunning = 0, TaskFinished = 1, TaskFailed = 2, TaskPaused = 3 };

// One row of the task page.
struct TaskInfo
{
    int id = 0;
    QString name;
    bool isDir = false;
    QString type; // direction as display text: 上传 or 下载
    int status = TaskRunning;
    QString size;
    QDateTime created;
    int progress = 0; // percent
};
