#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/vorfilepath.h"
#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

namespace {

const int Rows = 60; // a few screenfuls: rows further down have no cell widgets until they come into view

QList<FileEntry *> listing(const QString &)
{
    QStringList names, folders;
    for (int i = 0; i < Rows; ++i) {
        names << QStringLiteral("entry%1").arg(i);
        // Folders and files in a pattern that does not repeat within a screenful, so that rows coming into
        // view are given cells that showed the other kind.
        if ((i % 7 < 3) != (i % 11 < 5))
            folders << names.last();
    }
    return RecordingBackend::makeEntries(names, folders);
}

} // namespace

// The main window's three pages, wired to the store as in the program, with a recording back end behind
// the facade and a stand-in user answering the dialogs.
class TestPages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void storageActions_data();
    void storageActions();
    void checkedRows_data();
    void checkedRows();
    void reusedNameCellsShowTheirRow();
    void pathBarListsTheLevelClicked();
    void downloadSearchKeepsBlanks();

private:
    QTableWidget *open(const char *navigation, QWidget *page);

    VorMain *m_main = nullptr;
    RecordingBackend *m_backend = nullptr;
    ModalAnswerer *m_answerer = nullptr;
};

void TestPages::initTestCase()
{
    WarningGuard::install();
    m_main = VorData::instance()->mainWindow();
    m_main->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_main));
}

void TestPages::init()
{
    m_backend = new RecordingBackend;
    m_backend->listing = listing;
    m_backend->taskCount = m_backend->downloadCount = Rows;
    VorSdk::instance()->adoptBackend(m_backend);
    VorSdk::instance()->getFileInfo("/home", QString());
    VorSdk::instance()->refreshTask(0, 0);
    VorSdk::instance()->refreshDown(QString());
    m_backend->calls.clear();
    m_answerer = new ModalAnswerer(this);
    m_answerer->closeUnanswered = true;
}

void TestPages::cleanup()
{
    delete m_answerer;
    VorSdk::instance()->exit();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (QWidget *window : QApplication::topLevelWidgets()) {
        for (QWidget *child = window; child; child = child->parentWidget())
            window = child; // a menu or dialog belongs to the window it opened from
        QVERIFY2(window == m_main || window == VorData::instance()->loginDialog(), window->metaObject()->className());
    }
    VERIFY_NO_QT_WARNINGS();
}

QTableWidget *TestPages::open(const char *navigation, QWidget *page)
{
    QTest::mouseClick(m_main->findChild<QPushButton *>(navigation), Qt::LeftButton);
    return page->findChild<QTableWidget *>();
}

void TestPages::storageActions_data()
{
    QTest::addColumn<QString>("action"); // a page button, or "row" and a button of row 1
    QTest::addColumn<QStringList>("answers"); // button[:typed text] per dialog
    QTest::addColumn<bool>("fail");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QStringList>("dialogs");
    const QStringList yesNew { "pushButtonYes:new", "pushButtonYes" };
    const QString refresh = "getFileInfo /home /home";
    QTest::newRow("new folder") << "pushButtonMkDir" << yesNew << false
                                << QStringList { "createDir /home/new", refresh }
                                << QStringList { "文件夹名称：", "新建文件夹成功" };
    QTest::newRow("new folder fails") << "pushButtonMkDir" << yesNew << true << QStringList { "createDir /home/new" }
                                      << QStringList { "文件夹名称：", "新建文件夹失败" };
    QTest::newRow("new folder cancelled") << "pushButtonMkDir" << QStringList { "pushButtonNo:new" } << false
                                          << QStringList() << QStringList { "文件夹名称：" };
    QTest::newRow("rename") << "row pushButtonRename" << yesNew << false
                            << QStringList { "rename /home/entry1 /home/new", refresh }
                            << QStringList { "重命名", "改名成功" };
    QTest::newRow("rename fails") << "row pushButtonRename" << yesNew << true
                                  << QStringList { "rename /home/entry1 /home/new" }
                                  << QStringList { "重命名", "folder operation failed" };
    QTest::newRow("delete") << "row pushButtonDelete" << QStringList { "pushButtonYes" } << false
                            << QStringList { "deleteFile /home/entry1" } << QStringList { "确认删除entry1" };
    QTest::newRow("delete declined") << "row pushButtonDelete" << QStringList { "pushButtonNo" } << false
                                     << QStringList() << QStringList { "确认删除entry1" };
    QTest::newRow("row download") << "row pushButtonDown" << QStringList() << false << QStringList { "download 1" }
                                  << QStringList();
    QTest::newRow("nothing checked") << "pushButtonDown" << QStringList { "pushButtonYes" } << false << QStringList()
                                     << QStringList { "没有勾选需要下载的文件" };
    QTest::newRow("search trims") << "pushButtonRefresh" << QStringList() << false
                                  << QStringList { "getFileInfo /home entry" } << QStringList();
}

