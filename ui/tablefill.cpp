#include "ui/tablefill.h"

#include <QCoreApplication>
#include <QTableWidget>

namespace TableFill {

void begin(QTableWidget *table)
{
    table->setUpdatesEnabled(false);
    table->viewport()->hide();
}

bool isPauseRow(int row)
{
    return (row + 1) % RowsBetweenPauses == 0;
}

void letPostedEventsThrough()
{
    QCoreApplication::sendPostedEvents();
}

// Shows the cells of a filled table as one piece: each cell made visible asks for a repaint of its own,
// and thousands of those cost far more than one repaint of the viewport.
void showCells(QTableWidget *table)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateLater); // whatever else waits is painted as usual
    table->viewport()->show();
    QCoreApplication::removePostedEvents(nullptr, QEvent::UpdateLater); // now only the cells' own requests
    table->viewport()->update();
}

void end(QTableWidget *table)
{
    table->doItemsLayout(); // every cell is placed while nothing can be repainted
    letPostedEventsThrough();
    table->setUpdatesEnabled(true); // marks no cell for repaint: none is visible yet
    // A table out of sight keeps its viewport hidden; the page shows the cells when it is shown itself.
    if (table->isVisible())
        showCells(table);
}

// Set by a cell on itself while one of its own actions runs; that action may be what redraws the table.
const char CellBusyProperty[] = "cellBusy";

// Deleted now, in the order they were made, rather than later by the table: the old rows never share
// memory with the new ones, and each cell leaves from the front of its parent's list of children. A cell
// whose own action is still running is left to the table, which deletes it once control is back in the
// event loop.
void deleteCellWidgets(QTableWidget *table, std::initializer_list<int> columns)
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

bool Redraw::fillRows(int count, const std::function<void(int row)> &fillRow)
{
    for (int row = 0; row < count; ++row) {
        fillRow(row);
        if (isPauseRow(row)) {
            letPostedEventsThrough();
            if (m_again)
                return false;
        }
    }
    return true;
}

} // namespace TableFill
