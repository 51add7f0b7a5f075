#pragma once

#include <QWidget>
#include <memory>

struct TaskInfo;

namespace Ui {
class VorTaskDirFile;
}

// Name cell of the task table: folder or file picture and the task's object name.
class VorTaskDirFile : public QWidget
{
    Q_OBJECT
public:
    explicit VorTaskDirFile(TaskInfo *task, QWidget *parent = nullptr);
    ~VorTaskDirFile() override;

    // Makes the cell show and act for another task, when the table gives it to another row.
    void setTask(TaskInfo *task);

private:
    std::unique_ptr<Ui::VorTaskDirFile> ui;
    TaskInfo *m_task = nullptr;
};
