#pragma once

#include <QWidget>
#include <memory>

struct TaskInfo;

namespace Ui {
class VorTaskHandle;
}

// Action cell of the task table: start, pause, delete and continue for one task. The task belongs to the
// store and stays valid for the life of the row.
class VorTaskHandle : public QWidget
{
    Q_OBJECT
public:
    explicit VorTaskHandle(TaskInfo *task, QWidget *parent = nullptr);
    ~VorTaskHandle() override;

    // Makes the cell show and act for another task, when the table gives it to another row.
    void setTask(TaskInfo *task);

private slots:
    void on_pushButtonStart_clicked();
    void on_pushButtonPause_clicked();
    void on_pushButtonDelete_clicked();
    void on_pushButtonContinue_clicked();

private:
    std::unique_ptr<Ui::VorTaskHandle> ui;
    TaskInfo *m_task = nullptr;
};
