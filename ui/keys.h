#pragma once

#include <QKeySequence>
#include <QList>

#include <functional>

class QAbstractButton;
class QWidget;

// The keys of the windows and pages, as the Windows file explorer has them. Each key calls what the matching
// button or click calls, so a keyboard user meets the same confirmations and messages.
namespace Keys {

// Keys bound by a page and shown in the tool tips of its rows' buttons.
inline const QKeySequence RenameRow { Qt::Key_F2 };
inline const QKeySequence DeleteRows { Qt::Key_Delete };

// Keys that work anywhere in scope's window while scope is in view (a page, the main window).
void inView(QWidget *scope, const QList<QKeySequence> &keys, const std::function<void()> &act);
// Keys that work while the widget itself has the focus (a table, a search field).
void inWidget(QWidget *widget, const QList<QKeySequence> &keys, const std::function<void()> &act);
// The button's tool tip names it and its key, where users look for the key: "刷新 (F5)".
void showInToolTip(QAbstractButton *button, const QKeySequence &key);

} // namespace Keys
