#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidgetList>

class QAbstractItemView;
class QTableWidget;
class RecordingBackend;

// Pieces shared by the page tests: a fresh recording back end behind the facade, the windows a test may
// have left open, and a stand-in for the user in front of a file dialog.
namespace UiTestKit {

// Drops the facade's back end and installs a new recorder; the facade owns it.
RecordingBackend *installRecorder();
// Lets the table's deferred deletions of replaced cell widgets happen, as the event loop would.
void flushDeferredDeletes();
// Accepts the offscreen platform's notices about window features it lacks.
void allowOffscreenPluginNotices();
// Top-level windows other than the two the session store keeps for the whole process (and their popups).
QWidgetList strayTopLevelWidgets();
// What the name column needs to show its widest entry (what resizing to contents gives it).
int contentWidth(QTableWidget *table, int column);
// The sum of all column widths.
int columnsWidth(QTableWidget *table);

} // namespace UiTestKit

#define VERIFY_NO_STRAY_WINDOWS()                                                                                      \
    do {                                                                                                               \
        UiTestKit::flushDeferredDeletes();                                                                             \
        const QWidgetList stray = UiTestKit::strayTopLevelWidgets();                                                   \
        QStringList names;                                                                                             \
        for (QWidget * w : stray)                                                                                      \
            names << QString::fromLatin1(w->metaObject()->className()) + QLatin1Char(' ') + w->objectName();           \
        QVERIFY2(stray.isEmpty(), qPrintable(names.join(QLatin1String(", "))));                                        \
    } while (false)

// Closes, with its close button, a dialog of the program that nobody answered for a second, so that a
// test that did not expect it fails on what it saw instead of hanging.
class UnansweredDialogCloser : public QObject
{
    Q_OBJECT
public:
    explicit UnansweredDialogCloser(QObject *parent = nullptr);
    // The titles of the dialogs that were closed.
    const QStringList &closed() const { return m_closed; }

private:
    void poll();

    QTimer m_timer;
    QWidget *m_watched = nullptr;
    int m_polls = 0;
    QStringList m_closed;
};

// Closes the file dialogs the program opens, as a user pressing Cancel would, and notes what they asked.
class FileDialogCanceller : public QObject
{
    Q_OBJECT
public:
    struct Seen
    {
        QString title;
        int fileMode = -1;
        bool dirsOnly = false;
        bool parentIsPage = false;
    };

    explicit FileDialogCanceller(QWidget *page, QObject *parent = nullptr);
    const QList<Seen> &seen() const { return m_seen; }

private:
    void poll();

    QWidget *m_page = nullptr;
    QTimer m_timer;
    QList<Seen> m_seen;
};
