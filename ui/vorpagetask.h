#pragma once

#include "model/taskinfo.h"

#include <QList>

#include <QWidget>
#include <memory>

class PageTable;
class SCheckBoxHeaderView;

namespace Ui {
class VorPageTask;
}

// The task page: the store's transfer tasks with their progress and per-row actions, two filters that
// take effect on refresh, and a delete for the checked rows.
class VorPageTask : public QWidget
{
    Q_OBJECT
public:
    explicit VorPageTask(QWidget *parent = nullptr);
    ~VorPageTask() override;

    // The status as the table shows it.
    static QString statusText(int status);

public slots:
    void dataUpdateTaskInfo();
    void dataUpdateLocation(bool pub, bool pri);

private slots:
    void checkStausChange(bool checked);
    void on_pushButtonDelete_clicked();
    void on_pushButtonRefresh_clicked();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void bindKeys();
    void pauseOrContinueCurrentTask();
    void redrawTable();
    void fillRow(int row, TaskInfo *task);
    void buildRow(int row);
    void rebindRow(int row, const QVector<QWidget *> &cells);
    void resizeTable();

    std::unique_ptr<Ui::VorPageTask> ui;
    SCheckBoxHeaderView *m_header = nullptr;
    QList<TaskInfo *> m_tasks; // the store's records shown in the rows, in row order
    PageTable *m_table = nullptr;
};
