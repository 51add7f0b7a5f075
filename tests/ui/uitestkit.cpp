#include "uitestkit.h"

#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

#include <QApplication>
#include <QCoreApplication>
#include <QEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

namespace UiTestKit {

RecordingBackend *installRecorder()
{
    VorSdk::instance()->exit();
    auto *backend = new RecordingBackend;
    VorSdk::instance()->adoptBackend(backend);
    return backend;
}

void flushDeferredDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

namespace {

// Popups (menus, combo box lists) are windows of their own but belong to the widget that made them.
bool belongsTo(const QWidget *widget, const QWidget *window)
{
    for (const QWidget *w = widget; w; w = w->parentWidget()) {
        if (w == window)
            return true;
    }
    return false;
}

} // namespace

void allowOffscreenPluginNotices()
{
    // The offscreen platform says so whenever a window asks for what it cannot do; these are not ours.
    WarningGuard::allow(QStringLiteral("This plugin does not support propagateSizeHints()"));
    WarningGuard::allow(QStringLiteral("This plugin does not support raise()"));
    WarningGuard::allow(QStringLiteral("This plugin does not support grabbing the keyboard"));
}

QWidgetList strayTopLevelWidgets()
{
    QWidgetList stray;
    const QWidget *login = VorData::instance()->loginDialog();
    const QWidget *main = VorData::instance()->mainWindow();
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (!belongsTo(widget, login) && !belongsTo(widget, main))
            stray << widget;
    }
    return stray;
}

int contentWidth(QTableWidget *table, int column)
{
    const QAbstractItemView *view = table;
    return qMax(view->sizeHintForColumn(column), table->horizontalHeader()->sectionSizeHint(column));
}

int columnsWidth(QTableWidget *table)
{
    int width = 0;
    for (int column = 0; column < table->columnCount(); ++column)
        width += table->columnWidth(column);
    return width;
}

} // namespace UiTestKit

FileDialogCanceller::FileDialogCanceller(QWidget *page, QObject *parent)
    : QObject(parent)
    , m_page(page)
{
    m_timer.setInterval(10);
    connect(&m_timer, &QTimer::timeout, this, &FileDialogCanceller::poll);
    m_timer.start();
}

void FileDialogCanceller::poll()
{
    auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
    if (!dialog)
        return;
    Seen seen;
    seen.title = dialog->windowTitle();
    seen.fileMode = dialog->fileMode();
    seen.dirsOnly = dialog->testOption(QFileDialog::ShowDirsOnly);
    seen.parentIsPage = dialog->parentWidget() == m_page;
    m_seen << seen;
    dialog->reject();
}

UnansweredDialogCloser::UnansweredDialogCloser(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(50);
    connect(&m_timer, &QTimer::timeout, this, &UnansweredDialogCloser::poll);
    m_timer.start();
}

void UnansweredDialogCloser::poll()
{
    QWidget *dialog = QApplication::activeModalWidget();
    if (!dialog || dialog->objectName() != QLatin1String("VorDialog")) {
        m_watched = nullptr;
        return;
    }
    if (dialog != m_watched) {
        m_watched = dialog;
        m_polls = 0;
        return;
    }
    if (++m_polls < 20)
        return;
    auto *title = dialog->findChild<QLabel *>(QStringLiteral("labelDialogTitle"));
    m_closed << (title ? title->text() : QString());
    if (auto *close = dialog->findChild<QPushButton *>(QStringLiteral("pushButtonClose")))
        close->click();
    m_watched = nullptr;
}
