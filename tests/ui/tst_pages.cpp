#include "app/vormain.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

#include <QtTest>
#include <QtWidgets>

const int Rows = 60; // a few screenfuls: rows further down have no cell widgets until they come into view

static QList<FileEntry *> listing(const QString &)
{
    QStringList names, folders;
    for (int i = 0; i < Rows; ++i) {
        names << QStringLiteral("entry%1").arg(i);
        // A pattern that does not repeat within a screenful: rows coming into view get cells of the other kind.
        if ((i % 7 < 3) != (i % 11 < 5))
            folders << names.last();
    }
    return RecordingBackend::makeEntries(names, folders);
}

// The main window's pages, wired to the store as in the program, with a recording back end behind the
// facade and a stand-in user answering the dialogs.
class TestPages : public QObject
{
    Q_OBJECT

    VorMain *m_main = nullptr;
    RecordingBackend *m_backend = nullptr;
    std::unique_ptr<ModalAnswerer> m_answerer;

    QTableWidget *open(const char *navigation, QWidget *page)
    {
        QTest::mouseClick(m_main->findChild<QPushButton *>(navigation), Qt::LeftButton);
        return page->findChild<QTableWidget *>();
    }

private slots:
    void init()
    {
        WarningGuard::install(); // before the store builds its windows
        m_main = VorData::instance()->mainWindow();
        m_main->show();
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
    }
    void cleanup()
    {
        VorSdk::instance()->exit();
        for (QWidget *window : QApplication::topLevelWidgets()) {
            for (QWidget *child = window; child; child = child->parentWidget())
                window = child; // a menu or dialog belongs to the window it opened from
            QVERIFY2(window == m_main || window->inherits("VorLogin"), window->metaObject()->className());
        }
        VERIFY_NO_QT_WARNINGS();
    }

    void storageActions_data()
    {
        QTest::addColumn<QString>("action"); // ["row"] button, then the answer to each dialog: button[:typed]
        QTest::addColumn<bool>("fail");
        QTest::addColumn<QString>("seen"); // the back end's calls / the dialogs' texts
        const QString refresh = "getFileInfo /home /home";
        QTest::newRow("new folder") << "MkDir Yes:new Yes" << false
                                    << "createDir /home/new|" + refresh + " / 文件夹名称：|新建文件夹成功";
        QTest::newRow("new folder fails")
            << "MkDir Yes:new Yes" << true << "createDir /home/new / 文件夹名称：|新建文件夹失败";
        QTest::newRow("new folder cancelled") << "MkDir No:new" << false << " / 文件夹名称：";
        QTest::newRow("rename") << "row Rename Yes:new Yes" << false
                                << "rename /home/entry1 /home/new|" + refresh + " / 重命名|改名成功";
        QTest::newRow("rename fails") << "row Rename Yes:new Yes" << true
                                      << "rename /home/entry1 /home/new / 重命名|folder operation failed";
        QTest::newRow("delete") << "row Delete Yes" << false << "deleteFile /home/entry1 / 确认删除entry1";
        QTest::newRow("delete declined") << "row Delete No" << false << " / 确认删除entry1";
        QTest::newRow("row download") << "row Down" << false << "download 1 / ";
        QTest::newRow("nothing checked") << "Down Yes" << false << " / 没有勾选需要下载的文件";
        QTest::newRow("search trims") << "Refresh" << false << "getFileInfo /home entry / ";
    }
    void storageActions()
    {
        QFETCH(QString, action);
        QTableWidget *t = open("pushButtonSave", m_main->pageSave());
        QFETCH(bool, fail);
        m_backend->failFolderOperations = fail;
        const QStringList words = action.split(' ');
        const int first = words.first() == "row" ? 1 : 0; // the button's word
        QWidget *where = first ? t->cellWidget(1, 5) : m_main->pageSave();
        for (const QString &answer : words.mid(first + 1))
            m_answerer->answer("pushButton" + answer.section(':', 0, 0), answer.section(':', 1));
        m_main->pageSave()->findChild<QLineEdit *>()->setText("  entry ");
        QTest::mouseClick(where->findChild<QPushButton *>("pushButton" + words.at(first)), Qt::LeftButton);
        QStringList dialogs;
        for (const ModalAnswerer::Seen &seen : m_answerer->seen())
            dialogs << seen.text;
        QTEST(m_backend->calls.join('|') + " / " + dialogs.join('|'), "seen");
    }

