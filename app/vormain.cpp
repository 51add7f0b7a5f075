#include "app/vormain.h"
#include "ui_vormain.h"

#include "app/movefilter.h"
#include "app/vorlog.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorthreadexit.h"
#include "ui/vordialog.h"
#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

VorMain::VorMain(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorMain>())
{
    ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/img/logo.png")));
    makeFrameless(this, ui->widgetMainTop);
    for (QPushButton *button : { ui->pushButtonSave, ui->pushButtonTask, ui->pushButtonDownload })
        connect(button, &QPushButton::clicked, this, &VorMain::changeButtonStatus);
}

VorMain::~VorMain() = default;

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
    ui->stackedWidget->setCurrentWidget(ui->pageSave);
}

void VorMain::on_pushButtonTask_clicked()
{
    ui->stackedWidget->setCurrentWidget(ui->pageTask);
}

void VorMain::on_pushButtonDownload_clicked()
{
    ui->stackedWidget->setCurrentWidget(ui->pageDownload);
}

void VorMain::on_pushButtonExit_clicked()
{
    VOR_LOG(4);
    if (VorDialog::showChoice(tr("退出"), tr("确认退出？"), this, tr("确定"), tr("取消")) != 1)
        return;
    VorDialog::showWait(tr("退出中"), tr("请稍等..."), this, new VorThreadExit(this));
    VorData::instance()->loginDialog()->show();
    hide();
}
