#pragma once

#include <QWidget>

// Placeholder until the page lands.
class VorPageDownload : public QWidget
{
    Q_OBJECT
public:
    explicit VorPageDownload(QWidget *parent = nullptr);

public slots:
    void dataUpdateDownloadInfo();
};
