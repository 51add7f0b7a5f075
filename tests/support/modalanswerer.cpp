#include "support/modalanswerer.h"

#include "ui/vordialog.h"

#include <QtTest>
#include <QtWidgets>

ModalAnswerer::ModalAnswerer(QObject *parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool ModalAnswerer::eventFilter(QObject *watched, QEvent *event)
{
    auto *dialog = qobject_cast<VorDialog *>(watched);
    if (event->type() != QEvent::Show || !dialog || (m_answers.isEmpty() && !closeUnanswered))
        return QObject::eventFilter(watched, event);

    const auto answer = m_answers.isEmpty() ? qMakePair(QString("pushButtonClose"), QString()) : m_answers.takeFirst();
    const auto text = [dialog](const char *label) { return dialog->findChild<QLabel *>(label)->text(); };
    const QString page = dialog->findChild<QStackedWidget *>()->currentWidget()->objectName();
    const char *message = page == "pageWait" ? "labelWaitMsg" : page == "pageRename" ? "labelRename" : "labelMsg";
    QStringList buttons;
    for (const char *name : { "pushButtonYes", "pushButtonNo", "pushButtonClose" }) {
        if (auto *button = dialog->findChild<QPushButton *>(name); button->isVisible())
            buttons << button->text();
    }
    m_seen.append({ text("labelDialogTitle"), text(message), !dialog->findChild<QWidget *>("pushButtonNo")->isHidden(),
                    buttons.join(' ') });
    if (answer.first.isEmpty())
        return QObject::eventFilter(watched, event);
    // Answered from the dialog's own event loop, once exec() has started it.
    QTimer::singleShot(0, dialog, [dialog, answer] {
        if (!answer.second.isNull())
            dialog->findChild<QLineEdit *>(QStringLiteral("lineEditRename"))->setText(answer.second);
        if (answer.first == "Escape")
            QTest::keyClick(dialog, Qt::Key_Escape);
        else if (answer.first == "close")
            dialog->close();
        else
            dialog->findChild<QPushButton *>(answer.first)->click();
    });
    return QObject::eventFilter(watched, event);
}
