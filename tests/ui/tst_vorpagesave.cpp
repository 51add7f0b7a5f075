#include "uitestkit.h"

#include "app/vormain.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/logtail.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/scheckboxheaderview.h"
#include "ui/vorfilepath.h"
#include "ui/vorlocation.h"
#include "ui/vorpagesave.h"
#include "ui/vorsavedirfile.h"
#include "ui/vorsavehandle.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QtTest>

namespace {

const QString Home = QStringLiteral("/user-01");

// One listed entry and what its row must show.
struct ListedEntry
{
    QString name;
    bool isDir = false;
    QString storageClass;
    QString size;
    QDateTime modified;
    QString link;
    QString shownDate;
};

QList<ListedEntry> sampleShaped()
{
    QList<ListedEntry> listing;
    for (int i = 0; i < 22; ++i) {
        const QString name = QStringLiteral("Name%1").arg(i + 1);
        listing << ListedEntry { name,
                                 i % 3 == 0,
                                 QStringLiteral("标准存储"),
                                 QStringLiteral("%1KB").arg(i + 100),
                                 QDateTime(QDate(2026, 5, 6), QTime(7, 8, 9)),
                                 name,
                                 QStringLiteral("2026/05/06 07:08:09") };
    }
    return listing;
}

QList<ListedEntry> sftpShaped()
{
    const QString standard = QStringLiteral("标准存储");
    return {
        { QStringLiteral(".."), true, standard, QStringLiteral("4 KB"), QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5)),
          QStringLiteral(".."), QStringLiteral("2026/01/02 03:04:05") },
        { QStringLiteral("docs"), true, standard, QStringLiteral("4 KB"),
          QDateTime(QDate(2025, 12, 31), QTime(23, 59, 58)), QStringLiteral("docs"),
          QStringLiteral("2025/12/31 23:59:58") },
        { QStringLiteral("notes.txt"), false, standard, QStringLiteral("0 KB"),
          QDateTime(QDate(2026, 2, 3), QTime(14, 15, 16)), QStringLiteral("notes.txt"),
          QStringLiteral("2026/02/03 14:15:16") },
        // A failed stat keeps the byte count of the long listing and leaves the time unset.
        { QStringLiteral("my"), false, standard, QStringLiteral("1536"), QDateTime(), QStringLiteral("my"), QString() },
        // Names are plain text, never markup.
        { QStringLiteral("<b>R&D</b>"), false, standard, QStringLiteral("1 KB"),
          QDateTime(QDate(2026, 2, 3), QTime(1, 2, 3)), QStringLiteral("<b>R&D</b>"),
          QStringLiteral("2026/02/03 01:02:03") },
    };
}

QList<ListedEntry> namedEntries(int count, const QString &stem = QStringLiteral("entry"))
{
    QList<ListedEntry> listing;
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("%1%2").arg(stem).arg(i);
        listing << ListedEntry { name,
                                 i % 2 == 0,
                                 QStringLiteral("标准存储"),
                                 QStringLiteral("%1 KB").arg(i),
                                 QDateTime(QDate(2026, 1, 1), QTime(0, 0)),
                                 QStringLiteral("link:") + name,
                                 QStringLiteral("2026/01/01 00:00:00") };
    }
    return listing;
}

QList<ListedEntry> entriesByShape(const QString &shape)
{
    if (shape == QLatin1String("sample"))
        return sampleShaped();
    if (shape == QLatin1String("sftp"))
        return sftpShaped();
    if (shape == QLatin1String("many")) {
        // Folders and files in a pattern that does not repeat within the listing, so that rows are given
        // cells that showed the other kind before, whatever the number of rows in view.
        QList<ListedEntry> listing = namedEntries(60);
        for (int i = 0; i < listing.size(); ++i)
            listing[i].isDir = (i % 7 < 3) != (i % 11 < 5);
        return listing;
    }
    if (shape == QLatin1String("long name"))
        return { ListedEntry { QString(300, QLatin1Char('x')), false, QStringLiteral("标准存储"),
                               QStringLiteral("1 KB"), QDateTime(QDate(2026, 1, 1), QTime(0, 0)), QStringLiteral("x"),
                               QStringLiteral("2026/01/01 00:00:00") } };
    return {};
}

QList<FileEntry *> makeEntries(const QList<ListedEntry> &listing)
{
    QList<FileEntry *> entries;
    for (const ListedEntry &expected : listing) {
        auto *entry = new FileEntry;
        entry->id = entries.size();
        entry->name = expected.name;
        entry->isDir = expected.isDir;
        entry->storageClass = expected.storageClass;
        entry->size = expected.size;
        entry->modified = expected.modified;
        entry->link = expected.link;
        entries << entry;
    }
    return entries;
}

} // namespace

