#include "app/vormain.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/scheckboxheaderview.h"

const int Rows = 60; // a few screenfuls: rows further down have no cell widgets until they come into view

static QList<FileEntry *> listing(const QString &path)
{
    if (VorData::instance()->path() != path) // the path bar shows a folder while a slow server still lists it
        qWarning("%s listed before it was shown", qPrintable(path));
    QStringList names, folders;
    for (int i = 0; i < Rows; ++i) {
        names << (i ? QStringLiteral("entry%1").arg(i) : QStringLiteral(".."));
        // A pattern that does not repeat within a screenful: rows coming into view get cells of the other kind.
        if (i == 0 || (i % 7 < 3) != (i % 11 < 5))
            folders << names.last();
    }
    return RecordingBackend::makeEntries(names, folders);
}

// A cell widget as the user reads it: its shown parts, a check box as its state, a bar as its value and colour.
static QString seen(QWidget *cell)
{
    QStringList parts;
    for (QWidget *part : cell->findChildren<QWidget *>()) {
        if (!part->isVisibleTo(cell) || !part->findChildren<QWidget *>().isEmpty())
            continue;
        if (auto *box = qobject_cast<QCheckBox *>(part))
            parts << (box->isChecked() ? "[x]" : "[ ]");
        else if (auto *button = qobject_cast<QPushButton *>(part))
            parts << (button->text().isEmpty() ? button->accessibleName() : button->text()); // a reader's name
        else if (auto *label = qobject_cast<QLabel *>(part))
            parts << label->text();
        else if (auto *bar = qobject_cast<QProgressBar *>(part))
            parts << QString::number(bar->value()) + ' '
                    + bar->grab().toImage().pixelColor(bar->width() / 4, bar->height() / 2).name().toUpper();
        else
            parts << part->objectName();
    }
    return parts.join(' ');
}

// The main window's pages, wired to the store as in the program, with a recording back end behind the
// facade and a stand-in user answering the dialogs.
class TestPages : public QObject
{
    Q_OBJECT

    VorMain *m_main = nullptr;
    RecordingBackend *m_backend = nullptr;
    std::unique_ptr<ModalAnswerer> m_answerer;

    QTableWidget *open(const QString &navigation)
    {
        QTest::mouseClick(m_main->findChild<QPushButton *>(navigation), Qt::LeftButton);
        auto *table
            = m_main->findChild<QStackedWidget *>("stackedWidget")->currentWidget()->findChild<QTableWidget *>();
        table->scrollToTop();
        return table;
    }

private slots:
    void init()
    {
        WarningGuard::install(); // before the store builds its windows
        m_main = VorData::instance()->mainWindow();
        m_main->show();
        m_main->resize(1600, 800); // room for the name column to grow
        m_backend = new RecordingBackend;
        m_backend->listing = listing;
        m_backend->taskCount = m_backend->downloadCount = Rows;
        VorSdk::instance()->adoptBackend(m_backend);
        VorSdk::instance()->getFileInfo("/home", QString());
        VorSdk::instance()->refreshTask(0, 0);
        VorSdk::instance()->refreshDown(QString());
        m_backend->calls.clear();
        m_answerer = std::make_unique<ModalAnswerer>();
        m_answerer->closeUnanswered = true;
        for (auto *header : m_main->findChildren<SCheckBoxHeaderView *>())
            header->setChecked(false);
        for (auto *search : m_main->findChildren<QLineEdit *>("lineEdit"))
            search->clear();
        for (auto *filter : m_main->findChildren<QComboBox *>())
            filter->setCurrentIndex(0);
        QApplication::setActiveWindow(m_main); // where the keys go
    }
    void cleanup()
    {
        VorSdk::instance()->exit();
        VERIFY_NO_QT_WARNINGS();
    }

