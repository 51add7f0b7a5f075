#include "ui/scheckboxheaderview.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionButton>

namespace {
const int CheckBoxSize = 20;
}

SCheckBoxHeaderView::SCheckBoxHeaderView(Qt::Orientation orientation, QWidget *parent)
    : QHeaderView(orientation, parent)
{
}

void SCheckBoxHeaderView::paintSection(QPainter *painter, const QRect &rect, int logicalIndex) const
{
    painter->save();
    QHeaderView::paintSection(painter, rect, logicalIndex);
    painter->restore();
    if (logicalIndex != m_checkColumn)
        return;

    // Centred in a section that starts at the header's origin, as the check column is the first one.
    const int left = (rect.right() - rect.left() - 1 - CheckBoxSize) / 2;
    const int top = (rect.bottom() - rect.top() - 1 - CheckBoxSize) / 2;
    QStyleOptionButton option;
    option.rect = QRect(QPoint(left, top), QPoint(left + CheckBoxSize, top + CheckBoxSize));
    option.state = m_checked ? QStyle::State_On : QStyle::State_Off;
    style()->drawControl(QStyle::CE_CheckBox, &option, painter, this);
}

void SCheckBoxHeaderView::setChecked(bool checked)
{
    m_checked = checked;
    updateSection(m_checkColumn);
    emit checkStausChange(m_checked);
}

void SCheckBoxHeaderView::mousePressEvent(QMouseEvent *event)
{
    const int x = qRound(event->localPos().x());
    if (visualIndexAt(x) == m_checkColumn)
        setChecked(!m_checked);
    QHeaderView::mousePressEvent(event);
}