void TestPages::storageActions()
{
    QFETCH(QString, action);
    QFETCH(QStringList, answers);
    QTableWidget *t = open("pushButtonSave", m_main->pageSave());
    QFETCH(bool, fail);
    m_backend->failFolderOperations = fail;
    for (const QString &answer : answers)
        m_answerer->answer(answer.section(':', 0, 0), answer.section(':', 1));
    m_main->pageSave()->findChild<QLineEdit *>()->setText("  entry ");
    QWidget *where = action.startsWith("row ") ? t->cellWidget(1, 5) : m_main->pageSave();
    QTest::mouseClick(where->findChild<QPushButton *>(action.section(' ', -1)), Qt::LeftButton);
    QTEST(m_backend->calls, "calls");
    QStringList dialogs;
    for (const ModalAnswerer::Seen &seen : m_answerer->seen())
        dialogs << seen.text;
    QTEST(dialogs, "dialogs");
}

void TestPages::checkedRows_data()
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
void TestPages::checkedRows()
{
    QFETCH(bool, tasks);
    QFETCH(QStringList, clicks);
    QFETCH(QList<int>, checked);
    QWidget *page = tasks ? static_cast<QWidget *>(m_main->pageTask()) : m_main->pageSave();
    QTableWidget *t = open(tasks ? "pushButtonTask" : "pushButtonSave", page);
    QHeaderView *header = t->horizontalHeader();
    for (const QString &click : clicks) {
        const int row = click.section(' ', 1).toInt();
        if (click == "header")
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionSize(0) / 2, 5));
        else if (click.startsWith("box"))
            t->cellWidget(row, 0)->findChild<QCheckBox *>()->click();
        else
            QTest::mouseClick(t->viewport(), Qt::LeftButton, {}, t->visualItemRect(t->item(row, 3)).center());
    }
    QTest::mouseClick(page->findChild<QPushButton *>(tasks ? "pushButtonDelete" : "pushButtonDown"), Qt::LeftButton);
    QStringList expected;
    for (int row : checked) {
        const auto address = reinterpret_cast<quintptr>(VorData::instance()->fileInfos().at(row));
        expected << (tasks ? QStringLiteral("deleteTask %1").arg(row)
                           : QStringLiteral("download %1").arg(int(address)));
    }
    QCOMPARE(m_backend->calls, expected);
}

// Cells of rows scrolled out of view are given to the rows coming into view: each must show its new row,
// and the name of a file must not open the folder the cell showed before.
void TestPages::reusedNameCellsShowTheirRow()
{
    QTableWidget *t = open("pushButtonSave", m_main->pageSave());
    t->scrollToBottom();
    const QList<FileEntry *> entries = VorData::instance()->fileInfos();
    QWidget *folder = nullptr;
    for (int row = t->rowAt(0); row < Rows; ++row) {
        QWidget *cell = t->cellWidget(row, 1);
        QCOMPARE(cell->findChild<QLabel *>()->text(), entries.at(row)->name);
        if (entries.at(row)->isDir)
            folder = cell->findChild<QWidget *>("widgetDirFile");
        else
            QTest::mouseClick(cell->findChild<QWidget *>("widgetDirFile"), Qt::LeftButton);
    }
    QVERIFY(m_backend->calls.isEmpty());
    QTest::mouseClick(folder, Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { "getFileInfo /home/" + folder->findChild<QLabel *>()->text() + " " });
}

void TestPages::pathBarListsTheLevelClicked()
{
    open("pushButtonSave", m_main->pageSave());
    VorSdk::instance()->getFileInfo("/a/b/c/d/e/f/R&D", QString());
    m_backend->calls.clear();
    auto *bar = m_main->pageSave()->findChild<VorFilePath *>();
    QStringList shown;
    for (QPushButton *level : bar->findChildren<QPushButton *>()) {
        if (level->isVisibleTo(bar))
            shown << level->text();
    }
    // The last six levels; "&&" shows one "&" where a single one would underline the next letter.
    QCOMPARE(shown, (QStringList { "b", "c", "d", "e", "f", "R&&D" }));
    QTest::mouseClick(bar->findChild<QPushButton *>(), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { "getFileInfo /a/b " });
}

void TestPages::downloadSearchKeepsBlanks()
{
    QTableWidget *t = open("pushButtonDownload", m_main->pageDownload());
    QCOMPARE(t->rowCount(), Rows);
    QTest::keyClicks(m_main->pageDownload()->findChild<QLineEdit *>(), "  down \r");
    QCOMPARE(m_backend->calls, QStringList { "refreshDown   down " });
}

QTEST_MAIN(TestPages)
#include "tst_pages.moc"