    void rows_data()
    {
        QTest::addColumn<QString>("page"); // its navigation button
        QTest::addColumn<int>("row");
        // As read, column by column ("<": a text not centred), then what a click on the name asks of the back end.
        QTest::addColumn<QString>("cells");
        const QString save = "pushButtonSave";
        QTest::newRow("..") << save << 0 << "[ ]|widgetDir ..|标准存储|0 KB|2026/05/06 07:08:09| / getFileInfo / ";
        const QString entry = "[ ]|widget%1 entry%2|标准存储|%2 KB|2026/05/%3 07:08:09|下载 entry%2 删除 重命名 / ";
        QTest::newRow("file, cells reused") << save << Rows - 2 << entry.arg("File").arg(Rows - 2).arg(24);
        QTest::newRow("folder, reused") << save << Rows - 1
                                        << entry.arg("Dir").arg(Rows - 1).arg(25) + "getFileInfo /home/entry59 ";
        // Tasks by status (4: none a back end sends): kind and name, type, status, size, icon, bar and colour.
        const QStringList tasks { "widgetDir task0|上传|下载中|0 MB|widgetIconBlank 40 #1890FF",
                                  "widgetFile task1|下载|已完成|1 MB|widgetIconFinish 100 #95F204",
                                  "widgetDir task2|上传|失败|2 MB|widgetIconFail 42 #D9001B",
                                  "widgetFile task3|下载|暂停|3 MB|widgetIconBlank 43 #1890FF",
                                  "widgetDir task4|上传|未知|4 MB|widgetIconBlank 44 #8C8C8C" };
        const QString task = "[ ]|%1|2026/01/0%2 13:04:05|开始 task%3 暂停 task%3 删除 task%3 继续 / ";
        for (int i = 0; i < tasks.size(); ++i)
            QTest::newRow(qPrintable(tasks[i].section('|', 2, 2)))
                << "pushButtonTask" << i << task.arg(tasks[i]).arg(i + 2).arg(i);
        const QString download = "2|down2|2026-03-03 23:59:58|2026-03-04 02:02:00|2 KB|02:02:02 / ";
        QTest::newRow("download") << "pushButtonDownload" << 2 << download;
    }
    void rows()
    {
        QFETCH(QString, page);
        QFETCH(int, row);
        QTableWidget *t = open(page);
        t->scrollToItem(t->item(row, 2)); // rows further down take the cells of the rows scrolled away
        QStringList cells;
        for (int column = 0; column < t->columnCount(); ++column) {
            const QTableWidgetItem *item = t->item(row, column);
            cells << (item ? item->text() + (item->textAlignment() == Qt::AlignCenter ? "" : "<")
                           : seen(t->cellWidget(row, column)));
        }
        // The name column takes the room the others leave, up to the view's edge; a check box has 72 pixels.
        QCOMPARE(t->horizontalHeader()->length(), t->viewport()->width());
        QVERIFY(t->item(row, 0) || t->columnWidth(0) == 72);
        // A folder's name opens it; a file's does nothing.
        if (QWidget *cell = t->cellWidget(row, 1); cell && cell->findChild<QWidget *>("widgetDirFile"))
            QTest::mouseClick(cell->findChild<QWidget *>("widgetDirFile"), Qt::LeftButton);
        QTEST(cells.join('|') + " / " + m_backend->calls.join('|'), "cells");
    }