class TestVorPageSave : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form();
    void rowsShowTheListing_data();
    void rowsShowTheListing();
    void storePageIsFilled();
    void pathBarFollowsTheListing();
    void locationSwitch_data();
    void locationSwitch();
    void headerSelectsAndClearsAll();
    void headerStateSurvivesNewListing();
    void itemCellTogglesItsRow_data();
    void itemCellTogglesItsRow();
    void downloadWithNothingChecked();
    void downloadCheckedRows();
    void downloadOneRow();
    void searchTrimsThePrefix();
    void makeFolder_data();
    void makeFolder();
    void rename_data();
    void rename();
    void copyLinkIsHiddenButWorks();
    void enterByName_data();
    void enterByName();
    void deleteEntry_data();
    void deleteEntry();
    void uploadButtonOpensItsMenu();
    void uploadActions_data();
    void uploadActions();
    void columnSizing_data();
    void columnSizing();
    void redrawsKeepOneSetOfCells();
    void newListingArrivingDuringAFill_data();
    void newListingArrivingDuringAFill();

private:
    void list(const QList<ListedEntry> &listing, const QString &path = Home);
    QTableWidget *table() const { return m_page->findChild<QTableWidget *>(QStringLiteral("tableWidget")); }
    // A row's cells exist once the row is in view, as for a user who scrolls to it.
    QWidget *cellInView(int row, int column) const;
    QCheckBox *rowCheckBox(int row) const;
    VorSaveDirFile *nameCell(int row) const { return qobject_cast<VorSaveDirFile *>(cellInView(row, 1)); }
    VorSaveHandle *handleCell(int row) const { return qobject_cast<VorSaveHandle *>(cellInView(row, 5)); }
    QPushButton *pageButton(const char *name) const { return m_page->findChild<QPushButton *>(QLatin1String(name)); }
    QVector<bool> checkedRows() const;
    void clickHeaderAt(int column);
    void clickItem(int row, int column);
    int expectedNameWidth() const;

    RecordingBackend *m_backend = nullptr;
    VorPageSave *m_page = nullptr;
    UnansweredDialogCloser *m_closer = nullptr;
};

void TestVorPageSave::initTestCase()
{
    WarningGuard::install();
    UiTestKit::allowOffscreenPluginNotices();
    VorData::instance(); // the store and its two windows exist before any page, as at start-up
}

void TestVorPageSave::init()
{
    m_backend = UiTestKit::installRecorder();
    m_page = new VorPageSave;
    // The same wiring the store makes for the main window's page.
    connect(VorData::instance(), &VorData::dataUpdatePath, m_page, &VorPageSave::setPath);
    connect(VorData::instance(), &VorData::dataUpdateSaveFileInfo, m_page, &VorPageSave::dataUpdateSaveFileInfo);
    connect(VorData::instance(), &VorData::dataUpdateLocation, m_page, &VorPageSave::dataUpdateLocation);
    m_page->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_page));
    m_closer = new UnansweredDialogCloser(this);
}

void TestVorPageSave::cleanup()
{
    QVERIFY2(m_closer->closed().isEmpty(), qPrintable(m_closer->closed().join(QLatin1String(", "))));
    delete m_closer;
    delete m_page;
    m_page = nullptr;
    VorSdk::instance()->exit();
    VERIFY_NO_STRAY_WINDOWS();
    VERIFY_NO_QT_WARNINGS();
}

void TestVorPageSave::list(const QList<ListedEntry> &listing, const QString &path)
{
    m_backend->listing = [listing](const QString &) { return makeEntries(listing); };
    VorSdk::instance()->getFileInfo(path, QString());
    QCoreApplication::processEvents(); // the table lays its new cells out before the user can click them
    m_backend->calls.clear();
}

QWidget *TestVorPageSave::cellInView(int row, int column) const
{
    table()->scrollTo(table()->model()->index(row, column));
    return table()->cellWidget(row, column);
}

QCheckBox *TestVorPageSave::rowCheckBox(int row) const
{
    QWidget *cell = cellInView(row, 0);
    return cell ? cell->findChild<QCheckBox *>() : nullptr;
}

QVector<bool> TestVorPageSave::checkedRows() const
{
    QVector<bool> checked;
    for (int row = 0; row < table()->rowCount(); ++row)
        checked << rowCheckBox(row)->isChecked();
    return checked;
}

void TestVorPageSave::clickHeaderAt(int column)
{
    QHeaderView *header = table()->horizontalHeader();
    const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(x, header->height() / 2));
}

void TestVorPageSave::clickItem(int row, int column)
{
    const QRect rect = table()->visualItemRect(table()->item(row, column));
    QVERIFY(table()->viewport()->rect().contains(rect.center()));
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
}

