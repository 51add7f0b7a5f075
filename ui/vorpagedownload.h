#pragma once

#include "model/downloadinfo.h"

#include <QWidget>
#include <memory>

namespace Ui {
class VorPageDownload;
}

// The download history: the store's download records in a read-only table, searched by name on refresh.
class VorPageDownload : public QWidget
{
    Q_OBJECT
public:
    explicit VorPageDownload(QWidget *parent = nullptr);
    ~VorPageDownload() override;

public slots:
    void dataUpdateDownloadInfo();

private slots:
    void on_pushButtonRefresh_clicked();

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void fillRow(int row, const DownloadInfo *record);
    void resizeTable();

    std::unique_ptr<Ui::VorPageDownload> ui;
};
