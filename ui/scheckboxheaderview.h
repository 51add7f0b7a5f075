#pragma once

#include <QHeaderView>

// Horizontal table header that draws a check box in its first section; clicking it selects or clears all rows.
class SCheckBoxHeaderView : public QHeaderView
{
    Q_OBJECT
public:
    explicit SCheckBoxHeaderView(Qt::Orientation orientation, QWidget *parent = nullptr);

    bool isChecked() const { return m_checked; }
    // As a click on the box: draws it and tells the page, which sets every row the same (Ctrl+A).
    void setChecked(bool checked);

signals:
    void checkStausChange(bool checked);

protected:
    void paintSection(QPainter *painter, const QRect &rect, int logicalIndex) const override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    bool m_checked = false;
    int m_checkColumn = 0;
};
