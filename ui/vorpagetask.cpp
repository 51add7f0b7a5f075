#include "ui/vorpagetask.h"
#include "ui_vorpagetask.h"

#include "app/vorlog.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ui/keys.h"
#include "ui/pagetable.h"
#include "ui/scheckboxheaderview.h"
#include "ui/vordialog.h"
#include "ui/vortaskdirfile.h"
#include "ui/vortaskhandle.h"
#include "ui/vortaskstatus.h"

#include <QListView>

namespace {

enum Column {
    CheckColumn,
    NameColumn,
    TypeColumn,
    StatusColumn,
    SizeColumn,
    ProgressColumn,
    CreatedColumn,
    HandleColumn
};

const int DisplayedPages = 100;
const char DateFormat[] = "yyyy/MM/dd HH:mm:ss";

} // namespace

VorPageTask::VorPageTask(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorPageTask>())
{
    ui->setupUi(this);
    // A plain list view lets the style sheet reach the drop-down lists.
    ui->comboBoxType->setView(new QListView(ui->comboBoxType));
    ui->comboBoxStatus->setView(new QListView(ui->comboBoxStatus));
    // Every task is in the one table; the pager only shows where paging will go.
    ui->widgetPage->setMaxPage(DisplayedPages);

    m_header = new SCheckBoxHeaderView(Qt::Horizontal, this);
    ui->tableWidget->setHorizontalHeader(m_header);
    connect(m_header, &SCheckBoxHeaderView::checkStausChange, this, &VorPageTask::checkStausChange);

    m_table = new PageTable(
        ui->tableWidget, { NameColumn, { CheckColumn, NameColumn, ProgressColumn, HandleColumn } },
        [this](int row) { buildRow(row); }, [this](int row, const QVector<QWidget *> &cells) { rebindRow(row, cells); },
        [this] { resizeTable(); }, this);
    bindKeys();
}

void VorPageTask::bindKeys()
{
    const QKeySequence refresh(Qt::Key_F5);
    Keys::inView(this, { refresh }, [this] { ui->pushButtonRefresh->click(); });
    Keys::inWidget(ui->tableWidget, { Keys::DeleteRows }, [this] { ui->pushButtonDelete->click(); });
    Keys::inWidget(ui->tableWidget, { Qt::Key_Return, Qt::Key_Enter }, [this] { pauseOrContinueCurrentTask(); });
    Keys::showInToolTip(ui->pushButtonRefresh, refresh);
    Keys::showInToolTip(ui->pushButtonDelete, Keys::DeleteRows);
}

// Enter pauses a running task and continues a paused or failed one, through the row's own buttons; a
// finished task has nothing to do.
void VorPageTask::pauseOrContinueCurrentTask()
{
    const int row = m_table->currentRow();
    if (row < 0)
        return;
    switch (m_tasks.at(row)->status) {
    case TaskRunning:
        m_table->clickInCurrentRow(HandleColumn, QStringLiteral("pushButtonPause"));
        break;
    case TaskPaused:
    case TaskFailed:
        m_table->clickInCurrentRow(HandleColumn, QStringLiteral("pushButtonContinue"));
        break;
    default:
        break;
    }
}

VorPageTask::~VorPageTask() = default;

QString VorPageTask::statusText(int status)
{
    switch (status) {
    case TaskRunning:
        return tr("下载中"); // also for uploads
    case TaskFinished:
        return tr("已完成");
    case TaskFailed:
        return tr("失败");
    case TaskPaused:
        return tr("暂停");
    default:
        return tr("未知");
    }
}

void VorPageTask::dataUpdateTaskInfo()
{
    m_table->request([this] { redrawTable(); });
}

void VorPageTask::redrawTable()
{
    m_tasks = VorData::instance()->tasks();
    VOR_LOG(3, m_tasks.size());
    m_table->refill(m_tasks.size(), [this](int row) { fillRow(row, m_tasks.at(row)); });
}

// The text columns of every row; the cell widgets follow when the row comes into view.
void VorPageTask::fillRow(int row, TaskInfo *task)
{
    QTableWidget *table = ui->tableWidget;
    table->setItem(row, TypeColumn, TableFill::centredItem(task->type));
    table->setItem(row, StatusColumn, TableFill::centredItem(statusText(task->status)));
    table->setItem(row, SizeColumn, TableFill::centredItem(task->size));
    table->setItem(row, CreatedColumn, TableFill::centredItem(task->created.toString(QLatin1String(DateFormat))));
}

void VorPageTask::buildRow(int row)
{
    QTableWidget *table = ui->tableWidget;
    TaskInfo *task = m_tasks.at(row);
    QWidget *checkCell = m_table->rows().makeCheckCell(row);
    TableFill::nameRowControls(checkCell, task->name);
    table->setCellWidget(row, CheckColumn, checkCell);
    table->setCellWidget(row, NameColumn, new VorTaskDirFile(task, table));
    table->setCellWidget(row, ProgressColumn, new VorTaskStatus(task, table));
    table->setCellWidget(row, HandleColumn, new VorTaskHandle(task, table));
}

void VorPageTask::rebindRow(int row, const QVector<QWidget *> &cells)
{
    TaskInfo *task = m_tasks.at(row);
    TableFill::nameRowControls(cells.at(CheckColumn), task->name);
    static_cast<VorTaskDirFile *>(cells.at(NameColumn))->setTask(task);
    static_cast<VorTaskStatus *>(cells.at(ProgressColumn))->setTask(task);
    static_cast<VorTaskHandle *>(cells.at(HandleColumn))->setTask(task);
}

void VorPageTask::resizeTable()
{
    // Out of sight the columns would be measured by every row; they are sized when the page is shown.
    if (ui->tableWidget->isVisible())
        TableFill::fitNameColumn(ui->tableWidget, NameColumn, TableFill::CheckColumnWidth);
}

void VorPageTask::resizeEvent(QResizeEvent *event)
{
    resizeTable();
    QWidget::resizeEvent(event);
}

void VorPageTask::dataUpdateLocation(bool pub, bool pri)
{
    VOR_LOG(3, VorLog::boolText(pub), VorLog::boolText(pri));
    ui->widgetLocation->setPublicVisible(pub);
    ui->widgetLocation->setPrivateVisible(pri);
}

void VorPageTask::checkStausChange(bool checked)
{
    VOR_LOG(3, VorLog::boolText(checked));
    m_table->rows().setAllChecked(checked);
}

void VorPageTask::on_pushButtonDelete_clicked()
{
    const QList<TaskInfo *> tasks = VorData::instance()->tasks();
    QList<int> ids;
    for (int row : m_table->rows().checkedRows(tasks.size()))
        ids.append(tasks.at(row)->id);
    VOR_LOG(3, ids);
    if (ids.isEmpty()) {
        VorDialog::showMessage(tr("错误"), tr("没有勾选需要删除的任务"), this, tr("确定"));
        return;
    }
    VorSdk::instance()->deleteTask(ids);
}

void VorPageTask::on_pushButtonRefresh_clicked()
{
    const int type = ui->comboBoxType->currentIndex();
    const int status = ui->comboBoxStatus->currentIndex();
    VOR_LOG(3, type, status);
    VorSdk::instance()->refreshTask(type, status);
}
