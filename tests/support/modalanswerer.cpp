#include "support/modalanswerer.h"

#include "ui/vordialog.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>

namespace {

QString labelText(QWidget *dialog, const char *name)
{
    auto *label = dialog->findChild<QLabel *>(QLatin1String(name));
    return label ? label->text() : QString();
}

ModalAnswerer::Seen describe(QWidget *dialog)
{
    ModalAnswerer::Seen seen;
    seen.title = labelText(dialog, "labelDialogTitle");
    auto *stack = dialog->findChild<QStackedWidget *>(QStringLiteral("stackedWidget"));
    const QString page = stack && stack->currentWidget() ? stack->currentWidget()->objectName() : QString();
    if (page == QLatin1String("pageWait"))
        seen.text = labelText(dialog, "labelWaitMsg");
    else if (page == QLatin1String("pageRename"))
        seen.text = labelText(dialog, "labelRename");
    else
        seen.text = labelText(dialog, "labelMsg");
    auto *no = dialog->findChild<QPushButton *>(QStringLiteral("pushButtonNo"));
    seen.noButtonVisible = no && !no->isHidden();
    return seen;
}

} // namespace

ModalAnswerer::ModalAnswerer(QObject *parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

void ModalAnswerer::answer(const QString &button, const QString &typed)
{
    m_answers.append({ button, typed });
}

bool ModalAnswerer::eventFilter(QObject *watched, QEvent *event)
{
    auto *dialog = qobject_cast<VorDialog *>(watched);
    if (event->type() != QEvent::Show || !dialog || m_answers.isEmpty())
        return QObject::eventFilter(watched, event);

    const Answer answer = m_answers.takeFirst();
    m_seen.append(describe(dialog));
    if (!answer.button.isEmpty()) {
        // Clicked from the dialog's own event loop, once exec() has started it.
        QPointer<VorDialog> target(dialog);
        QTimer::singleShot(0, dialog, [target, answer] {
            if (!target)
                return;
            if (!answer.typed.isNull()) {
                if (auto *edit = target->findChild<QLineEdit *>(QStringLiteral("lineEditRename")))
                    edit->setText(answer.typed);
            }
            if (auto *button = target->findChild<QPushButton *>(answer.button))
                button->click();
        });
    }
    return QObject::eventFilter(watched, event);
}
