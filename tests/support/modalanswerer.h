#pragma once

#include <QObject>
#include <QPair>

// Answers the program's dialogs in the order they open, as a user would, noting each the moment it shows:
// one that opens and closes while the event loop is busy (a wait dialog during a long redraw) is not missed.
class ModalAnswerer : public QObject
{
    Q_OBJECT
public:
    struct Seen
    {
        QString title, text; // text: the message, wait text or input prompt, whichever the dialog showed
        bool noButtonVisible = false;
        QString buttons; // the texts of the buttons the user can see: yes, no, then the title bar's close
    };

    explicit ModalAnswerer(QObject *parent = nullptr);

    // Types into the input line unless typed is null, then clicks "pushButtonYes", "pushButtonNo" or
    // "pushButtonClose", presses "Escape" or asks the window to "close" (as the window manager does);
    // an empty name only looks and lets the dialog close by itself (the wait dialog).
    void answer(const QString &button, const QString &typed = QString()) { m_answers.append({ button, typed }); }
    int pending() const { return m_answers.size(); }
    const QList<Seen> &seen() const { return m_seen; }
    // Set, a dialog with no answer queued is noted and closed, so that a test fails on it instead of hanging.
    bool closeUnanswered = false;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QList<QPair<QString, QString>> m_answers; // button, typed text
    QList<Seen> m_seen;
};
