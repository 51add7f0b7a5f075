#pragma once

#include <QVector>

#include <functional>

class QCheckBox;
class QTableWidget;
class QTableWidgetItem;
class QWidget;

// Filling a page's table with thousands of rows. A row's cell widgets cost about a millisecond and some
// tens of kilobytes each, so the fill puts in only the text items; the widgets of a row are made when the
// row first comes into view, and what the user may change before that (the row's check box) is kept here.
namespace TableFill {

const int RowsBetweenPauses = 64;
// The check-box column of the pages that have one (column 0).
const int CheckColumnWidth = 72;

// A text item of a table cell, centred both ways.
QTableWidgetItem *centredItem(const QString &text);

// A page's table for keyboard users too: the current row, the one the keys act on, is marked across all its
// cells; Tab leaves the table rather than walking its cells. Its cell widgets cover their whole cells: the
// style's item padding is meant for the text items, and would take from each cell widget the room its
// column was sized to give it.
void setUpTable(QTableWidget *table);

// Names the check box and buttons of a row's cell for screen readers by what they do and the row they act
// on: "删除 Name3". What they do is their accessible name in the form ("删除"), or "选择" for a check box.
void nameRowControls(QWidget *cell, const QString &rowName);

// Set by a cell on itself while one of its own actions runs; that action may be what redraws the table.
extern const char CellBusyProperty[];

// Deletes the old cell widgets of these columns now, except a cell whose own action is still running.
void deleteCellWidgets(QTableWidget *table, const QVector<int> &columns);

// Sizes the columns to their contents, the check column (0) to checkColumnWidth when that is not 0, and
// gives the name column all the room the others leave, never less than its contents need.
void fitNameColumn(QTableWidget *table, int nameColumn, int checkColumnWidth = 0);

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

// The rows of a table whose cell widgets are made once they come into view, each with its check box in
// column 0; the checked state of every row lives here, so that checking all rows reaches the rows not
// built yet.
class LazyRows
{
public:
    using BuildRow = std::function<void(int row)>;
    // Gives the cells that a row out of view let go (indexed by column, null where a column has none) to
    // another row's record; the check cell is rebound here.
    using RebindRow = std::function<void(int row, const QVector<QWidget *> &cells)>;

    LazyRows(QTableWidget *table, BuildRow buildRow, RebindRow rebindRow);
    ~LazyRows();

    // Forgets the old rows (their widgets are the table's to delete) and takes count new, unchecked ones.
    void reset(int count);
    // Makes the widgets of the rows in view that have none yet, and gives every row the height they need;
    // false when there was nothing to make.
    bool buildRowsInView();
    // The check cell of a row being built: a centred check box that keeps the row's state.
    QWidget *makeCheckCell(int row);

    int count() const { return m_checked.size(); }
    // The checked rows among the first count, in row order.
    QVector<int> checkedRows(int count) const;
    void setAllChecked(bool checked);
    // What a click on the row does to its check box, built or not.
    void clickCheckBox(int row);

private:
    int cellsHeight(int row) const;
    void releaseRowsOutside(int first, int last);
    QVector<QWidget *> takeCells(int row);
    void reuseCells(int row, const QVector<QWidget *> &cells);
    void dropSpareCells();

    QTableWidget *m_table;
    BuildRow m_buildRow;
    RebindRow m_rebindRow;
    QVector<bool> m_checked;
    QVector<QCheckBox *> m_boxes; // null for a row not built yet
    // Cells of rows that left the view, hidden until a row coming into view takes them: making and styling
    // a row's widgets costs far more than giving them another record.
    QVector<QVector<QWidget *>> m_spareCells;
};

} // namespace TableFill