int TestVorPageSave::expectedNameWidth() const
{
    QTableWidget *t = table();
    int used = 0;
    for (int column : { 0, 2, 3, 4, 5 })
        used += t->columnWidth(column);
    if (t->verticalScrollBar()->isVisible())
        used += t->verticalScrollBar()->width();
    return qMax(t->width() - used - 2, UiTestKit::contentWidth(t, 1));
}

void TestVorPageSave::form()
{
    delete m_page;
    m_page = new VorPageSave;
    QCOMPARE(m_page->objectName(), QStringLiteral("VorPageSave"));
    QCOMPARE(m_page->size(), QSize(813, 474));

    auto *path = m_page->findChild<VorFilePath *>(QStringLiteral("widgetPath"));
    QVERIFY(path);
    QCOMPARE(path->minimumHeight(), 50);
    QCOMPARE(path->maximumHeight(), 50);
    auto *line = m_page->findChild<QFrame *>(QStringLiteral("line"));
    QVERIFY(line);
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QCOMPARE(line->frameShadow(), QFrame::Sunken);
    QVERIFY(m_page->findChild<VorLocation *>(QStringLiteral("widgetLocation")));

    const struct
    {
        const char *name;
        QString text;
        QSize size;
    } buttons[] = {
        { "pushButtonUp", QStringLiteral("上传"), QSize(160, 38) },
        { "pushButtonDown", QStringLiteral("下载"), QSize(160, 38) },
        { "pushButtonMkDir", QStringLiteral("新建文件夹"), QSize(200, 38) },
        { "pushButtonRefresh", QString(), QSize(60, 38) },
    };
    for (const auto &expected : buttons) {
        QPushButton *button = pageButton(expected.name);
        QVERIFY2(button, expected.name);
        QCOMPARE(button->text(), expected.text);
        QCOMPARE(button->minimumSize(), expected.size);
        QCOMPARE(button->maximumSize(), expected.size);
        QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(button->iconSize(), QSize(30, 30));
        QVERIFY2(!button->icon().pixmap(30, 30).isNull(), expected.name);
    }
    QVERIFY(!pageButton("pushButtonRefresh")->toolTip().isEmpty()); // the icon-only button says what it does
    auto *search = m_page->findChild<QLineEdit *>(QStringLiteral("lineEdit"));
    QCOMPARE(search->placeholderText(), QStringLiteral("输入对象前缀名称搜索"));
    QCOMPARE(search->minimumHeight(), 38);

    QTableWidget *t = table();
    QCOMPARE(t->columnCount(), 6);
    const QStringList headers = { QString(),
                                  QStringLiteral("对象名称"),
                                  QStringLiteral("存储类型"),
                                  QStringLiteral("大小"),
                                  QStringLiteral("最后修改时间"),
                                  QStringLiteral("操作") };
    for (int column = 0; column < headers.size(); ++column)
        QCOMPARE(t->horizontalHeaderItem(column)->text(), headers.at(column));
    QVERIFY(qobject_cast<SCheckBoxHeaderView *>(t->horizontalHeader()));
    QVERIFY(t->horizontalHeader()->stretchLastSection());
    QVERIFY(t->verticalHeader()->isHidden());
    QCOMPARE(t->editTriggers(), QAbstractItemView::NoEditTriggers);
    QCOMPARE(t->selectionMode(), QAbstractItemView::NoSelection);
}

void TestVorPageSave::rowsShowTheListing_data()
{
    QTest::addColumn<QString>("shape");
    QTest::newRow("object-store sample") << QStringLiteral("sample");
    QTest::newRow("sftp listing") << QStringLiteral("sftp");
    QTest::newRow("empty folder") << QStringLiteral("empty");
    // Walking down 60 rows, the rows further down are given the cells of the rows scrolled past.
    QTest::newRow("more rows than a screenful") << QStringLiteral("many");
}

