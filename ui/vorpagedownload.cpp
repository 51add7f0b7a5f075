#include "ui/vorpagedownload.h"

VorPageDownload::VorPageDownload(QWidget *parent)
    : QWidget(parent)
{
}

void VorPageDownload::dataUpdateDownloadInfo() { }
