#pragma once

#include <QWidget>
#include <memory>

class VorPageSave;
class VorPageTask;
class VorPageDownload;

namespace Ui {
class VorMain;
}

// The frameless main window shown after sign-in: title bar, navigation column and the three pages.
class VorMain : public QWidget
{
    Q_OBJECT
public:
    explicit VorMain(QWidget *parent = nullptr);
    ~VorMain() override;

    VorPageSave *pageSave() const;
    VorPageTask *pageTask() const;
    VorPageDownload *pageDownload() const;

public slots:
    void dataUpdateUser(const QString &name, const QString &tips);
    void dataUpdatePath(const QString &path);
    void changeButtonStatus();

private slots:
    void on_pushButtonMax_clicked(bool checked);
    void on_pushButtonSave_clicked();
    void on_pushButtonTask_clicked();
    void on_pushButtonDownload_clicked();
    void on_pushButtonExit_clicked();

private:
    std::unique_ptr<Ui::VorMain> ui;
};
