#include "ui/pagetable.h"

#include "ui/keys.h"
#include "ui/scheckboxheaderview.h"

#include <QAbstractButton>
#include <QEvent>
#include <QHeaderView>
#include <QScrollBar>
#include <QTableWidget>
#include <QTimer>

PageTable::PageTable(QTableWidget *table, const Columns &columns, TableFill::LazyRows::BuildRow buildRow,
                     TableFill::LazyRows::RebindRow rebindRow, std::function<void()> resize, QWidget *page)
    : QObject(page)
    , m_table(table)
    , m_page(page)
    , m_columns(columns)
    , m_resize(std::move(resize))
    , m_rows(table, std::move(buildRow), std::move(rebindRow))
{
    // The scroll bar comes and goes after a redraw has been laid out; the name column must follow.
    table->verticalScrollBar()->installEventFilter(this);
    // Rows get their cells as they come into view, by scrolling or by a taller table.
    table->viewport()->installEventFilter(this);
    page->installEventFilter(this);
    connect(table->verticalScrollBar(), &QScrollBar::valueChanged, this, &PageTable::buildRowsInView);
    // Columns are measured by the rows in view, the only ones with cells.
    table->horizontalHeader()->setResizeContentsPrecision(0);
    TableFill::setUpTable(table);
    // The check column's header has no text; a screen reader names it by what its box does.
    if (QTableWidgetItem *header = table->horizontalHeaderItem(0))
        header->setData(Qt::AccessibleTextRole, tr("全选"));
    bindCheckKeys();
}

// Space checks the current row as a click on its box; Ctrl+A checks them all, as the header's box does.
void PageTable::bindCheckKeys()
{
    Keys::inWidget(m_table, { Qt::Key_Space }, [this] {
        const int row = currentRow();
        if (row >= 0 && m_rowChecks(row))
            m_rows.clickCheckBox(row);
    });
    Keys::inWidget(m_table, { QKeySequence::SelectAll }, [this] {
        if (auto *header = qobject_cast<SCheckBoxHeaderView *>(m_table->horizontalHeader()))
            header->setChecked(true);
    });
}

int PageTable::currentRow() const
{
    const int row = m_table->currentRow();
    return row < m_rows.count() ? row : -1;
}

bool PageTable::clickInCurrentRow(int column, const QString &button)
{
    const int row = currentRow();
    if (row < 0)
        return false;
    // The keys may reach a row before its cells are made: it is brought into view first.
    m_table->scrollTo(m_table->model()->index(row, column));
    m_rows.buildRowsInView();
    QWidget *cell = m_table->cellWidget(row, column);
    auto *target = cell ? cell->findChild<QAbstractButton *>(button) : nullptr;
    if (!target || !target->isVisibleTo(cell))
        return false;
    target->click();
    return true;
}

void PageTable::refill(int count, const std::function<void(int row)> &fillRow)
{
    m_table->setUpdatesEnabled(false);
    TableFill::deleteCellWidgets(m_table, m_columns.withCells);
    m_rows.reset(0);
    m_table->clearContents();

    m_table->setRowCount(count);
    m_rows.reset(count);
    m_table->setColumnWidth(m_columns.name, m_columns.nameStartWidth);
    // Otherwise the store has replaced the rows this fill was reading, and the next fill follows.
    if (m_redraw.fillRows(count, fillRow)) {
        m_rows.buildRowsInView();
        m_resize();
    }
    m_table->setUpdatesEnabled(true);
}

void PageTable::buildRowsInView()
{
    if (!m_redraw.isRunning() && m_rows.buildRowsInView())
        m_resize();
}

void PageTable::pageShown()
{
    buildRowsInView();
    // Cells shown for the first time take their style only now; the columns follow once it is applied.
    QTimer::singleShot(0, this, [this] {
        if (!m_redraw.isRunning())
            m_resize();
    });
}

bool PageTable::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (watched == m_table->verticalScrollBar() && (type == QEvent::Show || type == QEvent::Hide))
        m_resize();
    else if (watched == m_table->viewport() && type == QEvent::Resize)
        buildRowsInView();
    else if (watched == m_page && type == QEvent::Show && !event->spontaneous())
        pageShown();
    return QObject::eventFilter(watched, event);
}
