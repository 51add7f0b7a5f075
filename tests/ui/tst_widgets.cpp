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

    void dialogs_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("action"); // what the user does: a button, Escape, or a close request
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("buttons"); // visible: yes, no, the title bar's close
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("handedBack"); // the input line's text, once the input dialog closed
        const QString failed = QStringLiteral("登录服务器失败，请检查你的授权码是否有效！\n错误信息：连接被拒绝");
        QTest::newRow("choice confirmed") << "choice"
                                          << "退出"
                                          << "确认退出？"
                                          << "pushButtonYes" << QString() << "确定 取消 X" << 1 << QString();
        QTest::newRow("choice, Escape") << "choice"
                                        << "退出"
                                        << "确认退出？"
                                        << "Escape" << QString() << "确定 取消 X" << 0 << QString();
        QTest::newRow("message, line kept")
            << "message"
            << "错误" << failed << "pushButtonYes" << QString() << "确定 X" << 1 << QString();
        QTest::newRow("message, X") << "message"
                                    << "错误" << failed << "pushButtonClose" << QString() << "确定 X" << 0 << QString();
        QTest::newRow("rename confirmed") << "rename"
                                          << "重命名"
                                          << "名称"
                                          << "pushButtonYes"
                                          << "新名字"
                                          << "确定 取消 X" << 1 << "新名字";
        QTest::newRow("rename cancelled") << "rename"
                                          << "重命名"
                                          << "名称"
                                          << "pushButtonNo"
                                          << "新名字"
                                          << "确定 取消 X" << 0 << "新名字";
        QTest::newRow("rename, closed") << "rename"
                                        << "重命名"
                                        << "名称"
                                        << "close" << QString() << "确定 取消 X" << 0 << "旧名字";
        QTest::newRow("wait, Escape") << "wait"
                                      << "登录中"
                                      << "请稍等..."
                                      << "Escape" << QString() << "" << 1 << QString();
        QTest::newRow("wait, closed") << "wait"
                                      << "退出中"
                                      << "请稍等..."
                                      << "close" << QString() << "" << 1 << QString();
    }
    void dialogs()
    {
        QFETCH(QString, kind);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QFETCH(QString, action);
        QFETCH(QString, typed);
        ModalAnswerer answerer;
        answerer.answer(action, typed);
        QString handedBack;
        static std::atomic<bool> workDone; // outlives the test function, as the worker may
        workDone = false;
        QPointer<QThread> worker = QThread::create([] {
            QThread::msleep(900); // long enough for the user to try to leave
            workDone = true;
        });
        int result = -1;
        if (kind == "choice")
            result = VorDialog::showChoice(title, text, nullptr, "确定", "取消");
        else if (kind == "message")
            result = VorDialog::showMessage(title, text, nullptr, "确定");
        else if (kind == "rename")
            result = VorDialog::showRename(title, text, nullptr, handedBack = "旧名字", "确定", "取消");
        else
            result = VorDialog::showWait(title, text, nullptr, worker);
        const bool workDoneOnReturn = workDone;
        if (kind == "wait")
            QTRY_VERIFY(worker.isNull()); // the finished worker frees itself
        else
            delete worker;
        QVERIFY2(kind != "wait" || workDoneOnReturn, "the wait ended while its worker was still running");

        QCOMPARE(answerer.seen().size(), 1);
        QCOMPARE(answerer.seen()[0].title, title);
        QCOMPARE(answerer.seen()[0].text, text);
        QTEST(answerer.seen()[0].buttons, "buttons");
        QTEST(result, "result");
        QTEST(handedBack, "handedBack");
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