    void checkedRows_data()
    {
        QTest::addColumn<bool>("tasks"); // else the storage page
        QTest::addColumn<QStringList>("clicks"); // "header", "box N" or "row N" (a text cell of row N)
        QTest::addColumn<QList<int>>("checked");
        QList<int> all;
        for (int row = 0; row < Rows; ++row)
            all << row;
        QTest::newRow("header reaches rows not built yet") << false << QStringList { "header" } << all;
        QTest::newRow("boxes and rows") << false << QStringList { "box 1", "row 3", "row 4", "row 4" }
                                        << QList<int> { 1, 3 };
        QTest::newRow("tasks") << true << QStringList { "header", "box 0" } << all.mid(1);
    }
    // The storage page downloads the records of the checked rows; the task page deletes their tasks by id.
    void checkedRows()
    {
        QFETCH(bool, tasks);
        QFETCH(QStringList, clicks);
        QWidget *page = tasks ? static_cast<QWidget *>(m_main->pageTask()) : m_main->pageSave();
        QTableWidget *t = open(tasks ? "pushButtonTask" : "pushButtonSave", page);
        for (const QString &click : clicks) {
            const int row = click.section(' ', 1).toInt();
            if (click == "header")
                QTest::mouseClick(t->horizontalHeader()->viewport(), Qt::LeftButton, {}, QPoint(20, 5));
            else if (click.startsWith("box"))
                t->cellWidget(row, 0)->findChild<QCheckBox *>()->click();
            else
                QTest::mouseClick(t->viewport(), Qt::LeftButton, {}, t->visualItemRect(t->item(row, 3)).center());
        }
        page->findChild<QPushButton *>(tasks ? "pushButtonDelete" : "pushButtonDown")->click();
        QStringList expected;
        QFETCH(QList<int>, checked);
        for (int row : checked) {
            const auto address = reinterpret_cast<quintptr>(VorData::instance()->fileInfos().at(row));
            expected << QString(tasks ? "deleteTask %1" : "download %1").arg(tasks ? row : int(address));
        }
        QCOMPARE(m_backend->calls, expected);
    }

    // Cells of rows scrolled out of view are given to the rows coming into view: each must show its new row,
    // and the name of a file must not open the folder the cell showed before.
    void reusedNameCellsShowTheirRow()
    {
        QTableWidget *t = open("pushButtonSave", m_main->pageSave());
        t->scrollToBottom();
        const QList<FileEntry *> entries = VorData::instance()->fileInfos();
        QWidget *folder = nullptr;
        for (int row = t->rowAt(0); row < Rows && m_backend->calls.isEmpty(); ++row) {
            QWidget *name = t->cellWidget(row, 1)->findChild<QWidget *>("widgetDirFile");
            QCOMPARE(name->findChild<QLabel *>()->text(), entries.at(row)->name);
            if (entries.at(row)->isDir)
                folder = name;
            else
                QTest::mouseClick(name, Qt::LeftButton);
        }
        QVERIFY(m_backend->calls.isEmpty());
        QTest::mouseClick(folder, Qt::LeftButton);
        QCOMPARE(m_backend->calls, QStringList { "getFileInfo /home/" + folder->findChild<QLabel *>()->text() + " " });
    }

    void pathBarListsTheLevelClicked()
    {
        open("pushButtonSave", m_main->pageSave());
        VorSdk::instance()->getFileInfo("/a/b/c/d/e/f/R&D", QString());
        QWidget *bar = m_main->pageSave()->findChild<QWidget *>("widgetPath");
        QStringList shown;
        for (QPushButton *level : bar->findChildren<QPushButton *>()) {
            if (level->isVisibleTo(bar))
                shown << level->text();
        }
        // The last six levels; "&&" shows one "&" where a single one would underline the next letter.
        QCOMPARE(shown.join(' '), QStringLiteral("b c d e f R&&D"));
        QTest::mouseClick(bar->findChild<QPushButton *>(), Qt::LeftButton);
        QCOMPARE(m_backend->calls.last(), QStringLiteral("getFileInfo /a/b "));
    }

    // A long fill lets queued events through. A newer listing among them frees the rows being drawn (the
    // sanitizer build sees any later read of them), and the table must end with the newer listing.
    void newerListingDuringAFill()
    {
        QTableWidget *t = open("pushButtonSave", m_main->pageSave());
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

    void downloadSearchKeepsBlanks()
    {
        QTableWidget *t = open("pushButtonDownload", m_main->pageDownload());
        QCOMPARE(t->rowCount(), Rows);
        QTest::keyClicks(m_main->pageDownload()->findChild<QLineEdit *>(), "  down \r");
        QCOMPARE(m_backend->calls, QStringList { "refreshDown   down " });
    }
};

QTEST_MAIN(TestPages)
#include "tst_pages.moc"