    void userActions_data()
    {
        QTest::addColumn<QString>("page"); // its navigation button
        // As the user gives it: a key sequence, 'text typed (_: a blank), @Button clicked (in the current row's
        // action cell, else on the page), [x] the current row's box clicked, =Button:text answering the next
        // dialog; "!": folder operations fail.
        QTest::addColumn<QString>("input");
        QTest::addColumn<int>("row"); // the current row (-1: none) of the table, which has the focus
        // Another page shown then, the back end's calls / the dialogs' texts
        QTest::addColumn<QString>("seen");
        const QString save = "pushButtonSave", task = "pushButtonTask", downloads = "pushButtonDownload";
        const QString up = "getFileInfo / ", renamed = "rename /home/entry1 /home/new";
        const QString refresh = "|getFileInfo /home /home";
        QTest::newRow("F5") << save << "F5" << 1 << "getFileInfo /home  / ";
        QTest::newRow("Enter opens a folder") << save << "Return" << 3 << "getFileInfo /home/entry3  / ";
        QTest::newRow("Enter on a file") << save << "Return" << 1 << " / ";
        QTest::newRow("Enter on ..") << save << "Return" << 0 << up + " / ";
        QTest::newRow("Backspace, nothing above the root") << save << "Backspace Backspace" << 1 << up + " / ";
        QTest::newRow("Alt+Up in the search box") << save << "Ctrl+F Alt+Up" << 1 << up + " / ";
        QTest::newRow("F2") << save << "F2 =Yes:new =Yes" << 1 << renamed + refresh + " / 重命名|改名成功";
        QTest::newRow("rename fails") << save << "! F2 =Yes:new =Yes" << 1
                                      << renamed + " / 重命名|folder operation failed";
        QTest::newRow("F2 on ..") << save << "F2" << 0 << " / ";
        QTest::newRow("Delete") << save << "Del =Yes" << 1 << "deleteFile /home/entry1 / 确认删除entry1";
        QTest::newRow("delete declined") << save << "@Delete =No" << 1 << " / 确认删除entry1";
        // ".." checked by its box is still not deleted.
        QTest::newRow(".. checked") << save << "[x] Down [x] Del =Yes" << 0
                                    << "deleteFile /home/entry1 / 确认删除entry1";
        QTest::newRow("Delete, checked rows")
            << save << "Space Down Space Del =Yes" << 1
            << "deleteFile /home/entry1|deleteFile /home/entry2 / 确认删除entry1、entry2";
        QTest::newRow("Ctrl+Shift+N") << save << "Ctrl+Shift+N =Yes:new =Yes" << -1
                                      << "createDir /home/new" + refresh + " / 文件夹名称：|新建文件夹成功";
        QTest::newRow("mkdir fails") << save << "! @MkDir =Yes:new =Yes" << -1
                                     << "createDir /home/new / 文件夹名称：|新建文件夹失败";
        QTest::newRow("F3, Enter searches") << save << "F3 '_ab_ Return" << 1 << "getFileInfo /home ab / ";
        // Escape empties the search box and gives the keys back to the table.
        QTest::newRow("Escape") << save << "Ctrl+F 'ab Escape Backspace F5" << 1 << "getFileInfo / |getFileInfo /  / ";
        QTest::newRow("copy link") << save << "@Copy" << 1 << " / |sftp://home/entry1"; // the link alone
        // The filters were changed, which alone asks nothing.
        QTest::newRow("task F5") << task << "F5" << 1 << "refreshTask 2 3 / ";
        QTest::newRow("task Delete, none checked") << task << "Del" << 1 << " / 没有勾选需要删除的任务";
        QTest::newRow("task row delete") << task << "@Delete =Yes" << 1 << "deleteTask 1 / 确认删除任务task1";
        QTest::newRow("task Enter pauses") << task << "Return" << 0 << "pauseTask 0 / ";
        QTest::newRow("task Enter, finished") << task << "Return" << 1 << " / ";
        QTest::newRow("task Enter continues") << task << "Return" << 3 << "continueTask 3 / ";
        QTest::newRow("downloads F3, F5") << downloads << "F3 '_a F5" << -1 << "refreshDown  a / "; // as typed
        QTest::newRow("Ctrl+3, Ctrl+1, Ctrl+2") << save << "Ctrl+3 Ctrl+1 Ctrl+2" << -1 << "pageTask /  / ";
    }
    // Each key does what its button or click does: the same call to the back end, the same dialog.
    void userActions()
    {
        QFETCH(QString, page);
        QFETCH(int, row);
        QFETCH(QString, input);
        QTableWidget *t = open(page);
        QStackedWidget *pages = m_main->findChild<QStackedWidget *>("stackedWidget");
        QWidget *opened = pages->currentWidget();
        for (QComboBox *filter : t->parentWidget()->findChildren<QComboBox *>())
            filter->setCurrentIndex(filter->objectName() == "comboBoxType" ? 2 : 3);
        t->setFocus();
        if (row >= 0)
            t->setCurrentCell(row, 2);
        const QStringList words = input.split(' ');
        m_backend->failFolderOperations = words.contains("!");
        for (const QString &answer : words.filter(QRegularExpression("^=")))
            m_answerer->answer("pushButton" + answer.mid(1).section(':', 0, 0), answer.section(':', 1));
        for (const QString &word : words.filter(QRegularExpression("^[^=!]"))) {
            if (word.startsWith('\''))
                QTest::keyClicks(QApplication::focusWidget(), word.mid(1).replace('_', ' '));
            else if (word == "[x]") // a click on the current row's box
                t->cellWidget(t->currentRow(), 0)->findChild<QCheckBox *>()->click();
            else if (word.startsWith('@')) // the copy-link button is kept out of view
                (row < 0 ? t->parentWidget() : t->cellWidget(row, t->columnCount() - 1))
                    ->findChild<QPushButton *>("pushButton" + word.mid(1))
                    ->click();
            else
                QTest::keySequence(QApplication::focusWidget(), QKeySequence(word));
        }
        QStringList dialogs;
        for (const ModalAnswerer::Seen &seen : m_answerer->seen())
            dialogs << seen.text;
        const QString copied = input == "@Copy" ? '|' + QGuiApplication::clipboard()->text() : QString();
        const QString moved = pages->currentWidget() == opened ? "" : pages->currentWidget()->objectName() + " / ";
        QTEST(moved + m_backend->calls.join('|') + " / " + dialogs.join('|') + copied, "seen");
    }

