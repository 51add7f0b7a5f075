#include "uitestkit.h"

#include "app/vormain.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/pagewidget.h"
#include "ui/vorpagedownload.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QtTest>

namespace {

DownloadInfo *makeRecord(int id, const QString &name, const QDateTime &started, const QDateTime &finished,
                         const QTime &elapsed)
{
    auto *record = new DownloadInfo;
    record->id = id;
    record->name = name;
    record->started = started;
    record->finished = finished;
    record->isDir = false;
    record->size = QStringLiteral("%1KB").arg(id + 100);
    record->elapsed = QDateTime(started.date(), elapsed);
    return record;
}

QList<DownloadInfo *> makeRecords(int count)
{
    QList<DownloadInfo *> records;
    const QDateTime when(QDate(2026, 1, 2), QTime(3, 4, 5));
    for (int i = 0; i < count; ++i)
        records << makeRecord(i, QStringLiteral("Name%1").arg(i + 1), when, when, QTime(0, 0, 1));
    return records;
}

} // namespace

class TestVorPageDownload : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form();
    void rowShowsItsRecord_data();
    void rowShowsItsRecord();
    void storePageIsFilled();
    void searchTextIsPassedAsTyped_data();
    void searchTextIsPassedAsTyped();
    void refreshTwiceRedrawsTwice();
    void onlyTheNameColumnWidens_data();
    void onlyTheNameColumnWidens();
    void columnSizing_data();
    void columnSizing();

private:
    void show(const QList<DownloadInfo *> &records);
    QTableWidget *table() const { return m_page->findChild<QTableWidget *>(QStringLiteral("tableWidget")); }
    int expectedNameWidth() const;

    RecordingBackend *m_backend = nullptr;
    VorPageDownload *m_page = nullptr;
};

void TestVorPageDownload::initTestCase()
{
    WarningGuard::install();
    UiTestKit::allowOffscreenPluginNotices();
    VorData::instance();
}

void TestVorPageDownload::init()
{
    m_backend = UiTestKit::installRecorder();
    m_page = new VorPageDownload;
    connect(VorData::instance(), &VorData::dataUpdateDownloadInfo, m_page, &VorPageDownload::dataUpdateDownloadInfo);
    m_page->resize(813, 474);
    m_page->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_page));
}

void TestVorPageDownload::cleanup()
{
    delete m_page;
    m_page = nullptr;
    VorData::instance()->updateDownloadInfo({});
    VorSdk::instance()->exit();
    VERIFY_NO_STRAY_WINDOWS();
    VERIFY_NO_QT_WARNINGS();
}

void TestVorPageDownload::show(const QList<DownloadInfo *> &records)
{
    VorData::instance()->updateDownloadInfo(records);
    QCoreApplication::processEvents();
}

int TestVorPageDownload::expectedNameWidth() const
{
    QTableWidget *t = table();
    int used = 0;
    for (int column = 0; column < t->columnCount(); ++column) {
        if (column != 1)
            used += t->columnWidth(column);
    }
    if (t->verticalScrollBar()->isVisible())
        used += t->verticalScrollBar()->width();
    return qMax(t->width() - used - 2, UiTestKit::contentWidth(t, 1));
}

void TestVorPageDownload::form()
{
    QCOMPARE(m_page->objectName(), QStringLiteral("VorPageDownload"));
    QCOMPARE(m_page->findChild<QWidget *>(QStringLiteral("widgetButton"))->minimumHeight(), 38);
    auto *search = m_page->findChild<QLineEdit *>(QStringLiteral("lineEdit"));
    QCOMPARE(search->placeholderText(), QStringLiteral("输入对象名称搜索"));
    auto *refresh = m_page->findChild<QPushButton *>(QStringLiteral("pushButtonRefresh"));
    QCOMPARE(refresh->minimumSize(), QSize(60, 38));
    QCOMPARE(refresh->maximumSize(), QSize(60, 38));
    QVERIFY(!refresh->icon().pixmap(30, 30).isNull());
    QVERIFY(!refresh->toolTip().isEmpty());

    QTableWidget *t = table();
    QCOMPARE(t->columnCount(), 6);
    const QStringList headers
        = { QStringLiteral("编号"),         QStringLiteral("对象名称"), QStringLiteral("下载开始时间"),
            QStringLiteral("下载完成时间"), QStringLiteral("大小"),     QStringLiteral("耗时") };
    for (int column = 0; column < headers.size(); ++column)
        QCOMPARE(t->horizontalHeaderItem(column)->text(), headers.at(column));
    QCOMPARE(t->editTriggers(), QAbstractItemView::NoEditTriggers);
    QCOMPARE(t->selectionMode(), QAbstractItemView::NoSelection);

    auto *pager = m_page->findChild<PageWidget *>(QStringLiteral("widgetPage"));
    QVERIFY(pager);
    QCOMPARE(pager->maxPage(), 50);
    QCOMPARE(pager->currentPage(), 1);
    QCOMPARE(pager->minimumHeight(), 30);
}

void TestVorPageDownload::rowShowsItsRecord_data()
{
    QTest::addColumn<QDateTime>("started");
    QTest::addColumn<QDateTime>("finished");
    QTest::addColumn<QTime>("elapsed");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("same day") << QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7))
                              << QDateTime(QDate(2026, 3, 4), QTime(17, 8, 9)) << QTime(12, 2, 2)
                              << QStringList { "7",     "Name8",   "2026-03-04 05:06:07", "2026-03-04 17:08:09",
                                               "107KB", "12:02:02" };
    QTest::newRow("across midnight") << QDateTime(QDate(2026, 12, 31), QTime(23, 59, 59))
                                     << QDateTime(QDate(2027, 1, 1), QTime(0, 0, 1)) << QTime(0, 0, 2)
                                     << QStringList { "7",     "Name8",   "2026-12-31 23:59:59", "2027-01-01 00:00:01",
                                                      "107KB", "00:00:02" };
    QTest::newRow("afternoon on a 24-hour clock")
        << QDateTime(QDate(2026, 7, 8), QTime(13, 14, 15)) << QDateTime(QDate(2026, 7, 8), QTime(21, 22, 23))
        << QTime(13, 14, 15)
        << QStringList { "7", "Name8", "2026-07-08 13:14:15", "2026-07-08 21:22:23", "107KB", "13:14:15" };
}

