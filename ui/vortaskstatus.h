#pragma once

#include <QStringList>
#include <QWidget>
#include <memory>

struct TaskInfo;

namespace Ui {
class VorTaskStatus;
}

// Progress cell of the task table: a finish, fail or blank picture and a bar coloured by the status.
class VorTaskStatus : public QWidget
{
    Q_OBJECT
public:
    explicit VorTaskStatus(TaskInfo *task, QWidget *parent = nullptr);
    ~VorTaskStatus() override;

    // Makes the cell show and act for another task, when the table gives it to another row.
    void setTask(TaskInfo *task);

    // The bar colour of a status; statuses outside the known ones get a neutral grey.
    QString barColor(int status) const;

private:
    void showStatus(int status, int progress);

    std::unique_ptr<Ui::VorTaskStatus> ui;
    TaskInfo *m_task = nullptr;
    QStringList m_colors;
};