    void checkedRows_data()
    {
        QTest::addColumn<bool>("tasks"); // else the storage page
        // "header", "box N", "row N" (a text cell of row N), or "key N K" (key K with row N current)
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<QList<int>>("checked");
        QList<int> all;
        for (int row = 0; row < Rows; ++row)
            all << row;
        QTest::newRow("header reaches rows not built yet") << false << QStringList { "header" } << all;
        QTest::newRow("boxes and rows") << false << QStringList { "box 1", "row 3", "row 4", "row 4" }
                                        << QList<int> { 1, 3 };
        QTest::newRow("tasks") << true << QStringList { "header", "box 0" } << all.mid(1);
        // Space checks the current row, except the parent folder's; Ctrl+A checks them all.
        QTest::newRow("Space") << false << QStringList { "key 0 Space", "key 3 Space", "key 5 Space", "key 5 Space" }
                               << QList<int> { 3 };
        QTest::newRow("Ctrl+A") << true << QStringList { "key 2 Ctrl+A", "key 3 Space", "key 2 Ctrl+A" } << all;
    }
    // The storage page downloads the records of the checked rows; the task page deletes their tasks by id.
    void checkedRows()
    {
        QFETCH(bool, tasks);
        QFETCH(QStringList, clicks);
        QTableWidget *t = open(tasks ? "pushButtonTask" : "pushButtonSave");
        for (const QString &click : clicks) {
            const int row = click.section(' ', 1, 1).toInt();
            if (click == "header")
                QTest::mouseClick(t->horizontalHeader()->viewport(), Qt::LeftButton, {}, QPoint(20, 5));
            else if (click.startsWith("box"))
                t->cellWidget(row, 0)->findChild<QCheckBox *>()->click();
            else if (click.startsWith("key")) {
                t->setFocus();
                t->setCurrentCell(row, 2);
                QTest::keySequence(t, QKeySequence(click.section(' ', 2)));
            } else
                QTest::mouseClick(t->viewport(), Qt::LeftButton, {}, t->visualItemRect(t->item(row, 3)).center());
        }
        t->parentWidget()->findChild<QPushButton *>(tasks ? "pushButtonDelete" : "pushButtonDown")->click();
        QStringList expected;
        QFETCH(QList<int>, checked);
        for (int row : checked) {
            const auto address = reinterpret_cast<quintptr>(VorData::instance()->fileInfos().at(row));
            expected << QString(tasks ? "deleteTask %1" : "download %1").arg(tasks ? row : int(address));
        }
        QCOMPARE(m_backend->calls, expected);
    }

    void pathBarListsTheLevelClicked()
    {
        QWidget *bar = open("pushButtonSave")->parentWidget()->findChild<QWidget *>("widgetPath");
        VorSdk::instance()->getFileInfo("/a/b/c/d/e/f/R&D", QString());
        // The last six levels; "&&" shows one "&" where a single one would underline the next letter.
        QCOMPARE(seen(bar), QStringLiteral("b / c / d / e / f / R&&D /"));
        QCOMPARE(bar->findChild<QPushButton *>()->accessibleName(), "转到 /a/b"); // what a reader says of it
        QTest::mouseClick(bar->findChild<QPushButton *>(), Qt::LeftButton);
        QCOMPARE(m_backend->calls.last(), QStringLiteral("getFileInfo /a/b "));
    }

    // A newer listing let through during a long fill frees the rows being drawn; the table ends with it.
    void newerListingDuringAFill()
    {
        QTableWidget *t = open("pushButtonSave");
        VorData *store = VorData::instance();
        const auto newer = [store] { store->updateSaveFileInfo(RecordingBackend::makeEntries({ "newer" })); };
        QMetaObject::invokeMethod(store, newer, Qt::QueuedConnection);
        QStringList names;
        for (int i = 0; i < 500; ++i)
            names << QString::number(i);
        store->updateSaveFileInfo(RecordingBackend::makeEntries(names));
        QCOMPARE(t->rowCount(), 1);
        QCOMPARE(t->cellWidget(0, 1)->findChild<QLabel *>()->text(), QStringLiteral("newer"));
    }
};

QTEST_MAIN(TestPages)
#include "tst_pages.moc"
