#pragma once

#include "model/downloadinfo.h"
#include "model/fileentry.h"
#include "model/taskinfo.h"

#include <QCoreApplication>
#include <QList>

// The rows both back ends serve until real transfers and object listings exist: 22 of each kind, fresh
// records handed over to the caller on every call.
class SdkSamples
{
    Q_DECLARE_TR_FUNCTIONS(SdkSamples)
public:
    static const int RowCount = 22;

    static QList<FileEntry *> files();
    static QList<TaskInfo *> tasks();
    static QList<DownloadInfo *> downloads();
};
