#pragma once

#include <functional>
#include <initializer_list>

class QTableWidget;

// Filling a table with thousands of rows of cell widgets without letting Qt's per-widget bookkeeping grow
// with the square of the row count: the pages call begin(), then fill their rows and let the posted events
// through every RowsBetweenPauses rows, then end().
namespace TableFill {

const int RowsBetweenPauses = 64;

void begin(QTableWidget *table);
bool isPauseRow(int row);
void letPostedEventsThrough();
// Shows the cells of a filled table as one piece: each cell made visible asks for a repaint of its own,
// and thousands of those cost far more than one repaint of the viewport.
void showCells(QTableWidget *table);
void end(QTableWidget *table);

// Set by a cell on itself while one of its own actions runs; that action may be what redraws the table.
extern const char CellBusyProperty[];

// Deletes the old cell widgets of these columns now, except a cell whose own action is still running.
void deleteCellWidgets(QTableWidget *table, std::initializer_list<int> columns);

// One redraw of a page's table at a time. A long fill lets posted events through, and a newer list from
// the store may arrive among them: the fill then stops, since the store has freed the rows it was reading,
// and the table is drawn again from the start.
class Redraw
{
public:
    // Runs redraw, and again for as long as a newer list arrived meanwhile; called during a redraw, it only
    // asks for the next one.
    void request(const std::function<void()> &redraw);
    bool isRunning() const { return m_running; }
    // Fills rows 0 to count - 1, letting posted events through every RowsBetweenPauses rows; false when a
    // newer list arrived and the fill stopped.
    bool fillRows(int count, const std::function<void(int row)> &fillRow);

private:
    bool m_running = false;
    bool m_again = false;
};

} // namespace TableFill
