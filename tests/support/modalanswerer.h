#pragma once

#include "ui/vordialog.h"

#include <QtTest>
#include <QtWidgets>

// Answers the program's dialogs in the order they open, as a user would, noting each the moment it shows:
// one that opens and closes while the event loop is busy (a wait dialog during a long redraw) is not missed.
class ModalAnswerer : public QObject
{
    Q_OBJECT
public:
    struct Seen
    {
        qint64 shownAt; // milliseconds on a steady clock
        QString title, text; // text: the message, wait text or input prompt, whichever the dialog showed
        QString buttons; // the buttons in view as "[text]", the title bar's close first
    };

    ModalAnswerer() { qApp->installEventFilter(this); }
    // Types into the input line unless typed is null, then clicks "pushButtonYes", "pushButtonNo" or "pushButtonClose",
    // presses "Escape" or "Return", or asks the window to "close"; an empty name only looks (the wait dialog).
    void answer(const QString &button, const QString &typed = QString()) { m_answers.append({ button, typed }); }
    const QList<Seen> &seen() const { return m_seen; }
    // Set, a dialog with no answer queued is noted and closed, so that a test fails on it instead of hanging.
    bool closeUnanswered = false;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *dialog = qobject_cast<VorDialog *>(watched);
        if (event->type() != QEvent::Show || !dialog || (m_answers.isEmpty() && !closeUnanswered))
            return false;
        const auto answer
            = m_answers.isEmpty() ? qMakePair(QString("pushButtonClose"), QString()) : m_answers.takeFirst();
        Seen seen { QDeadlineTimer::current().deadline(), dialog->findChild<QLabel *>("labelDialogTitle")->text() };
        for (QLabel *label : dialog->findChildren<QLabel *>(QRegularExpression("^label(Msg|WaitMsg|Rename)$")))
            seen.text += label->isVisible() ? label->text() : QString();
        for (auto *button : dialog->findChildren<QPushButton *>(QRegularExpression("^pushButton(Yes|No|Close)$")))
            seen.buttons += button->isVisible() ? "[" + button->text() + "]" : QString();
        m_seen.append(seen);
        QTimer::singleShot(0, dialog, [dialog, answer] { // from the dialog's own event loop, once exec() started it
            if (!answer.second.isNull())
                dialog->findChild<QLineEdit *>("lineEditRename")->setText(answer.second);
            if (answer.first == "Escape" || answer.first == "Return") // where the focus is, as a user types
                QTest::keyClick(dialog->focusWidget() ? dialog->focusWidget() : dialog,
                                answer.first == "Escape" ? Qt::Key_Escape : Qt::Key_Return);
            else if (answer.first == "close")
                dialog->close();
            else if (!answer.first.isEmpty())
                dialog->findChild<QPushButton *>(answer.first)->click();
        });
        return false;
    }

private:
    QList<QPair<QString, QString>> m_answers; // button, typed text
    QList<Seen> m_seen;
};
