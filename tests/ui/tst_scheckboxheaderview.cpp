#include "support/warningguard.h"
#include "ui/scheckboxheaderview.h"

#include <QImage>
#include <QSignalSpy>
#include <QTableWidget>
#include <QtTest>

namespace {

struct Table
{
    QTableWidget table { 2, 3 };
    SCheckBoxHeaderView *header = new SCheckBoxHeaderView(Qt::Horizontal, &table);

    Table()
    {
        table.setHorizontalHeader(header);
        for (int column = 0; column < 3; ++column)
            header->resizeSection(column, 100);
        table.resize(400, 200);
        table.show();
    }
    QPoint inColumn(int column, int dx = 50) const { return QPoint(column * 100 + dx, header->height() / 2); }
};

} // namespace

class TestSCheckBoxHeaderView : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { WarningGuard::install(); }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void clickToggles_data();
    void clickToggles();
    void otherColumnStillReachesBase();
    void drawsCheckedState();
};

void TestSCheckBoxHeaderView::clickToggles_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("dx");
    QTest::addColumn<QList<bool>>("emitted");
    QTest::newRow("centre of the check column") << 0 << 50 << QList<bool> { true, false };
    QTest::newRow("edge of the check column") << 0 << 2 << QList<bool> { true, false };
    QTest::newRow("other column") << 1 << 50 << QList<bool>();
}

void TestSCheckBoxHeaderView::clickToggles()
{
    QFETCH(int, column);
    QFETCH(int, dx);
    QFETCH(QList<bool>, emitted);
    Table t;
    QSignalSpy spy(t.header, &SCheckBoxHeaderView::checkStausChange);
    QTest::mouseClick(t.header->viewport(), Qt::LeftButton, Qt::NoModifier, t.inColumn(column, dx));
    QTest::mouseClick(t.header->viewport(), Qt::LeftButton, Qt::NoModifier, t.inColumn(column, dx));
    QList<bool> seen;
    for (const QList<QVariant> &arguments : qAsConst(spy))
        seen << arguments.at(0).toBool();
    QCOMPARE(seen, emitted);
    QCOMPARE(t.header->isChecked(), false);
}

void TestSCheckBoxHeaderView::otherColumnStillReachesBase()
{
    Table t;
    t.header->setSectionsClickable(true);
    QSignalSpy pressed(t.header, &QHeaderView::sectionPressed);
    QTest::mouseClick(t.header->viewport(), Qt::LeftButton, Qt::NoModifier, t.inColumn(2));
    QTest::mouseClick(t.header->viewport(), Qt::LeftButton, Qt::NoModifier, t.inColumn(0));
    QCOMPARE(pressed.count(), 2);
}

void TestSCheckBoxHeaderView::drawsCheckedState()
{
    Table t;
    const QImage unchecked = t.header->grab().toImage();
    QTest::mouseClick(t.header->viewport(), Qt::LeftButton, Qt::NoModifier, t.inColumn(0));
    const QImage checked = t.header->grab().toImage();
    QVERIFY(unchecked != checked);
    const QRect otherColumns(110, 0, 190, t.header->height());
    QCOMPARE(unchecked.copy(otherColumns), checked.copy(otherColumns));
}

QTEST_MAIN(TestSCheckBoxHeaderView)
#include "tst_scheckboxheaderview.moc"
