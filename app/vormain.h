#pragma once

#include <QWidget>
#include <memory>

class QShowEvent;
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

    // Shows the window for a new session: never minimised, maximised if the user left it so, in front
    // and active.
    void showForSession();

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

protected:
    void showEvent(QShowEvent *event) override;

private:
    void openPage(QWidget *page);

    std::unique_ptr<Ui::VorMain> ui;
};

// Before the application exists: windows, fonts and images follow the scale of the screen a window is on,
// 125 % and 150 % as they are. Left alone, Qt 5 draws every screen at 100 %, and scaled, it rounds 150 % up
// to 200 % and 125 % down.
void followScreenScale();

// Places a top-level window that is about to open in the middle of the screen the user is working on,
// made smaller if need be so that all of it is on that screen. Without a window manager a window would
// open at the screen's corner, and with one wherever it last was.
void placeOnUsersScreen(QWidget *window);
