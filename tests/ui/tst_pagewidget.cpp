#include "uitestkit.h"

#include "model/vordata.h"
#include "support/warningguard.h"
#include "ui/pagewidget.h"

#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QtTest>

// The pager under the task and download tables, driven as a user would: clicks and typing.
class TestPageWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form();
    void layout_data();
    void layout();
    void setMaxPage_data();
    void setMaxPage();
    void setCurrentPageAnnouncesOnlyWhenAsked();
    void typing_data();
    void typing();
    void previousAndNext_data();
    void previousAndNext();
    void clickingAPageNumber();
    void blockSize_data();
    void blockSize();

private:
    QLabel *label(const char *name) const { return m_pager->findChild<QLabel *>(QLatin1String(name)); }
    QList<QLabel *> group(const char *name) const;
    QList<QLabel *> pageLabels() const;
    QString shown() const;
    QStringList currentMarks() const;
    QLabel *pageLabel(const QString &text) const;

    PageWidget *m_pager = nullptr;
};

void TestPageWidget::initTestCase()
{
    WarningGuard::install();
    UiTestKit::allowOffscreenPluginNotices();
    VorData::instance();
}

void TestPageWidget::init()
{
    m_pager = new PageWidget;
    m_pager->resize(600, 30);
    m_pager->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_pager));
}

void TestPageWidget::cleanup()
{
    delete m_pager;
    m_pager = nullptr;
    VERIFY_NO_STRAY_WINDOWS();
    VERIFY_NO_QT_WARNINGS();
}

QList<QLabel *> TestPageWidget::group(const char *name) const
{
    auto *holder = m_pager->findChild<QWidget *>(QLatin1String(name));
    return holder ? holder->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly) : QList<QLabel *>();
}

QList<QLabel *> TestPageWidget::pageLabels() const
{
    return group("leftPagesWidget") + group("centerPagesWidget") + group("rightPagesWidget");
}

// The row of numbers the user sees, left to right, with "…" where a separator shows.
QString TestPageWidget::shown() const
{
    QStringList tokens;
    const auto add = [&](const QList<QLabel *> &labels) {
        for (QLabel *l : labels) {
            if (l->isVisibleTo(m_pager))
                tokens << l->text();
        }
    };
    add(group("leftPagesWidget"));
    if (label("leftSeparateLabel")->isVisibleTo(m_pager))
        tokens << label("leftSeparateLabel")->text();
    add(group("centerPagesWidget"));
    if (label("rightSeparateLabel")->isVisibleTo(m_pager))
        tokens << label("rightSeparateLabel")->text();
    add(group("rightPagesWidget"));
    return tokens.join(QLatin1Char(' '));
}

// The texts of the visible labels marked as the current page.
QStringList TestPageWidget::currentMarks() const
{
    QStringList marked;
    for (QLabel *l : pageLabels()) {
        const QString mark = l->property("currentPage").toString();
        if (mark == QLatin1String("true") && l->isVisibleTo(m_pager))
            marked << l->text();
        else if (mark == QLatin1String("true"))
            marked << QStringLiteral("hidden ") + l->text();
        else if (mark != QLatin1String("false"))
            marked << QStringLiteral("unmarked ") + l->text();
    }
    return marked;
}

QLabel *TestPageWidget::pageLabel(const QString &text) const
{
    for (QLabel *l : pageLabels()) {
        if (l->isVisibleTo(m_pager) && l->text() == text)
            return l;
    }
    return nullptr;
}

void TestPageWidget::form()
{
    QCOMPARE(m_pager->maxPage(), 1);
    QCOMPARE(m_pager->currentPage(), 1);
    QCOMPARE(m_pager->property("currentPage").toInt(), 1);
    QCOMPARE(label("previousPageLabel")->text(), QStringLiteral("<"));
    QCOMPARE(label("previousPageLabel")->toolTip(), QStringLiteral("上一页"));
    QCOMPARE(label("nextPageLabel")->text(), QStringLiteral(">"));
    QCOMPARE(label("nextPageLabel")->toolTip(), QStringLiteral("下一页"));
    QCOMPARE(label("leftSeparateLabel")->text(), QStringLiteral("…"));
    QCOMPARE(label("rightSeparateLabel")->text(), QStringLiteral("…"));
    QCOMPARE(label("label")->text(), QStringLiteral("跳至"));
    QVERIFY(!m_pager->findChildren<QLabel *>().isEmpty());
    bool unitShown = false;
    for (QLabel *l : m_pager->findChildren<QLabel *>())
        unitShown = unitShown || l->text() == QStringLiteral("页");
    QVERIFY(unitShown);

    auto *edit = m_pager->findChild<QLineEdit *>(QStringLiteral("pageLineEdit"));
    auto *validator = qobject_cast<const QIntValidator *>(edit->validator());
    QVERIFY(validator);
    QCOMPARE(validator->bottom(), 1);
    QCOMPARE(validator->top(), 10000000);

    QCOMPARE(pageLabels().size(), 9);
    for (QLabel *l : pageLabels() + QList<QLabel *> { label("previousPageLabel"), label("nextPageLabel") })
        QCOMPARE(l->property("page").toString(), QStringLiteral("true"));
    QCOMPARE(shown(), QStringLiteral("1"));
    QCOMPARE(currentMarks(), QStringList { "1" });
}

