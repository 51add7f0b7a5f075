#include "ui/keys.h"

#include <QAbstractButton>
#include <QShortcut>

namespace Keys {

namespace {

void bind(QWidget *owner, Qt::ShortcutContext context, const QList<QKeySequence> &keys,
          const std::function<void()> &act)
{
    for (const QKeySequence &key : keys) {
        auto *shortcut = new QShortcut(key, owner, nullptr, nullptr, context);
        QObject::connect(shortcut, &QShortcut::activated, owner, act);
    }
}

} // namespace

void inView(QWidget *scope, const QList<QKeySequence> &keys, const std::function<void()> &act)
{
    // A window shortcut of a hidden page is not active: the key reaches the page in view only.
    bind(scope, Qt::WindowShortcut, keys, act);
}

void inWidget(QWidget *widget, const QList<QKeySequence> &keys, const std::function<void()> &act)
{
    bind(widget, Qt::WidgetShortcut, keys, act);
}

void showInToolTip(QAbstractButton *button, const QKeySequence &key)
{
    const QString name = button->accessibleName().isEmpty() ? button->text() : button->accessibleName();
    button->setToolTip(QStringLiteral("%1 (%2)").arg(name, key.toString(QKeySequence::NativeText)));
}

} // namespace Keys