void TestVorPageSave::rowsShowTheListing()
{
    QFETCH(QString, shape);
    const QList<ListedEntry> listing = entriesByShape(shape);
    list(listing);

    QTableWidget *t = table();
    QCOMPARE(t->rowCount(), listing.size());
    for (int row = 0; row < listing.size(); ++row) {
        const ListedEntry &expected = listing.at(row);
        const QByteArray where = QStringLiteral("row %1 (%2)").arg(row).arg(expected.name).toUtf8();

        QWidget *checkCell = cellInView(row, 0);
        QVERIFY2(checkCell, where.constData());
        QCheckBox *box = rowCheckBox(row);
        QVERIFY2(box && !box->isChecked(), where.constData());
        QCOMPARE(checkCell->layout()->contentsMargins(), QMargins());
        QCOMPARE(checkCell->layout()->itemAt(0)->alignment(), Qt::AlignCenter);

        VorSaveDirFile *name = nameCell(row);
        QVERIFY2(name, where.constData());
        QCOMPARE(name->findChild<QLabel *>(QStringLiteral("label"))->text(), expected.name);
        QCOMPARE(name->findChild<QLabel *>(QStringLiteral("label"))->textFormat(), Qt::PlainText);
        QCOMPARE(name->findChild<QWidget *>(QStringLiteral("widgetDir"))->isVisibleTo(name), expected.isDir);
        QCOMPARE(name->findChild<QWidget *>(QStringLiteral("widgetFile"))->isVisibleTo(name), !expected.isDir);
        QCOMPARE(name->findChild<QWidget *>(QStringLiteral("widgetDirFile"))->cursor().shape(),
                 expected.isDir ? Qt::PointingHandCursor : Qt::ArrowCursor);

        const QString texts[] = { expected.storageClass, expected.size, expected.shownDate };
        for (int column = 2; column <= 4; ++column) {
            QTableWidgetItem *item = t->item(row, column);
            QVERIFY2(item, where.constData());
            QCOMPARE(item->text(), texts[column - 2]);
            QCOMPARE(item->textAlignment(), int(Qt::AlignCenter));
        }

        VorSaveHandle *handle = handleCell(row);
        QVERIFY2(handle, where.constData());
        const bool parentEntry = expected.name == QLatin1String("..");
        QCOMPARE(handle->findChild<QWidget *>(QStringLiteral("widgetHandle"))->isVisibleTo(handle), !parentEntry);
        QVERIFY(!handle->findChild<QPushButton *>(QStringLiteral("pushButtonCopy"))->isVisibleTo(handle));
        for (const char *button : { "pushButtonDown", "pushButtonDelete", "pushButtonRename" }) {
            QWidget *actions = handle->findChild<QWidget *>(QStringLiteral("widgetHandle"));
            QVERIFY2(handle->findChild<QPushButton *>(QLatin1String(button))->isVisibleTo(actions), button);
        }
    }
    if (!listing.isEmpty()) {
        const int last = listing.size() - 1;
        QTest::mouseClick(handleCell(last)->findChild<QPushButton *>(QStringLiteral("pushButtonDown")), Qt::LeftButton);
        QCOMPARE(m_backend->calls.last(),
                 QStringLiteral("download %1").arg(VorData::instance()->fileInfos().at(last)->id));
    }
}

void TestVorPageSave::storePageIsFilled()
{
    list(sftpShaped());
    auto *storePage = VorData::instance()->mainWindow()->findChild<VorPageSave *>();
    QVERIFY(storePage);
    auto *storeTable = storePage->findChild<QTableWidget *>(QStringLiteral("tableWidget"));
    QCOMPARE(storeTable->rowCount(), sftpShaped().size());
}

void TestVorPageSave::pathBarFollowsTheListing()
{
    list(sftpShaped(), QStringLiteral("/user-01/docs"));
    auto *bar = m_page->findChild<VorFilePath *>(QStringLiteral("widgetPath"));
    QStringList shown;
    for (QPushButton *button : bar->findChildren<QPushButton *>()) {
        if (button->isVisibleTo(bar))
            shown << button->text();
    }
    QCOMPARE(shown, QStringList({ QStringLiteral("user-01"), QStringLiteral("docs") }));
}

void TestVorPageSave::locationSwitch_data()
{
    QTest::addColumn<bool>("pub");
    QTest::addColumn<bool>("pri");
    QTest::newRow("object store") << true << false;
    QTest::newRow("sftp") << false << true;
    QTest::newRow("neither") << false << false;
}

