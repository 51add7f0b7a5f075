#include "ui/vortaskhandle.h"
#include "ui_vortaskhandle.h"

#include "app/vorlog.h"
#include "model/taskinfo.h"
#include "ops/vorsdk.h"
#include "ui/tablefill.h"
#include "ui/vordialog.h"

VorTaskHandle::VorTaskHandle(TaskInfo *task, QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorTaskHandle>())
    , m_task(task)
{
    ui->setupUi(this);
    setTask(task);
}

void VorTaskHandle::setTask(TaskInfo *task)
{
    m_task = task;
    TableFill::nameRowControls(this, m_task->name);
}

VorTaskHandle::~VorTaskHandle() = default;

void VorTaskHandle::on_pushButtonStart_clicked()
{
    VOR_LOG(3, m_task->id, m_task->name);
    VorSdk::instance()->continueTask(m_task->id);
}

void VorTaskHandle::on_pushButtonPause_clicked()
{
    VOR_LOG(3, m_task->id, m_task->name);
    VorSdk::instance()->pauseTask(m_task->id);
}

void VorTaskHandle::on_pushButtonDelete_clicked()
{
    VOR_LOG(3, m_task->id, m_task->name);
    const int answer
        = VorDialog::showChoice(tr("删除"), tr("确认删除任务%1").arg(m_task->name), window(), tr("确定"), tr("取消"));
    if (answer == 1)
        VorSdk::instance()->deleteTask(m_task->id);
}

void VorTaskHandle::on_pushButtonContinue_clicked()
{
    // Continuing and starting are the same request.
    on_pushButtonStart_clicked();
}
