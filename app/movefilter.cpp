#include "app/movefilter.h"

#include <QMouseEvent>
#include <QWidget>

MoveFilter::MoveFilter(QWidget *window, QWidget *handle, int marginX, int marginY)
    : QObject(window)
    , m_window(window)
    , m_handle(handle)
    , m_marginX(marginX)
    , m_marginY(marginY)
{
    m_handle->installEventFilter(this);
}

bool MoveFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_handle && !m_window->isMaximized()) {
        switch (event->type()) {
        case QEvent::MouseButtonPress: {
            auto *press = static_cast<QMouseEvent *>(event);
            if (press->button() == Qt::LeftButton) {
                m_grabOffset = press->localPos().toPoint() - QPoint(m_marginX, m_marginY);
                m_pressed = true;
            }
            break;
        }
        case QEvent::MouseMove:
            if (m_pressed)
                m_window->move(static_cast<QMouseEvent *>(event)->globalPos() - m_grabOffset);
            break;
        case QEvent::MouseButtonRelease:
            m_pressed = false;
            break;
        default:
            break;
        }
    }
    // Never consumed: the buttons inside the title area must still get their clicks.
    return QObject::eventFilter(watched, event);
}

void makeFrameless(QWidget *window, QWidget *handle, int marginX, int marginY)
{
    window->setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                           | Qt::WindowMinimizeButtonHint);
    new MoveFilter(window, handle, marginX, marginY);
}
