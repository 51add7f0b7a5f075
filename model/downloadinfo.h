#pragma once

#include <QDateTime>
#include <QString>

// One row of the download history.
struct DownloadInfo
{
    int id = 0;
    QString name;
    QDateTime started;
    QDateTime finished;
    bool isDir = false;
    QString size;
    QDateTime elapsed; // the time of day holds the duration
};
