#pragma once

#include <QObject>
#include <QPoint>

class QWidget;

// Drags a frameless window while the user holds the left button on a handle widget (its title area).
class MoveFilter : public QObject
{
    Q_OBJECT
public:
    MoveFilter(QWidget *window, QWidget *handle, int marginX, int marginY);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *m_window = nullptr;
    QWidget *m_handle = nullptr;
    bool m_pressed = false;
    QPoint m_grabOffset;
    int m_marginX = 0;
    int m_marginY = 0;
};

// Removes the system frame from a top-level window and lets the user drag it by the handle widget.
void makeFrameless(QWidget *window, QWidget *handle, int marginX = 0, int marginY = 0);