void TestVorPageSave::locationSwitch()
{
    QFETCH(bool, pub);
    QFETCH(bool, pri);
    auto *location = m_page->findChild<VorLocation *>(QStringLiteral("widgetLocation"));
    QVERIFY(!location->findChild<QPushButton *>(QStringLiteral("pushButtonPublic"))->isVisibleTo(location));
    QVERIFY(!location->findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"))->isVisibleTo(location));

    VorData::instance()->updateSaveLocation(pub, pri);
    QCOMPARE(location->findChild<QPushButton *>(QStringLiteral("pushButtonPublic"))->isVisibleTo(location), pub);
    QCOMPARE(location->findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"))->isVisibleTo(location), pri);
    VorData::instance()->updateSaveLocation(false, false);
}

void TestVorPageSave::headerSelectsAndClearsAll()
{
    list(sampleShaped());
    auto *header = qobject_cast<SCheckBoxHeaderView *>(table()->horizontalHeader());
    const QVector<bool> none(table()->rowCount(), false);
    const QVector<bool> all(table()->rowCount(), true);

    clickHeaderAt(0);
    QVERIFY(header->isChecked());
    QCOMPARE(checkedRows(), all);

    clickHeaderAt(2); // not the check column
    QCOMPARE(checkedRows(), all);

    clickHeaderAt(0);
    QVERIFY(!header->isChecked());
    QCOMPARE(checkedRows(), none);
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageSave::headerStateSurvivesNewListing()
{
    list(sampleShaped());
    clickHeaderAt(0);
    list(sftpShaped());
    QVERIFY(qobject_cast<SCheckBoxHeaderView *>(table()->horizontalHeader())->isChecked());
    QCOMPARE(checkedRows(), QVector<bool>(sftpShaped().size(), false));
}

void TestVorPageSave::itemCellTogglesItsRow_data()
{
    QTest::addColumn<int>("column");
    QTest::newRow("storage class") << 2;
    QTest::newRow("size") << 3;
    QTest::newRow("modified") << 4;
}

void TestVorPageSave::itemCellTogglesItsRow()
{
    QFETCH(int, column);
    list(sftpShaped());
    QVector<bool> expected(table()->rowCount(), false);

    clickItem(2, column);
    expected[2] = true;
    QCOMPARE(checkedRows(), expected);
    QVERIFY(!qobject_cast<SCheckBoxHeaderView *>(table()->horizontalHeader())->isChecked());

    clickItem(2, column);
    expected[2] = false;
    QCOMPARE(checkedRows(), expected);
}

void TestVorPageSave::downloadWithNothingChecked()
{
    list(sampleShaped());
    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonYes"));
    QTest::mouseClick(pageButton("pushButtonDown"), Qt::LeftButton);

    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().at(0).title, QStringLiteral("错误"));
    QCOMPARE(answerer.seen().at(0).text, QStringLiteral("没有勾选需要下载的文件"));
    QVERIFY(!answerer.seen().at(0).noButtonVisible);
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageSave::downloadCheckedRows()
{
    list(sampleShaped());
    rowCheckBox(1)->click();
    rowCheckBox(4)->click();
    LogTail log;
    QTest::mouseClick(pageButton("pushButtonDown"), Qt::LeftButton);

    // The checked rows travel as their records; the back end sees one download per row.
    const QList<FileEntry *> &entries = VorData::instance()->fileInfos();
    const auto asInt = [](FileEntry *entry) { return static_cast<int>(reinterpret_cast<quintptr>(entry)); };
    QCOMPARE(m_backend->calls,
             QStringList({ QStringLiteral("download %1").arg(asInt(entries.at(1))),
                           QStringLiteral("download %1").arg(asInt(entries.at(4))) }));
    QCOMPARE(checkedRows().count(true), 2); // nothing is unchecked behind the user's back
}

void TestVorPageSave::downloadOneRow()
{
    list(sampleShaped());
    QTest::mouseClick(handleCell(2)->findChild<QPushButton *>(QStringLiteral("pushButtonDown")), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { QStringLiteral("download 2") });
}

void TestVorPageSave::searchTrimsThePrefix()
{
    list(sampleShaped());
    auto *search = m_page->findChild<QLineEdit *>(QStringLiteral("lineEdit"));
    QTest::keyClicks(search, QStringLiteral("  Name1 "));
    QTest::keyClick(search, Qt::Key_Return);
    QVERIFY(m_backend->calls.isEmpty()); // only the button searches

    QTest::mouseClick(pageButton("pushButtonRefresh"), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { QStringLiteral("getFileInfo /user-01 Name1") });
}

void TestVorPageSave::makeFolder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("fails");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QStringList>("dialogs");

    const QString ask = QStringLiteral("新建文件夹|文件夹名称：");
    QTest::newRow("created") << Home << "pushButtonYes"
                             << "photos" << false
                             << QStringList { "createDir /user-01/photos", "getFileInfo /user-01 /user-01" }
                             << QStringList { ask, "成功|新建文件夹成功" };
    QTest::newRow("refused by the server") << Home << "pushButtonYes"
                                           << "photos" << true << QStringList { "createDir /user-01/photos" }
                                           << QStringList { ask, "失败|新建文件夹失败" };
    QTest::newRow("cancelled") << Home << "pushButtonNo"
                               << "photos" << false << QStringList {} << QStringList { ask };
    QTest::newRow("closed") << Home << "pushButtonClose"
                            << "photos" << false << QStringList {} << QStringList { ask };
    QTest::newRow("at the root") << "/"
                                 << "pushButtonYes"
                                 << "top" << false << QStringList { "createDir //top", "getFileInfo / /" }
                                 << QStringList { ask, "成功|新建文件夹成功" };
    QTest::newRow("name taken as typed") << Home << "pushButtonYes"
                                         << " a b " << false
                                         << QStringList { "createDir /user-01/ a b ", "getFileInfo /user-01 /user-01" }
                                         << QStringList { ask, "成功|新建文件夹成功" };
}

void TestVorPageSave::makeFolder()
{
    QFETCH(QString, path);
    QFETCH(QString, answer);
    QFETCH(QString, typed);
    QFETCH(bool, fails);
    QFETCH(QStringList, calls);
    QFETCH(QStringList, dialogs);

    list(sftpShaped(), path);
    m_backend->failFolderOperations = fails;
    ModalAnswerer answerer;
    answerer.answer(answer, typed);
    if (dialogs.size() > 1)
        answerer.answer(QStringLiteral("pushButtonYes"));
    QTest::mouseClick(pageButton("pushButtonMkDir"), Qt::LeftButton);

    QCOMPARE(answerer.pending(), 0);
    QStringList seen;
    for (const ModalAnswerer::Seen &dialog : answerer.seen())
        seen << dialog.title + QLatin1Char('|') + dialog.text;
    QCOMPARE(seen, dialogs);
    QCOMPARE(m_backend->calls, calls);
}

void TestVorPageSave::rename_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("fails");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QStringList>("dialogs");

    const QString ask = QStringLiteral("重命名|重命名");
    QTest::newRow("renamed") << "pushButtonYes"
                             << "new.txt" << false
                             << QStringList { "rename /user-01/notes.txt /user-01/new.txt",
                                              "getFileInfo /user-01 /user-01" }
                             << QStringList { ask, "成功|改名成功" };
    QTest::newRow("empty name") << "pushButtonYes"
                                << "" << false
                                << QStringList { "rename /user-01/notes.txt /user-01/",
                                                 "getFileInfo /user-01 /user-01" }
                                << QStringList { ask, "成功|改名成功" };
    QTest::newRow("refused by the server")
        << "pushButtonYes"
        << "new.txt" << true << QStringList { "rename /user-01/notes.txt /user-01/new.txt" }
        << QStringList { ask, "错误|folder operation failed" };
    QTest::newRow("cancelled") << "pushButtonNo"
                               << "new.txt" << false << QStringList {} << QStringList { ask };
}

void TestVorPageSave::rename()
{
    QFETCH(QString, answer);
    QFETCH(QString, typed);
    QFETCH(bool, fails);
    QFETCH(QStringList, calls);
    QFETCH(QStringList, dialogs);

    list(sftpShaped());
    m_backend->failFolderOperations = fails;
    ModalAnswerer answerer;
    answerer.answer(answer, typed);
    if (dialogs.size() > 1)
        answerer.answer(QStringLiteral("pushButtonYes"));
    QPointer<QPushButton> button = handleCell(2)->findChild<QPushButton *>(QStringLiteral("pushButtonRename"));
    QTest::mouseClick(button, Qt::LeftButton);

    QCOMPARE(answerer.pending(), 0);
    QStringList seen;
    for (const ModalAnswerer::Seen &dialog : answerer.seen())
        seen << dialog.title + QLatin1Char('|') + dialog.text;
    QCOMPARE(seen, dialogs);
    QCOMPARE(m_backend->calls, calls);
}

void TestVorPageSave::copyLinkIsHiddenButWorks()
{
    QList<ListedEntry> listing = namedEntries(3);
    list(listing);
    for (int row = 0; row < listing.size(); ++row) {
        auto *copy = handleCell(row)->findChild<QPushButton *>(QStringLiteral("pushButtonCopy"));
        QVERIFY(!copy->isVisible());
        QCOMPARE(copy->text(), QStringLiteral("复制链接"));
    }
    handleCell(1)->findChild<QPushButton *>(QStringLiteral("pushButtonCopy"))->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("link:entry1"));
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageSave::enterByName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QString>("pathShown");

    QTest::newRow("folder") << "docs" << QStringList { "getFileInfo /user-01/docs " } << "user-01/docs";
    QTest::newRow("parent") << ".." << QStringList { "getFileInfo / " } << "";
    QTest::newRow("file") << "notes.txt" << QStringList {} << "user-01";
}

