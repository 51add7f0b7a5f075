#include "app/vormain.h"
#include "ui_vormain.h"

#include "app/movefilter.h"
#include "app/vorlog.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorthreadexit.h"
#include "ui/keys.h"
#include "ui/vordialog.h"
#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

#include <QApplication>
#include <QCursor>
#include <QScreen>
#include <QShowEvent>
#include <QTableWidget>

namespace {

// The screen of the window in use, else the one under the pointer, else the primary one.
QScreen *usersScreen()
{
    if (QWidget *active = QApplication::activeWindow())
        return active->screen();
    if (QScreen *screen = QGuiApplication::screenAt(QCursor::pos()))
        return screen;
    return QGuiApplication::primaryScreen();
}

// A length that ends on a whole screen pixel at 125 %, 150 % and 175 % too: a multiple of 4. Otherwise the
// window's last row or column of pixels is only partly painted, and its border along that edge fades.
int wholePixels(int length, int least)
{
    const int snapped = length - length % 4;
    return snapped >= least ? snapped : least + (4 - least % 4) % 4;
}

} // namespace

void followScreenScale()
{
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

void placeOnUsersScreen(QWidget *window)
{
    QScreen *screen = usersScreen();
    if (!screen)
        return;
    const QRect available = screen->availableGeometry();
    const QSize bounded = window->size().boundedTo(available.size());
    const QSize least = window->minimumSizeHint().expandedTo(window->minimumSize());
    window->resize(wholePixels(bounded.width(), least.width()), wholePixels(bounded.height(), least.height()));
    QRect frame(QPoint(), window->size());
    frame.moveCenter(available.center());
    // A window that cannot be made small enough keeps its top-left corner, and its title bar, on screen.
    window->move(qMax(frame.left(), available.left()), qMax(frame.top(), available.top()));
}

VorMain::VorMain(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorMain>())
{
    ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/img/logo.png")));
    makeFrameless(this, ui->widgetMainTop);
    const QList<QPushButton *> navigation { ui->pushButtonSave, ui->pushButtonTask, ui->pushButtonDownload };
    for (int i = 0; i < navigation.size(); ++i) {
        QPushButton *button = navigation.at(i);
        connect(button, &QPushButton::clicked, this, &VorMain::changeButtonStatus);
        // Ctrl+1, Ctrl+2 and Ctrl+3 open the pages in the order the navigation lists them.
        const QKeySequence key(Qt::CTRL | (Qt::Key_1 + i));
        Keys::inView(this, { key }, [button] { button->click(); });
        Keys::showInToolTip(button, key);
    }
}

VorMain::~VorMain() = default;

void VorMain::showForSession()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    ui->stackedWidget->currentWidget()->findChild<QTableWidget *>()->setFocus(Qt::ActiveWindowFocusReason);
}

void VorMain::showEvent(QShowEvent *event)
{
    // Placed before the window is mapped, so that it opens where it belongs rather than jumping there.
    if (!event->spontaneous() && !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen)))
        placeOnUsersScreen(this);
    QWidget::showEvent(event);
}

VorPageSave *VorMain::pageSave() const
{
    return ui->pageSave;
}

VorPageTask *VorMain::pageTask() const
{
    return ui->pageTask;
}

VorPageDownload *VorMain::pageDownload() const
{
    return ui->pageDownload;
}

void VorMain::dataUpdateUser(const QString &name, const QString &tips)
{
    ui->labelTips->setText(tips);
    ui->pushButtonUser->setText(name);
    ui->pushButtonUser->setAccessibleName(tr("用户 %1").arg(name));
}

void VorMain::dataUpdatePath(const QString &path)
{
    ui->pageSave->setPath(path);
}

void VorMain::changeButtonStatus()
{
    // Exactly one navigation button stays checked: the one just pressed.
    for (QPushButton *button : { ui->pushButtonSave, ui->pushButtonTask, ui->pushButtonDownload })
        button->setChecked(button == sender());
}

void VorMain::on_pushButtonMax_clicked(bool checked)
{
    if (checked)
        showMaximized();
    else
        showNormal();
}

void VorMain::on_pushButtonSave_clicked()
{
    openPage(ui->pageSave);
}

void VorMain::on_pushButtonTask_clicked()
{
    openPage(ui->pageTask);
}

void VorMain::on_pushButtonDownload_clicked()
{
    openPage(ui->pageDownload);
}

// The page opened takes the keys in its table, as a file explorer's list does.
void VorMain::openPage(QWidget *page)
{
    ui->stackedWidget->setCurrentWidget(page);
    page->findChild<QTableWidget *>()->setFocus(Qt::OtherFocusReason);
}

void VorMain::on_pushButtonExit_clicked()
{
    VOR_LOG(4);
    if (VorDialog::showChoice(tr("退出"), tr("确认退出？"), this, tr("确定"), tr("取消")) != 1)
        return;
    VorDialog::showWait(tr("退出中"), tr("请稍等..."), this, new VorThreadExit(this));
    QWidget *login = VorData::instance()->loginDialog();
    login->show();
    login->raise();
    login->activateWindow();
    hide();
}
