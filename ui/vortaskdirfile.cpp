#include "ui/vortaskdirfile.h"
#include "ui_vortaskdirfile.h"

#include "model/taskinfo.h"

VorTaskDirFile::VorTaskDirFile(TaskInfo *task, QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorTaskDirFile>())
    , m_task(task)
{
    ui->setupUi(this);
    setTask(task);
}

void VorTaskDirFile::setTask(TaskInfo *task)
{
    m_task = task;
    ui->label->setText(m_task->name);
    ui->widgetDir->setVisible(m_task->isDir);
    ui->widgetFile->setVisible(!m_task->isDir);
}

VorTaskDirFile::~VorTaskDirFile() = default;