void TestVorPageDownload::rowShowsItsRecord()
{
    QFETCH(QDateTime, started);
    QFETCH(QDateTime, finished);
    QFETCH(QTime, elapsed);
    QFETCH(QStringList, texts);

    QList<DownloadInfo *> records = makeRecords(2);
    records << makeRecord(7, QStringLiteral("Name8"), started, finished, elapsed);
    show(records);

    QTableWidget *t = table();
    QCOMPARE(t->rowCount(), 3);
    for (int column = 0; column < texts.size(); ++column) {
        QTableWidgetItem *item = t->item(2, column);
        QVERIFY(item);
        QCOMPARE(item->text(), texts.at(column));
        QCOMPARE(item->textAlignment(), int(Qt::AlignCenter));
    }
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageDownload::storePageIsFilled()
{
    show(makeRecords(4));
    auto *storePage = VorData::instance()->mainWindow()->findChild<VorPageDownload *>();
    QVERIFY(storePage);
    QCOMPARE(storePage->findChild<QTableWidget *>(QStringLiteral("tableWidget"))->rowCount(), 4);
}

void TestVorPageDownload::searchTextIsPassedAsTyped_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("byReturn");
    QTest::newRow("leading and trailing blanks") << "  Name1 " << false;
    QTest::newRow("nothing typed") << "" << false;
    QTest::newRow("Return in the box") << " Name2" << true;
}

void TestVorPageDownload::searchTextIsPassedAsTyped()
{
    QFETCH(QString, typed);
    QFETCH(bool, byReturn);

    auto *search = m_page->findChild<QLineEdit *>(QStringLiteral("lineEdit"));
    search->setFocus();
    QTest::keyClicks(search, typed);
    QVERIFY(m_backend->calls.isEmpty()); // typing alone does not search
    if (byReturn)
        QTest::keyClick(search, Qt::Key_Return);
    else
        QTest::mouseClick(m_page->findChild<QPushButton *>(QStringLiteral("pushButtonRefresh")), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { QStringLiteral("refreshDown ") + typed });
}

void TestVorPageDownload::refreshTwiceRedrawsTwice()
{
    auto *refresh = m_page->findChild<QPushButton *>(QStringLiteral("pushButtonRefresh"));
    m_backend->downloadCount = 3;
    QTest::mouseClick(refresh, Qt::LeftButton);
    QCOMPARE(table()->rowCount(), 3);
    m_backend->downloadCount = 5;
    QTest::mouseClick(refresh, Qt::LeftButton);
    QCOMPARE(table()->rowCount(), 5);
    QCOMPARE(table()->item(4, 1)->text(), QStringLiteral("down4"));
    QCOMPARE(m_backend->calls, QStringList({ QStringLiteral("refreshDown "), QStringLiteral("refreshDown ") }));
}

void TestVorPageDownload::onlyTheNameColumnWidens_data()
{
    QTest::addColumn<int>("rows");
    QTest::newRow("a few rows") << 3;
    QTest::newRow("more rows than fit") << 40;
}

void TestVorPageDownload::onlyTheNameColumnWidens()
{
    QFETCH(int, rows);
    show(makeRecords(rows));
    QTableWidget *t = table();
    QTRY_COMPARE(t->columnWidth(1), expectedNameWidth());
    QList<int> before;
    for (int column = 0; column < t->columnCount(); ++column)
        before << t->columnWidth(column);
    const int tableWidth = t->width();

    m_page->resize(m_page->width() + 300, m_page->height());
    QTRY_COMPARE(t->width(), tableWidth + 300);
    QTRY_COMPARE(t->columnWidth(1), before.at(1) + 300);
    for (int column = 0; column < t->columnCount(); ++column) {
        if (column != 1)
            QCOMPARE(t->columnWidth(column), before.at(column));
    }
}

void TestVorPageDownload::columnSizing_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("scrolls");
    QTest::newRow("empty") << 0 << false;
    QTest::newRow("a few rows") << 3 << false;
    QTest::newRow("more rows than fit") << 40 << true;
}

void TestVorPageDownload::columnSizing()
{
    QFETCH(int, rows);
    QFETCH(bool, scrolls);
    show(makeRecords(rows));
    QTableWidget *t = table();
    for (const QSize &size : { QSize(813, 474), QSize(1200, 600), QSize(900, 474) }) {
        const QByteArray where = QStringLiteral("%1x%2").arg(size.width()).arg(size.height()).toUtf8();
        m_page->resize(size);
        QTRY_COMPARE(t->verticalScrollBar()->isVisible(), scrolls);
        QTRY_COMPARE(t->columnWidth(1), expectedNameWidth());
        QVERIFY2(t->columnWidth(1) >= UiTestKit::contentWidth(t, 1), where.constData());
        // Column 0 keeps the width of its content.
        QCOMPARE(t->columnWidth(0), UiTestKit::contentWidth(t, 0));
        QTRY_COMPARE(UiTestKit::columnsWidth(t), t->viewport()->width());
        QTRY_VERIFY2(!t->horizontalScrollBar()->isVisible(), where.constData());
    }
}

QTEST_MAIN(TestVorPageDownload)
#include "tst_vorpagedownload.moc"