void TestPageWidget::layout_data()
{
    QTest::addColumn<int>("pages");
    QTest::addColumn<int>("current");
    QTest::addColumn<QString>("expected");

    QTest::newRow("one page") << 1 << 1 << "1";
    QTest::newRow("five pages") << 5 << 3 << "1 2 3 4 5";
    QTest::newRow("exactly nine pages") << 9 << 9 << "1 2 3 4 5 6 7 8 9";
    QTest::newRow("ten pages, first") << 10 << 1 << "1 2 3 4 5 6 … 8 9 10";
    QTest::newRow("ten pages, last") << 10 << 10 << "1 2 3 … 5 6 7 8 9 10";
    for (int page = 1; page <= 5; ++page)
        QTest::addRow("20 pages, page %d", page) << 20 << page << "1 2 3 4 5 6 … 18 19 20";
    QTest::newRow("20 pages, page 6") << 20 << 6 << "1 2 3 … 5 6 7 … 18 19 20";
    QTest::newRow("20 pages, page 10") << 20 << 10 << "1 2 3 … 9 10 11 … 18 19 20";
    QTest::newRow("20 pages, page 15") << 20 << 15 << "1 2 3 … 14 15 16 … 18 19 20";
    for (int page = 16; page <= 20; ++page)
        QTest::addRow("20 pages, page %d", page) << 20 << page << "1 2 3 … 15 16 17 18 19 20";
    QTest::newRow("100 pages, page 50") << 100 << 50 << "1 2 3 … 49 50 51 … 98 99 100";
}

void TestPageWidget::layout()
{
    QFETCH(int, pages);
    QFETCH(int, current);
    QFETCH(QString, expected);

    QSignalSpy announced(m_pager, &PageWidget::currentPageChanged);
    m_pager->setMaxPage(pages);
    m_pager->setCurrentPage(current);
    QCOMPARE(shown(), expected);
    QCOMPARE(currentMarks(), QStringList { QString::number(current) });
    QCOMPARE(m_pager->property("currentPage").toInt(), current);
    QCOMPARE(announced.count(), 0);
}

void TestPageWidget::setMaxPage_data()
{
    QTest::addColumn<int>("newMax");
    QTest::addColumn<int>("expectedMax");
    QTest::addColumn<int>("expectedPage");
    QTest::newRow("same value keeps the page") << 20 << 20 << 7;
    QTest::newRow("new value returns to page 1") << 30 << 30 << 1;
    QTest::newRow("fewer pages") << 3 << 3 << 1;
    QTest::newRow("zero means one page") << 0 << 1 << 1;
    QTest::newRow("negative means one page") << -5 << 1 << 1;
}

void TestPageWidget::setMaxPage()
{
    QFETCH(int, newMax);
    QFETCH(int, expectedMax);
    QFETCH(int, expectedPage);

    m_pager->setMaxPage(20);
    m_pager->setCurrentPage(7);
    QSignalSpy announced(m_pager, &PageWidget::currentPageChanged);
    m_pager->setMaxPage(newMax);
    QCOMPARE(m_pager->maxPage(), expectedMax);
    QCOMPARE(m_pager->currentPage(), expectedPage);
    QCOMPARE(currentMarks(), QStringList { QString::number(expectedPage) });
    QCOMPARE(announced.count(), 0);
}

void TestPageWidget::setCurrentPageAnnouncesOnlyWhenAsked()
{
    m_pager->setMaxPage(20);
    QSignalSpy announced(m_pager, &PageWidget::currentPageChanged);
    m_pager->setCurrentPage(4);
    QCOMPARE(announced.count(), 0);
    m_pager->setCurrentPage(5, true);
    QCOMPARE(announced.count(), 1);
    QCOMPARE(announced.at(0).at(0).toInt(), 5);
    m_pager->setCurrentPage(5, true); // unchanged: nothing to announce
    QCOMPARE(announced.count(), 1);
    m_pager->setCurrentPage(99, true); // clamped to the last page
    QCOMPARE(m_pager->currentPage(), 20);
    QCOMPARE(announced.at(1).at(0).toInt(), 20);
}

