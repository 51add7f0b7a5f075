#include "support/modalanswerer.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>

ModalAnswerer::ModalAnswerer(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(5);
    connect(&m_timer, &QTimer::timeout, this, &ModalAnswerer::poll);
    m_timer.start();
}

void ModalAnswerer::answer(const QString &button, const QString &typed)
{
    m_answers.append({ button, typed });
}

namespace {

QString labelText(QWidget *dialog, const char *name)
{
    auto *label = dialog->findChild<QLabel *>(QLatin1String(name));
    return label ? label->text() : QString();
}

} // namespace

void ModalAnswerer::poll()
{
    QWidget *dialog = QApplication::activeModalWidget();
    if (!dialog || dialog == m_current || m_answers.isEmpty())
        return;
    m_current = dialog;
    connect(dialog, &QObject::destroyed, this, [this] { m_current = nullptr; });

    const Answer answer = m_answers.takeFirst();
    Seen seen;
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
    seen.noButtonVisible = no && no->isVisibleTo(dialog);
    m_seen.append(seen);

    if (!answer.typed.isNull()) {
        if (auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("lineEditRename")))
            edit->setText(answer.typed);
    }
    if (answer.button.isEmpty())
        return;
    if (auto *button = dialog->findChild<QPushButton *>(answer.button))
        button->click();
}
