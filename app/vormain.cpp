#include "app/vormain.h"

#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

VorMain::VorMain(QWidget *parent)
    : QWidget(parent)
    , m_pageSave(new VorPageSave(this))
    , m_pageTask(new VorPageTask(this))
    , m_pageDownload(new VorPageDownload(this))
{
}

void VorMain::dataUpdateUser(const QString &, const QString &) { }

void VorMain::dataUpdatePath(const QString &path)
{
    m_pageSave->setPath(path);
}
