#include "ui/tablefill.h"

#include <QApplication>
#include <QCheckBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QTableWidget>

namespace TableFill {

namespace {

class PageTableDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        editor->setGeometry(option.rect);
    }

    // Under the cell widgets too, which paint no background of their own.
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const auto *view = qobject_cast<const QAbstractItemView *>(option.widget);
        if (view && index.row() == view->currentIndex().row())
            painter->fillRect(option.rect, option.palette.highlight());
        QStyledItemDelegate::paint(painter, option, index);
    }
};

bool isPauseRow(int row)
{
    return (row + 1) % RowsBetweenPauses == 0;
}

} // namespace

QTableWidgetItem *centredItem(const QString &text)
{
    auto *item = new QTableWidgetItem(text);
    item->setTextAlignment(Qt::AlignCenter);
    return item;
}

void nameRowControls(QWidget *cell, const QString &rowName)
{
    const char ActionProperty[] = "rowAction";
    for (QAbstractButton *control : cell->findChildren<QAbstractButton *>()) {
        QString action = control->property(ActionProperty).toString();
        if (action.isEmpty()) {
            action = qobject_cast<QCheckBox *>(control) ? QCoreApplication::translate("TableFill", "选择")
                                                        : control->accessibleName();
            control->setProperty(ActionProperty, action);
        }
        control->setAccessibleName(action + QLatin1Char(' ') + rowName);
    }
}

void setUpTable(QTableWidget *table)
{
    table->setItemDelegate(new PageTableDelegate(table));
    table->setTabKeyNavigation(false);
    // The view repaints the cell it leaves and the one it enters; the mark covers their whole rows.
    QObject::connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, table->viewport(),
                     qOverload<>(&QWidget::update));
}

// Set by a cell on itself while one of its own actions runs; that action may be what redraws the table.
const char CellBusyProperty[] = "cellBusy";

// Deleted now, in the order they were made, rather than later by the table: the old rows never share
// memory with the new ones. A cell whose own action is still running is left to the table, which deletes
// it once control is back in the event loop.
void deleteCellWidgets(QTableWidget *table, const QVector<int> &columns)
{
    for (int row = 0; row < table->rowCount(); ++row) {
        for (int column : columns) {
            QWidget *cell = table->cellWidget(row, column);
            if (cell && !cell->property(CellBusyProperty).toBool())
                delete cell;
        }
    }
}

void Redraw::request(const std::function<void()> &redraw)
{
    if (m_running) {
        m_again = true;
        return;
    }
    m_running = true;
    do {
        m_again = false;
        redraw();
    } while (m_again);
    m_running = false;
}

void fitNameColumn(QTableWidget *table, int nameColumn, int checkColumnWidth)
{
    const int tableFrame = 2;
    table->resizeColumnsToContents();
    if (checkColumnWidth > 0)
        table->setColumnWidth(0, checkColumnWidth);

    int used = 0;
    for (int column = 0; column < table->columnCount(); ++column) {
        if (column != nameColumn)
            used += table->columnWidth(column);
    }
    // A hidden scroll bar keeps a stale width; only a shown one takes room.
    const QScrollBar *bar = table->verticalScrollBar();
    if (bar->isVisible())
        used += bar->width();
    table->setColumnWidth(nameColumn, qMax(table->width() - used - tableFrame, table->columnWidth(nameColumn)));
}

bool Redraw::fillRows(int count, const std::function<void(int row)> &fillRow)
{
    for (int row = 0; row < count; ++row) {
        fillRow(row);
        if (isPauseRow(row)) {
            QCoreApplication::sendPostedEvents();
            if (m_again)
                return false;
        }
    }
    return true;
}

namespace {
const char RowProperty[] = "lazyRow";
}

LazyRows::LazyRows(QTableWidget *table, BuildRow buildRow, RebindRow rebindRow)
    : m_table(table)
    , m_buildRow(std::move(buildRow))
    , m_rebindRow(std::move(rebindRow))
{
}

LazyRows::~LazyRows()
{
    dropSpareCells();
}

void LazyRows::reset(int count)
{
    // The spare cells point to records of the old listing, which the store frees.
    dropSpareCells();
    m_checked.fill(false, count);
    m_boxes.fill(nullptr, count);
}

void LazyRows::dropSpareCells()
{
    for (const QVector<QWidget *> &cells : qAsConst(m_spareCells))
        qDeleteAll(cells);
    m_spareCells.clear();
}

// A table out of sight builds nothing: its cells would be measured before the style reached them, and
// the user may never look at it before the next listing.
int LazyRows::cellsHeight(int row) const
{
    int height = 0;
    for (int column = 0; column < m_table->columnCount(); ++column) {
        if (QWidget *cell = m_table->cellWidget(row, column))
            height = qMax(height, cell->sizeHint().height());
    }
    return height;
}