void TestVorPageSave::enterByName()
{
    QFETCH(QString, name);
    QFETCH(QStringList, calls);
    QFETCH(QString, pathShown);

    list(sftpShaped());
    int row = 0;
    while (row < table()->rowCount() && nameCell(row)->findChild<QLabel *>(QStringLiteral("label"))->text() != name)
        ++row;
    QVERIFY(row < table()->rowCount());

    QPointer<QWidget> dirFile = nameCell(row)->findChild<QWidget *>(QStringLiteral("widgetDirFile"));
    QTest::mouseClick(dirFile, Qt::LeftButton);
    QCOMPARE(m_backend->calls, calls);

    auto *bar = m_page->findChild<VorFilePath *>(QStringLiteral("widgetPath"));
    QStringList shown;
    for (QPushButton *button : bar->findChildren<QPushButton *>()) {
        if (button->isVisibleTo(bar))
            shown << button->text();
    }
    QCOMPARE(shown.join(QLatin1Char('/')), pathShown);

    // Another button, or a release off the name, opens nothing.
    m_backend->calls.clear();
    list(sftpShaped());
    dirFile = nameCell(1)->findChild<QWidget *>(QStringLiteral("widgetDirFile"));
    QTest::mouseClick(dirFile, Qt::RightButton);
    QTest::mousePress(dirFile, Qt::LeftButton);
    QTest::mouseRelease(dirFile, Qt::LeftButton, Qt::NoModifier, QPoint(-5, -5));
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageSave::deleteEntry_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QStringList>("calls");
    QTest::newRow("confirmed") << "pushButtonYes" << QStringList { "deleteFile /user-01/notes.txt" };
    QTest::newRow("cancelled") << "pushButtonNo" << QStringList {};
    QTest::newRow("closed") << "pushButtonClose" << QStringList {};
}

