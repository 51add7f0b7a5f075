#pragma once

#include <QWidget>

class VorPageSave;
class VorPageTask;
class VorPageDownload;

// Placeholder main window until the real one lands; it already holds the three pages.
class VorMain : public QWidget
{
    Q_OBJECT
public:
    explicit VorMain(QWidget *parent = nullptr);

    VorPageSave *pageSave() const { return m_pageSave; }
    VorPageTask *pageTask() const { return m_pageTask; }
    VorPageDownload *pageDownload() const { return m_pageDownload; }

public slots:
    void dataUpdateUser(const QString &name, const QString &tips);
    void dataUpdatePath(const QString &path);

private:
    VorPageSave *m_pageSave = nullptr;
    VorPageTask *m_pageTask = nullptr;
    VorPageDownload *m_pageDownload = nullptr;
};