bool LazyRows::buildRowsInView()
{
    if (!m_table->isVisible() || m_boxes.isEmpty())
        return false;
    const int first = qMax(0, m_table->rowAt(0));
    int last = m_table->rowAt(m_table->viewport()->height() - 1);
    if (last < 0)
        last = m_boxes.size() - 1;
    // A screenful either side stays built, so that scrolling back a little finds its rows ready.
    const int kept = last - first + 1;
    releaseRowsOutside(first - kept, last + kept);

    QHeaderView *rows = m_table->verticalHeader();
    int height = rows->defaultSectionSize();
    bool built = false;
    for (int row = first; row <= last; ++row) {
        if (m_boxes.at(row))
            continue;
        if (m_spareCells.isEmpty())
            m_buildRow(row);
        else
            reuseCells(row, m_spareCells.takeLast());
        height = qMax(height, cellsHeight(row));
        built = true;
    }
    // All rows are alike; the height the built ones need is given to every row at once, and once it is
    // known a new listing starts with it.
    if (height != rows->defaultSectionSize())
        rows->setDefaultSectionSize(height);
    return built;
}

// Every cell widget the view moves along when it scrolls, and compares when it repaints, costs time in
// each step; the rows far out of view give theirs back and keep only their state.
void LazyRows::releaseRowsOutside(int first, int last)
{
    // A row action waiting on a dialog (a confirmation, a new name) still needs its cell afterwards.
    if (QApplication::activeModalWidget())
        return;
    for (int row = 0; row < m_boxes.size(); ++row) {
        if (!m_boxes.at(row) || (row >= first && row <= last))
            continue;
        bool busy = false;
        for (int column = 0; column < m_table->columnCount(); ++column) {
            QWidget *cell = m_table->cellWidget(row, column);
            busy = busy || (cell && cell->property(CellBusyProperty).toBool());
        }
        if (busy)
            continue;
        m_spareCells << takeCells(row);
        m_boxes[row] = nullptr;
    }
}

QVector<QWidget *> LazyRows::takeCells(int row)
{
    QVector<QWidget *> cells(m_table->columnCount(), nullptr);
    for (int column = 0; column < cells.size(); ++column) {
        QWidget *cell = m_table->cellWidget(row, column);
        if (!cell)
            continue;
        m_table->removeCellWidget(row, column);
        // The view forgets the cell and asks for its deletion later; it is kept for another row instead.
        QCoreApplication::removePostedEvents(cell, QEvent::DeferredDelete);
        cell->hide();
        cells[column] = cell;
    }
    return cells;
}

void LazyRows::reuseCells(int row, const QVector<QWidget *> &cells)
{
    QCheckBox *box = cells.at(0) ? cells.at(0)->findChild<QCheckBox *>() : nullptr;
    if (box) {
        box->setProperty(RowProperty, row);
        const QSignalBlocker quiet(box); // the row's own state, not a click
        box->setChecked(m_checked.at(row));
        m_boxes[row] = box;
    }
    m_rebindRow(row, cells);
    for (int column = 0; column < cells.size(); ++column) {
        if (cells.at(column))
            m_table->setCellWidget(row, column, cells.at(column));
    }
}

QWidget *LazyRows::makeCheckCell(int row)
{
    auto *cell = new QWidget(m_table);
    auto *layout = new QHBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *box = new QCheckBox(cell);
    box->setFocusPolicy(Qt::NoFocus); // the table takes the keys: Space checks the current row
    box->setChecked(m_checked.at(row));
    box->setProperty(RowProperty, row);
    layout->addWidget(box, 0, Qt::AlignCenter);
    QObject::connect(box, &QCheckBox::toggled, m_table,
                     [this, box](bool checked) { m_checked[box->property(RowProperty).toInt()] = checked; });
    m_boxes[row] = box;
    return cell;
}

void LazyRows::setAllChecked(bool checked)
{
    m_checked.fill(checked);
    for (QCheckBox *box : qAsConst(m_boxes)) {
        if (box)
            box->setChecked(checked);
    }
}

QVector<int> LazyRows::checkedRows(int count) const
{
    QVector<int> rows;
    for (int row = 0; row < m_checked.size() && row < count; ++row) {
        if (m_checked.at(row))
            rows << row;
    }
    return rows;
}

void LazyRows::clickCheckBox(int row)
{
    if (QCheckBox *box = m_boxes.at(row))
        box->click();
    else
        m_checked[row] = !m_checked.at(row);
}

} // namespace TableFill
