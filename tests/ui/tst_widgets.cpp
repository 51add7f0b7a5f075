#include "support/modalanswerer.h"
#include "support/warningguard.h"
#include "ui/pagewidget.h"
#include "ui/scheckboxheaderview.h"
#include "ui/vorcommontool.h"
#include "ui/vordialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>
#include <QThread>
#include <QtTest>

// The pager, the check-box header, the dialog and the code helpers, driven as a user would.
class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { WarningGuard::install(); }
    void cleanup()
    {
        VERIFY_NO_QT_WARNINGS();
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    }
    void pager_data();
    void pager();
    void checkBoxHeader();
    void dialogs();
    void base64();
};

// The pager as the user reads it: "…" where pages are left out, the current page in brackets.
static QString shown(const PageWidget &pager)
{
    QStringList texts;
    for (QLabel *label : pager.findChildren<QLabel *>()) {
        if (label->isVisibleTo(&pager) && (label->property("page").isValid() || label->text() == "…"))
            texts << (label->property("currentPage") == "true" ? "[" + label->text() + "]" : label->text());
    }
    return texts.join(' ');
}

void TestWidgets::pager_data()
{
    QTest::addColumn<int>("pages");
    QTest::addColumn<QString>("input"); // a label to click, else a page to type
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QList<int>>("announced");
    QTest::newRow("new page count") << 30 << ""
                                    << "< [1] 2 3 4 5 6 … 28 29 30 >" << QList<int>();
    QTest::newRow("few pages") << 5 << ""
                               << "< [1] 2 3 4 5 >" << QList<int>();
    QTest::newRow("next") << 20 << ">"
                          << "< 1 2 3 … 7 [8] 9 … 18 19 20 >" << QList<int> { 8 };
    QTest::newRow("first group") << 20 << "5"
                                 << "< 1 2 3 4 [5] 6 … 18 19 20 >" << QList<int> { 5 };
    QTest::newRow("last group") << 20 << "19"
                                << "< 1 2 3 … 15 16 17 18 [19] 20 >" << QList<int> { 19 };
    QTest::newRow("past the last") << 20 << "25"
                                   << "< 1 2 3 … 15 16 17 18 19 [20] >" << QList<int> { 20 };
}

void TestWidgets::pager()
{
    QFETCH(int, pages);
    QFETCH(QString, input);
    PageWidget pager;
    pager.show();
    QSignalSpy spy(&pager, &PageWidget::currentPageChanged);
    pager.setMaxPage(20);
    pager.setCurrentPage(7);
    pager.setMaxPage(pages);
    auto *edit = pager.findChild<QLineEdit *>();
    QLabel *label = nullptr;
    for (QLabel *candidate : pager.findChildren<QLabel *>())
        label = candidate->isVisibleTo(&pager) && candidate->text() == input ? candidate : label;
    if (label)
        QTest::mouseClick(label, Qt::LeftButton);
    else if (!input.isEmpty())
        QTest::keyClicks(edit, input + "\r");
    QTEST(shown(pager), "shown");
    QList<int> announced;
    for (const QList<QVariant> &arguments : qAsConst(spy))
        announced << arguments.at(0).toInt();
    QTEST(announced, "announced");
}

void TestWidgets::checkBoxHeader()
{
    QTableWidget table(2, 3);
    auto *header = new SCheckBoxHeaderView(Qt::Horizontal, &table);
    table.setHorizontalHeader(header);
    header->setSectionsClickable(true);
    table.show();
    QSignalSpy announced(header, &SCheckBoxHeaderView::checkStausChange);
    QSignalSpy pressed(header, &QHeaderView::sectionPressed);
    for (int column : { 0, 1, 0 }) {
        const QPoint centre(header->sectionViewportPosition(column) + header->sectionSize(column) / 2, 5);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, centre);
    }
    QCOMPARE(QList<QVariantList>(announced), (QList<QVariantList> { { true }, { false } }));
    QCOMPARE(pressed.count(), 3); // the header's own handling still sees the check column's clicks
}

void TestWidgets::dialogs()
{
    ModalAnswerer answerer;
    answerer.answer("pushButtonNo", "新名字");
    QString typed;
    QCOMPARE(VorDialog::showRename("重命名", "名称", nullptr, typed, "确定", "取消"), 0);
    QCOMPARE(typed, QStringLiteral("新名字")); // handed back even when cancelled

    QPointer<QThread> worker = QThread::create([] {});
    QCOMPARE(VorDialog::showWait("登录中", "请稍等...", nullptr, worker), 1);
    QTRY_VERIFY(worker.isNull());

    VorDialog wait;
    wait.setWait("退出中", "请稍等...", nullptr);
    wait.show();
    QVERIFY(!wait.findChild<QWidget *>("pushButtonClose")->isVisible()); // nothing may abandon the worker
}

void TestWidgets::base64()
{
    QCOMPARE(VorCommonTool::toBase64("授权"), QStringLiteral("5o6I5p2D"));
    // Bytes read as Latin-1; a line break is skipped and a zero byte ends the text.
    QCOMPARE(VorCommonTool::fromBase64("5o6I\n5p2DAGE="), QString::fromLatin1("\xe6\x8e\x88\xe6\x9d\x83"));
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
