// Fills the storage page with 1,000 and 10,000 entries and the task page with 10,000 tasks, offscreen, and
// prints how long each fill took and how much memory the process held; redraws the same 1,000 rows 50
// times to show that memory stays flat; then shows the 10,000-row page again and scrolls through it.
// Run: bench_pagefill [--no-style | --style FILE]  (default: the program's own style sheet)

#include "app/vorlog.h"
#include "model/vordata.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPixmapCache>
#include <QScrollBar>
#include <QTableWidget>

#include <cstdio>
#include <malloc.h>
#include <sys/resource.h>

namespace {

// Kibibytes of one field of /proc/self/status (VmRSS now, VmHWM the peak so far).
long statusKiB(const char *field)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = QByteArray(field) + ':';
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

// What the program holds on the heap now; freed memory that the allocator keeps does not count.
long heapKiB()
{
    return static_cast<long>(mallinfo2().uordblks / 1024);
}

long peakKiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

QList<FileEntry *> makeEntries(int count)
{
    QList<FileEntry *> entries;
    entries.reserve(count);
    const QDateTime modified = QDateTime::currentDateTime();
    for (int i = 0; i < count; ++i) {
        auto *entry = new FileEntry;
        entry->id = i;
        entry->name = i == 0 ? QStringLiteral("..") : QStringLiteral("object-%1.dat").arg(i, 5, 10, QLatin1Char('0'));
        entry->isDir = i % 7 == 0;
        entry->storageClass = QStringLiteral("标准存储");
        entry->size = QStringLiteral("%1 KB").arg(i * 13 % 100000);
        entry->modified = modified;
        entry->link = entry->name;
        entries << entry;
    }
    return entries;
}

QList<TaskInfo *> makeTasks(int count)
{
    QList<TaskInfo *> tasks;
    tasks.reserve(count);
    const QDateTime created = QDateTime::currentDateTime();
    for (int i = 0; i < count; ++i) {
        auto *task = new TaskInfo;
        task->id = i;
        task->name = QStringLiteral("Name%1").arg(i + 1);
        task->isDir = i % 3 == 0;
        task->type = i % 2 ? QStringLiteral("下载") : QStringLiteral("上传");
        task->status = i & 3;
        task->size = QStringLiteral("%1KB").arg(i + 100);
        task->created = created;
        task->progress = task->status == TaskFinished ? 100 : i % 101;
        tasks << task;
    }
    return tasks;
}

// Lets the table lay out and paint what the fill produced, and drops the cells it replaced.
void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

template<typename Fill> void measure(const char *what, int rows, Fill fill)
{
    QElapsedTimer timer;
    timer.start();
    fill();
    const qint64 filled = timer.elapsed();
    settle();
    const qint64 shown = timer.elapsed();
    std::printf("%-14s %6d rows: fill %6lld ms, fill+layout %6lld ms | heap %7ld KiB, rss %7ld KiB, "
                "peak rss %7ld KiB (VmHWM %ld)\n",
                what, rows, static_cast<long long>(filled), static_cast<long long>(shown), heapKiB(),
                statusKiB("VmRSS"), peakKiB(), statusKiB("VmHWM"));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(vorMessageHandler); // the pages' log lines go to the log file, not the terminal
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int styleArgument = arguments.indexOf(QStringLiteral("--style"));
    if (styleArgument > 0 && styleArgument + 1 < arguments.size())
        app.setStyleSheet(QStringLiteral("file:///") + arguments.at(styleArgument + 1));
    else if (!arguments.contains(QStringLiteral("--no-style")))
        app.setStyleSheet(QStringLiteral("file:///:/qss/ombrivane.css"));

    VorData *store = VorData::instance();
    // Only the measured pages redraw: the main window's own pages are left out of the figures.
    QObject::disconnect(store, &VorData::dataUpdateSaveFileInfo, nullptr, nullptr);
    QObject::disconnect(store, &VorData::dataUpdateTaskInfo, nullptr, nullptr);

    VorPageSave savePage;
    VorPageTask taskPage;
    QObject::connect(store, &VorData::dataUpdateSaveFileInfo, &savePage, &VorPageSave::dataUpdateSaveFileInfo);
    QObject::connect(store, &VorData::dataUpdateTaskInfo, &taskPage, &VorPageTask::dataUpdateTaskInfo);
    savePage.resize(1280, 800);
    taskPage.resize(1280, 800);
    savePage.show();
    taskPage.show();
    settle();
    std::printf("start: heap %ld KiB, rss %ld KiB, peak rss %ld KiB\n", heapKiB(), statusKiB("VmRSS"), peakKiB());

    measure("storage page", 1000, [&] { store->updateSaveFileInfo(makeEntries(1000)); });
    // Each new row's icons are drawn into Qt's pixmap cache, which keeps them until it reaches its limit
    // (10 MiB by default). A small limit lets the cache fill within the first redraws, so that whatever
    // still grows afterwards would be held by the rows themselves.
    QPixmapCache::setCacheLimit(256);
    std::printf("redrawing the storage page with the same 1000 rows (pixmap cache limited to 256 KiB):\n");
    for (int redraw = 1; redraw <= 50; ++redraw) {
        store->updateSaveFileInfo(makeEntries(1000));
        settle();
        if (redraw == 1 || redraw % 10 == 0)
            std::printf("  after redraw %2d: heap %7ld KiB, rss %7ld KiB\n", redraw, heapKiB(), statusKiB("VmRSS"));
    }
    QPixmapCache::setCacheLimit(10240);

    measure("storage page", 10000, [&] { store->updateSaveFileInfo(makeEntries(10000)); });
    measure("task page", 10000, [&] { store->updateTaskInfo(makeTasks(10000)); });

    // Coming back to the storage page (the main window switches pages by hiding and showing them), and
    // scrolling through it, with its 10,000 rows.
    savePage.hide();
    settle();
    QElapsedTimer timer;
    timer.start();
    savePage.show();
    settle();
    std::printf("storage page shown again with 10000 rows: %lld ms\n", static_cast<long long>(timer.elapsed()));
    auto *table = savePage.findChild<QTableWidget *>(QStringLiteral("tableWidget"));
    timer.restart();
    for (int step = 0; step < 50; ++step) {
        table->verticalScrollBar()->setValue(table->verticalScrollBar()->value() + 200);
        settle();
    }
    std::printf("50 scroll steps through 10000 rows: %lld ms\n", static_cast<long long>(timer.elapsed()));

    store->updateTaskInfo(QList<TaskInfo *>());
    settle();

    std::fflush(stdout);
    return 0;
}