void TestVorPageSave::deleteEntry()
{
    QFETCH(QString, answer);
    QFETCH(QStringList, calls);

    list(sftpShaped());
    ModalAnswerer answerer;
    answerer.answer(answer);
    QTest::mouseClick(handleCell(2)->findChild<QPushButton *>(QStringLiteral("pushButtonDelete")), Qt::LeftButton);

    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().at(0).title, QStringLiteral("删除"));
    QCOMPARE(answerer.seen().at(0).text, QStringLiteral("确认删除notes.txt"));
    QVERIFY(answerer.seen().at(0).noButtonVisible);
    QCOMPARE(m_backend->calls, calls);
    QCOMPARE(table()->rowCount(), sftpShaped().size()); // no refresh after a delete request
}

void TestVorPageSave::uploadButtonOpensItsMenu()
{
    QPushButton *up = pageButton("pushButtonUp");
    QMenu *menu = up->menu();
    QVERIFY(menu);
    QCOMPARE(menu->minimumWidth(), 160);
    QCOMPARE(menu->maximumWidth(), 160);
    QCOMPARE(menu->cursor().shape(), Qt::PointingHandCursor);

    QStringList shownActions;
    QTimer closer;
    closer.setInterval(10);
    connect(&closer, &QTimer::timeout, this, [&] {
        auto *popup = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!popup)
            return;
        for (QAction *action : popup->actions())
            shownActions << action->text();
        popup->close();
    });
    closer.start();
    QTest::mouseClick(up, Qt::LeftButton);
    closer.stop();

    QCOMPARE(shownActions, QStringList({ QStringLiteral("上传文件"), QStringLiteral("上传目录") }));
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageSave::uploadActions_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("fileMode");
    QTest::addColumn<bool>("dirsOnly");
    QTest::addColumn<QString>("facadeLog");
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("files") << 0 << "选择文件" << int(QFileDialog::ExistingFiles) << false << "upload" << QStringList {};
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    // Asking for folders only is how the dialog's own helper sets the directory-only mode.
    const int foldersOnly = QFileDialog::DirectoryOnly;
    QT_WARNING_POP
    QTest::newRow("folder") << 1 << "选择文件夹" << foldersOnly << true << "uploadDir" << QStringList { "uploadDir " };
}

void TestVorPageSave::uploadActions()
{
    QFETCH(int, action);
    QFETCH(QString, caption);
    QFETCH(int, fileMode);
    QFETCH(bool, dirsOnly);
    QFETCH(QString, facadeLog);
    QFETCH(QStringList, calls);

    list(sampleShaped());
    FileDialogCanceller canceller(m_page);
    LogTail log;
    pageButton("pushButtonUp")->menu()->actions().at(action)->trigger();

    QCOMPARE(canceller.seen().size(), 1);
    QCOMPARE(canceller.seen().at(0).title, caption);
    QCOMPARE(canceller.seen().at(0).fileMode, fileMode);
    QCOMPARE(canceller.seen().at(0).dirsOnly, dirsOnly);
    QVERIFY(canceller.seen().at(0).parentIsPage);
    // A cancelled choice still reaches the facade, as an empty list or an empty folder.
    const QStringList logged = log.messagesOf(facadeLog);
    QCOMPARE(logged.size(), 1);
    QCOMPARE(logged.at(0), action == 0 ? QStringLiteral("()") : QStringLiteral("\"\""));
    QCOMPARE(m_backend->calls, calls);
}

void TestVorPageSave::columnSizing_data()
{
    QTest::addColumn<QString>("shape");
    QTest::addColumn<bool>("scrolls");
    QTest::addColumn<bool>("nameWiderThanRoom");
    QTest::newRow("empty") << "empty" << false << false;
    QTest::newRow("a few rows") << "sftp" << false << false;
    QTest::newRow("more rows than fit") << "many" << true << false;
    QTest::newRow("name wider than the table") << "long name" << false << true;
}