void TestPageWidget::typing_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("expectedPage");
    QTest::addColumn<QList<int>>("announced");

    QTest::newRow("a page, Return") << "7" << int(Qt::Key_Return) << 7 << QList<int> { 7 };
    QTest::newRow("a page, Enter") << "12" << int(Qt::Key_Enter) << 12 << QList<int> { 12 };
    QTest::newRow("zero goes to page 1") << "0" << int(Qt::Key_Return) << 1 << QList<int> { 1 };
    QTest::newRow("past the end goes to the last page") << "25" << int(Qt::Key_Return) << 20 << QList<int> { 20 };
    QTest::newRow("the current page") << "5" << int(Qt::Key_Return) << 5 << QList<int> {};
    QTest::newRow("nothing typed goes to page 1") << "" << int(Qt::Key_Return) << 1 << QList<int> { 1 };
    QTest::newRow("letters are refused") << "ab" << int(Qt::Key_Return) << 1 << QList<int> { 1 };
    QTest::newRow("another key does nothing") << "7" << int(Qt::Key_Tab) << 5 << QList<int> {};
}

void TestPageWidget::typing()
{
    QFETCH(QString, typed);
    QFETCH(int, key);
    QFETCH(int, expectedPage);
    QFETCH(QList<int>, announced);

    m_pager->setMaxPage(20);
    m_pager->setCurrentPage(5);
    QSignalSpy spy(m_pager, &PageWidget::currentPageChanged);
    auto *edit = m_pager->findChild<QLineEdit *>(QStringLiteral("pageLineEdit"));
    edit->setFocus();
    QTest::keyClicks(edit, typed);
    QTest::keyClick(edit, Qt::Key(key));

    QCOMPARE(m_pager->currentPage(), expectedPage);
    QList<int> seen;
    for (const QList<QVariant> &arguments : spy)
        seen << arguments.at(0).toInt();
    QCOMPARE(seen, announced);
    QCOMPARE(currentMarks(), QStringList { QString::number(expectedPage) });
}

void TestPageWidget::previousAndNext_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<QString>("which");
    QTest::addColumn<int>("expectedPage");
    QTest::addColumn<int>("announcements");

    QTest::newRow("previous on page 1") << 1 << "previousPageLabel" << 1 << 0;
    QTest::newRow("next on the last page") << 20 << "nextPageLabel" << 20 << 0;
    QTest::newRow("previous on page 5") << 5 << "previousPageLabel" << 4 << 1;
    QTest::newRow("next on page 5") << 5 << "nextPageLabel" << 6 << 1;
}

void TestPageWidget::previousAndNext()
{
    QFETCH(int, start);
    QFETCH(QString, which);
    QFETCH(int, expectedPage);
    QFETCH(int, announcements);

    m_pager->setMaxPage(20);
    m_pager->setCurrentPage(start);
    QSignalSpy spy(m_pager, &PageWidget::currentPageChanged);
    QTest::mouseClick(label(which.toLatin1().constData()), Qt::LeftButton);
    QCOMPARE(m_pager->currentPage(), expectedPage);
    QCOMPARE(spy.count(), announcements);
    if (announcements)
        QCOMPARE(spy.at(0).at(0).toInt(), expectedPage);
}

void TestPageWidget::clickingAPageNumber()
{
    m_pager->setMaxPage(20);
    QSignalSpy spy(m_pager, &PageWidget::currentPageChanged);
    QLabel *nineteen = pageLabel(QStringLiteral("19"));
    QVERIFY(nineteen);
    QTest::mouseClick(nineteen, Qt::LeftButton);
    QCOMPARE(m_pager->currentPage(), 19);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(shown(), QStringLiteral("1 2 3 … 15 16 17 18 19 20"));
    QCOMPARE(currentMarks(), QStringList { "19" });

    QTest::mouseClick(pageLabel(QStringLiteral("16")), Qt::LeftButton);
    QCOMPARE(m_pager->currentPage(), 16);
    QTest::mouseClick(pageLabel(QStringLiteral("15")), Qt::LeftButton);
    QCOMPARE(shown(), QStringLiteral("1 2 3 … 14 15 16 … 18 19 20"));
    QCOMPARE(spy.count(), 3);
}

void TestPageWidget::blockSize_data()
{
    QTest::addColumn<int>("requested");
    QTest::addColumn<int>("expected");
    QTest::newRow("odd") << 5 << 5;
    QTest::newRow("even is made odd") << 4 << 5;
    QTest::newRow("three") << 3 << 3;
    QTest::newRow("too small") << 2 << 3;
    QTest::newRow("zero") << 0 << 3;
    QTest::newRow("negative") << -1 << 3;
}

void TestPageWidget::blockSize()
{
    QFETCH(int, requested);
    QFETCH(int, expected);
    m_pager->setBlockSize(requested);
    QCOMPARE(m_pager->blockSize(), expected);
    QCOMPARE(pageLabels().size(), 9); // the labels were built with the size the constructor used
}

QTEST_MAIN(TestPageWidget)
#include "tst_pagewidget.moc"
