#pragma once

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

} // namespace TableFill
