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

#include <QCheckBox>
#include <QCoreApplication>
#include <QHBoxLayout>
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

// Rows of cell widgets meet two costs in Qt that grow with the square of the number of widgets: a layout
// request posted to a widget that already waits for an event is compared with every event in the queue,
// and every widget marked for repaint is compared with all of its siblings. A fill therefore hides the
// viewport (its cells then post nothing to it and ask for no repaint of their own), lets the posted
// events through every few dozen rows so that the queue stays short, and repaints the viewport as a whole
// once the rows are in. For the same reason the viewport is hidden while the page is out of sight, so
// that showing the page again does not show every cell one by one.

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

    // The scroll bar comes and goes after a redraw has been laid out; the name column must follow.
    ui->tableWidget->verticalScrollBar()->installEventFilter(this);
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
    TableFill::begin(table);
    removeRows();

    m_tasks = VorData::instance()->tasks();
    VOR_LOG(3, m_tasks.size());
    table->setRowCount(m_tasks.size());
    m_checkBoxes.reserve(m_tasks.size());
    if (!m_redraw.fillRows(m_tasks.size(), [this](int row) { fillRow(row, m_tasks.at(row)); })) {
        TableFill::end(table); // the store has replaced the rows this fill was reading
        return;
    }

    table->resizeColumnsToContents();
    table->resizeRowsToContents();
    resizeTable();
    TableFill::end(table);
}

void VorPageTask::removeRows()
{
    qDeleteAll(m_checkBoxes);
    m_checkBoxes.clear();
    TableFill::deleteCellWidgets(ui->tableWidget, { CheckColumn, NameColumn, ProgressColumn, HandleColumn });
    ui->tableWidget->clearContents();
}

void VorPageTask::fillRow(int row, TaskInfo *task)
{
    QTableWidget *table = ui->tableWidget;
    table->setCellWidget(row, CheckColumn, makeCheckCell());
    table->setCellWidget(row, NameColumn, new VorTaskDirFile(task, table));
    table->setColumnWidth(NameColumn, NameColumnStartWidth); // the final width is set once all rows are in
    table->setItem(row, TypeColumn, centredItem(task->type));
    table->setItem(row, StatusColumn, centredItem(statusText(task->status)));
    table->setItem(row, SizeColumn, centredItem(task->size));
    table->setCellWidget(row, ProgressColumn, new VorTaskStatus(task, table));
    table->setItem(row, CreatedColumn, centredItem(task->created.toString(QLatin1String(DateFormat))));
    table->setCellWidget(row, HandleColumn, new VorTaskHandle(task, table));
}

QWidget *VorPageTask::makeCheckCell()
{
    auto *cell = new QWidget(ui->tableWidget);
    auto *layout = new QHBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *box = new QCheckBox(cell);
    layout->addWidget(box, 0, Qt::AlignCenter);
    m_checkBoxes.append(box);
    return cell;
}

void VorPageTask::resizeTable()
{
    QTableWidget *table = ui->tableWidget;
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
    if (!event->spontaneous() && !m_redraw.isRunning() && ui->tableWidget->viewport()->isHidden())
        TableFill::showCells(ui->tableWidget);
    // Rows filled while the page was out of sight were measured before the style sheet reached their
    // cells; the columns are sized again once the page is on screen.
    if (!event->spontaneous())
        QTimer::singleShot(0, this, [this] {
            if (!m_redraw.isRunning())
                resizeTable();
        });
}

void VorPageTask::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous() && !m_redraw.isRunning())
        ui->tableWidget->viewport()->hide();
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
    for (QCheckBox *box : qAsConst(m_checkBoxes))
        box->setChecked(checked);
}

void VorPageTask::on_pushButtonDelete_clicked()
{
    const QList<TaskInfo *> tasks = VorData::instance()->tasks();
    QList<int> ids;
    for (int i = 0; i < m_checkBoxes.size() && i < tasks.size(); ++i) {
        if (m_checkBoxes.at(i)->isChecked())
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