void TestVorPageSave::columnSizing()
{
    QFETCH(QString, shape);
    QFETCH(bool, scrolls);
    QFETCH(bool, nameWiderThanRoom);

    list(entriesByShape(shape));
    QTableWidget *t = table();
    for (const QSize &size : { QSize(813, 474), QSize(1300, 700), QSize(700, 474) }) {
        const QByteArray where = QStringLiteral("%1x%2").arg(size.width()).arg(size.height()).toUtf8();
        m_page->resize(size);
        QTRY_COMPARE(t->verticalScrollBar()->isVisible(), scrolls);
        QCOMPARE(t->columnWidth(0), 72);
        QTRY_COMPARE(t->columnWidth(1), expectedNameWidth());
        QVERIFY2(t->columnWidth(1) >= UiTestKit::contentWidth(t, 1), where.constData());
        if (nameWiderThanRoom) {
            QCOMPARE(t->columnWidth(1), UiTestKit::contentWidth(t, 1));
            QTRY_VERIFY2(t->horizontalScrollBar()->isVisible(), where.constData());
        } else if (size.width() > 813) {
            // All the room is used and nothing scrolls sideways.
            QTRY_COMPARE(UiTestKit::columnsWidth(t), t->viewport()->width());
            QTRY_VERIFY2(!t->horizontalScrollBar()->isVisible(), where.constData());
        }
    }
}

void TestVorPageSave::redrawsKeepOneSetOfCells()
{
    const int rows = 200;
    list(namedEntries(rows));
    QTableWidget *t = table();
    VorSdk::instance()->refreshSave(QString()); // the first fill is laid out before the scroll bar shows
    UiTestKit::flushDeferredDeletes();
    const int widgetsPerListing = m_page->findChildren<QWidget *>().size();
    // Only the rows in view have cells, each row a full set.
    const int inView = t->rowAt(t->viewport()->height() - 1) + 1;
    QVERIFY(inView > 1 && inView < rows);

    for (int redraw = 0; redraw < 20; ++redraw) {
        VorSdk::instance()->refreshSave(QString());
        UiTestKit::flushDeferredDeletes();
        QCOMPARE(t->rowCount(), rows);
        QCOMPARE(m_page->findChildren<QCheckBox *>().size(), inView);
        QCOMPARE(m_page->findChildren<VorSaveDirFile *>().size(), inView);
        QCOMPARE(m_page->findChildren<VorSaveHandle *>().size(), inView);
        QCOMPARE(t->viewport()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).size(), 3 * inView);
        QCOMPARE(m_page->findChildren<QWidget *>().size(), widgetsPerListing);
    }

    // A shorter listing leaves exactly its own cells.
    list(namedEntries(7));
    UiTestKit::flushDeferredDeletes();
    QCOMPARE(m_page->findChildren<QCheckBox *>().size(), 7);
    QCOMPARE(t->viewport()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).size(), 21);
}

void TestVorPageSave::newListingArrivingDuringAFill_data()
{
    QTest::addColumn<bool>("fromTheQueue");
    QTest::newRow("fill called directly") << false;
    QTest::newRow("fill delivered from the event queue, as at login") << true;
}

void TestVorPageSave::newListingArrivingDuringAFill()
{
    QFETCH(bool, fromTheQueue);

    // A long fill lets queued events through; a newer listing among them replaces the one being drawn
    // (whose records the store frees at that moment), and the table ends with the newer listing.
    VorData *store = VorData::instance();
    auto *storePage = store->mainWindow()->findChild<VorPageSave *>();
    disconnect(store, &VorData::dataUpdateSaveFileInfo, storePage, &VorPageSave::dataUpdateSaveFileInfo);
    const auto fillLong = [store] { store->updateSaveFileInfo(makeEntries(namedEntries(500))); };
    if (fromTheQueue)
        QMetaObject::invokeMethod(store, fillLong, Qt::QueuedConnection);
    QMetaObject::invokeMethod(
        store, [store] { store->updateSaveFileInfo(makeEntries(namedEntries(6, QStringLiteral("newer")))); },
        Qt::QueuedConnection);
    if (fromTheQueue)
        QTRY_COMPARE(table()->rowCount(), 6);
    else
        fillLong();

    QTableWidget *t = table();
    QCOMPARE(t->rowCount(), 6);
    for (int row = 0; row < 6; ++row)
        QCOMPARE(nameCell(row)->findChild<QLabel *>(QStringLiteral("label"))->text(),
                 QStringLiteral("newer%1").arg(row));
    UiTestKit::flushDeferredDeletes();
    QCOMPARE(m_page->findChildren<QCheckBox *>().size(), 6);
    QCOMPARE(t->viewport()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).size(), 18);
    QTest::mouseClick(handleCell(5)->findChild<QPushButton *>(QStringLiteral("pushButtonDown")), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { QStringLiteral("download 5") });
    connect(store, &VorData::dataUpdateSaveFileInfo, storePage, &VorPageSave::dataUpdateSaveFileInfo);
}

QTEST_MAIN(TestVorPageSave)
#include "tst_vorpagesave.moc"
