#include "ui/vorpagetask.h"
#include "ui_vorpagetask.h"

#include "app/vorlog.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ui/scheckboxheaderview.h"
#include "ui/tablefill.h"
#include "ui/vordialog.h"
#include "ui/vortaskdirfile.h"
#include "ui/vortaskhandle.h"
#include "ui/vortaskstatus.h"

#include <QListView>
#include <QScrollBar>
#include <QShowEvent>
#include <QTimer>

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

const int CheckColumnWidth = 72;
const int NameColumnStartWidth = 400;
const int DisplayedPages = 100;
const int TableFrame = 2;
const char DateFormat[] = "yyyy/MM/dd HH:mm:ss";

QTableWidgetItem *centredItem(const QString &text)
{
    auto *item = new QTableWidgetItem(text);
    item->setTextAlignment(Qt::AlignCenter);
    return item;
}

const char *boolText(bool value)
{
    return value ? "true" : "false";
}

} // namespace

VorPageTask::VorPageTask(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorPageTask>())
{
    ui->setupUi(this);
    m_rows = std::make_unique<TableFill::LazyRows>(
        ui->tableWidget, [this](int row) { buildRow(row); },
        [this](int row, const QVector<QWidget *> &cells) { rebindRow(row, cells); });
    // A plain list view lets the style sheet reach the drop-down lists.
    ui->comboBoxType->setView(new QListView(ui->comboBoxType));
    ui->comboBoxStatus->setView(new QListView(ui->comboBoxStatus));
    // Every task is in the one table; the pager only shows where paging will go.
    ui->widgetPage->setMaxPage(DisplayedPages);

    m_header = new SCheckBoxHeaderView(Qt::Horizontal, this);
    ui->tableWidget->setHorizontalHeader(m_header);
    connect(m_header, &SCheckBoxHeaderView::checkStausChange, this, &VorPageTask::checkStausChange);

    // The scroll bar comes and goes after a redraw has been laid out; the name column must follow.
    ui->tableWidget->verticalScrollBar()->installEventFilter(this);
    // Rows get their cells as they come into view, by scrolling or by a taller table.
    ui->tableWidget->viewport()->installEventFilter(this);
    connect(ui->tableWidget->verticalScrollBar(), &QScrollBar::valueChanged, this, &VorPageTask::buildRowsInView);
    // Columns are measured by the rows in view, the only ones with cells.
    m_header->setResizeContentsPrecision(0);
    TableFill::giveCellWidgetsWholeCells(ui->tableWidget);
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
    m_redraw.request([this] { redrawTable(); });
}

void VorPageTask::redrawTable()
{
    QTableWidget *table = ui->tableWidget;
    table->setUpdatesEnabled(false);
    removeRows();

    m_tasks = VorData::instance()->tasks();
    VOR_LOG(3, m_tasks.size());
    table->setRowCount(m_tasks.size());
    m_rows->reset(m_tasks.size());
    table->setColumnWidth(NameColumn, NameColumnStartWidth); // overridden once the rows are in
    const bool complete = m_redraw.fillRows(m_tasks.size(), [this](int row) { fillRow(row, m_tasks.at(row)); });
    // Otherwise the store has replaced the rows this fill was reading, and the next fill follows.
    if (complete) {
        m_rows->buildRowsInView();
        resizeTable();
    }
    table->setUpdatesEnabled(true);
}

void VorPageTask::removeRows()
{
    TableFill::deleteCellWidgets(ui->tableWidget, { CheckColumn, NameColumn, ProgressColumn, HandleColumn });
    m_rows->reset(0);
    ui->tableWidget->clearContents();
}

// The text columns of every row; the cell widgets follow when the row comes into view.
void VorPageTask::fillRow(int row, TaskInfo *task)
{
    QTableWidget *table = ui->tableWidget;
    table->setItem(row, TypeColumn, centredItem(task->type));
    table->setItem(row, StatusColumn, centredItem(statusText(task->status)));
    table->setItem(row, SizeColumn, centredItem(task->size));
    table->setItem(row, CreatedColumn, centredItem(task->created.toString(QLatin1String(DateFormat))));
}

void VorPageTask::buildRow(int row)
{
    QTableWidget *table = ui->tableWidget;
    TaskInfo *task = m_tasks.at(row);
    table->setCellWidget(row, CheckColumn, m_rows->makeCheckCell(row));
    table->setCellWidget(row, NameColumn, new VorTaskDirFile(task, table));
    table->setCellWidget(row, ProgressColumn, new VorTaskStatus(task, table));
    table->setCellWidget(row, HandleColumn, new VorTaskHandle(task, table));
}

void VorPageTask::rebindRow(int row, const QVector<QWidget *> &cells)
{
    TaskInfo *task = m_tasks.at(row);
    static_cast<VorTaskDirFile *>(cells.at(NameColumn))->setTask(task);
    static_cast<VorTaskStatus *>(cells.at(ProgressColumn))->setTask(task);
    static_cast<VorTaskHandle *>(cells.at(HandleColumn))->setTask(task);
}

void VorPageTask::buildRowsInView()
{
    if (!m_redraw.isRunning() && m_rows->buildRowsInView())
        resizeTable();
}

void VorPageTask::resizeTable()
{
    QTableWidget *table = ui->tableWidget;
    // Out of sight the columns would be measured by every row; they are sized when the page is shown.
    if (!table->isVisible())
        return;
    table->resizeColumnsToContents();
    table->setColumnWidth(CheckColumn, CheckColumnWidth);

    int used = 0;
    for (int column = 0; column < table->columnCount(); ++column) {
        if (column != NameColumn)
            used += table->columnWidth(column);
    }
    // A hidden scroll bar keeps a stale width; only a shown one takes room.
    QScrollBar *bar = table->verticalScrollBar();
    if (bar->isVisible())
        used += bar->width();

    // The name takes all the room that is left, and never less than it needs.
    table->setColumnWidth(NameColumn, qMax(table->width() - used - TableFrame, table->columnWidth(NameColumn)));
}

void VorPageTask::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    buildRowsInView();
    // Cells shown for the first time take their style only now; the columns follow once it is applied.
    QTimer::singleShot(0, this, [this] {
        if (!m_redraw.isRunning())
            resizeTable();
    });
}

void VorPageTask::resizeEvent(QResizeEvent *event)
{
    resizeTable();
    QWidget::resizeEvent(event);
}

bool VorPageTask::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->tableWidget->verticalScrollBar()
        && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        resizeTable();
    if (watched == ui->tableWidget->viewport() && event->type() == QEvent::Resize)
        buildRowsInView();
    return QWidget::eventFilter(watched, event);
}

void VorPageTask::dataUpdateLocation(bool pub, bool pri)
{
    VOR_LOG(3, boolText(pub), boolText(pri));
    ui->widgetLocation->setPublicVisible(pub);
    ui->widgetLocation->setPrivateVisible(pri);
}

void VorPageTask::checkStausChange(bool checked)
{
    VOR_LOG(3, boolText(checked));
    m_rows->setAllChecked(checked);
}

void VorPageTask::on_pushButtonDelete_clicked()
{
    const QList<TaskInfo *> tasks = VorData::instance()->tasks();
    QList<int> ids;
    for (int i = 0; i < m_rows->count() && i < tasks.size(); ++i) {
        if (m_rows->isChecked(i))
            ids.append(tasks.at(i)->id);
    }
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
