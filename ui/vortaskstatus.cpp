#include "ui/vortaskstatus.h"
#include "ui_vortaskstatus.h"

#include "model/taskinfo.h"

namespace {
const char UnknownStatusColor[] = "#8C8C8C";
}

VorTaskStatus::VorTaskStatus(TaskInfo *task, QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorTaskStatus>())
    , m_task(task)
    , m_colors({ QStringLiteral("#1890FF"), QStringLiteral("#95F204"), QStringLiteral("#D9001B"),
                 QStringLiteral("#1890FF") })
{
    ui->setupUi(this);
    setTask(task);
}

void VorTaskStatus::setTask(TaskInfo *task)
{
    m_task = task;
    ui->progressBar->setAccessibleName(tr("任务进度 %1").arg(m_task->name)); // its value reads as a percentage
    showStatus(m_task->status, m_task->progress);
}

VorTaskStatus::~VorTaskStatus() = default;

QString VorTaskStatus::barColor(int status) const
{
    if (status < 0 || status >= m_colors.size())
        return QLatin1String(UnknownStatusColor);
    return m_colors.at(status);
}

void VorTaskStatus::showStatus(int status, int progress)
{
    ui->widgetIconBlank->setVisible(status != TaskFinished && status != TaskFailed);
    ui->widgetIconFail->setVisible(status == TaskFailed);
    ui->widgetIconFinish->setVisible(status == TaskFinished);
    ui->progressBar->setValue(progress);
    ui->progressBar->setStyleSheet(QStringLiteral("QProgressBar::chunk{background-color:%1;}").arg(barColor(status)));
}
