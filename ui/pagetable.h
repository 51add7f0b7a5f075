#pragma once

#include "ui/tablefill.h"

#include <QObject>
#include <QVector>

#include <functional>

class QTableWidget;

// The table of a page that shows one of the store's lists: one redraw at a time, cell widgets only for the
// rows in view (made as rows come into view by scrolling, by a taller table or by showing the page), and
// the page's own column sizing run again whenever the room for the columns changes.
class PageTable : public QObject
{
    Q_OBJECT
public:
    struct Columns
    {
        int name = 1;
        QVector<int> withCells; // the columns whose cells are widgets
        int nameStartWidth = 400; // until the rows are in and the columns are measured
    };

    // resize is the page's sizing of its columns; the table and the page are watched, so both must live as
    // long as this object, a child of the page.
    PageTable(QTableWidget *table, const Columns &columns, TableFill::LazyRows::BuildRow buildRow,
              TableFill::LazyRows::RebindRow rebindRow, std::function<void()> resize, QWidget *page);

    // Runs redraw, or once more after the redraw under way when a newer list arrived meanwhile.
    void request(const std::function<void()> &redraw) { m_redraw.request(redraw); }
    // Replaces the rows by count new, unchecked ones whose text items fillRow puts in.
    void refill(int count, const std::function<void(int row)> &fillRow);
    TableFill::LazyRows &rows() { return m_rows; }

    // The row the keys act on: the table's current row, -1 when there is none.
    int currentRow() const;
    // Clicks the named button of the current row's cell in that column, as the user would; false when the
    // row shows no such button (the parent folder's row has no actions).
    bool clickInCurrentRow(int column, const QString &button);
    // Which rows Space checks and Ctrl+A reaches; every row unless the page says otherwise.
    void setRowsThatCheck(std::function<bool(int row)> checks) { m_rowChecks = std::move(checks); }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildRowsInView();
    void pageShown();
    void bindCheckKeys();

    QTableWidget *m_table;
    QWidget *m_page;
    Columns m_columns;
    std::function<void()> m_resize;
    TableFill::Redraw m_redraw;
    TableFill::LazyRows m_rows;
    std::function<bool(int row)> m_rowChecks = [](int) { return true; };
};
