#pragma once

#include <QDateTime>
#include <QString>

// One row of a storage listing.
struct FileEntry
{
    int id = 0;
    QString name;
    bool isDir = false;
    QString storageClass;
    QString size; // already formatted for display
    QDateTime modified;
    QString link; // what the copy-link action puts on the clipboard
};
