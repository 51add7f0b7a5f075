#include "support/modalanswerer.h"
#include "support/warningguard.h"
#include "ui/pagewidget.h"
#include "ui/scheckboxheaderview.h"
#include "ui/vorcommontool.h"
#include "ui/vordialog.h"

#include <QtTest>
#include <QtWidgets>

using Emitted = QList<QVariantList>; // what a signal spy saw

// The shared widgets on their own: the pager, the check-box header, the dialogs and the base64 helpers.
class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { WarningGuard::install(); }
    void cleanup()
    {
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
        VERIFY_NO_QT_WARNINGS();
    }

    void pager_data()
    {
        QTest::addColumn<int>("pages");
        QTest::addColumn<int>("typed"); // a page typed into the box, 0 for none
        QTest::addColumn<Emitted>("announced");
        QTest::addColumn<QString>("shown");
        QTest::newRow("new page count") << 30 << 0 << Emitted() << "< [1] 2 3 4 5 6 … 28 29 30 >";
        QTest::newRow("few pages") << 5 << 0 << Emitted() << "< [1] 2 3 4 5 >";
        QTest::newRow("middle") << 20 << 10 << Emitted { { 10 } } << "< 1 2 3 … 9 [10] 11 … 18 19 20 >";
        QTest::newRow("first group") << 20 << 5 << Emitted { { 5 } } << "< 1 2 3 4 [5] 6 … 18 19 20 >";
        QTest::newRow("past the last") << 20 << 25 << Emitted { { 20 } } << "< 1 2 3 … 15 16 17 18 19 [20] >";
    }
    void pager()
    {
        QFETCH(int, pages);
        QFETCH(int, typed);
        PageWidget pager;
        pager.show();
        QSignalSpy spy(&pager, &PageWidget::currentPageChanged);
        pager.setMaxPage(20);
        pager.setCurrentPage(7);
        pager.setMaxPage(pages);
        if (typed)
            QTest::keyClicks(pager.findChild<QLineEdit *>(), QString::number(typed) + "\r");
        QStringList shown; // as the user reads it: "…" where pages are left out, the current page in brackets
        for (QLabel *label : pager.findChildren<QLabel *>()) {
            if (label->isVisibleTo(&pager) && (label->property("page").isValid() || label->text() == "…"))
                shown << (label->property("currentPage") == "true" ? "[" + label->text() + "]" : label->text());
        }
        QTEST(shown.join(' '), "shown");
        QTEST(Emitted(spy), "announced");
    }

    void checkBoxHeader()
    {
        QTableWidget table(2, 3);
        auto *header = new SCheckBoxHeaderView(Qt::Horizontal, &table);
        table.setHorizontalHeader(header);
        header->setSectionsClickable(true);
        table.show();
        QSignalSpy announced(header, &SCheckBoxHeaderView::checkStausChange);
        QSignalSpy pressed(header, &QHeaderView::sectionPressed);
        for (int column : { 0, 1, 0 })
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionPosition(column) + 5, 5));
        QCOMPARE(Emitted(announced), (Emitted { { true }, { false } }));
        QCOMPARE(pressed.count(), 3); // the header's own handling still sees the check column's clicks
    }

    void dialogs()
    {
        ModalAnswerer answerer; // the wait dialogs close by themselves, or not at all
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

    void base64()
    {
        QCOMPARE(VorCommonTool::toBase64("授权"), QStringLiteral("5o6I5p2D"));
        // Bytes read as Latin-1; a line break is skipped and a zero byte ends the text.
        QCOMPARE(VorCommonTool::fromBase64("5o6I\n5p2DAGE="), QString::fromLatin1("\xe6\x8e\x88\xe6\x9d\x83"));
    }
};

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
