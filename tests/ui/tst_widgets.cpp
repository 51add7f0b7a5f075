#include "app/vormain.h"
#include "support/modalanswerer.h"
#include "support/warningguard.h"
#include "ui/pagewidget.h"
#include "ui/vordialog.h"

using Emitted = QList<QVariantList>; // what a signal spy saw
struct DialogCase // action: a button, Escape, or a close request (Alt+F4, the window's menu); buttons: those in view
{
    QString kind, action, typed, buttons;
    int result;
    QString handedBack; // the input line's text once closed, prefilled 旧名字
};
Q_DECLARE_METATYPE(DialogCase)

// The shared widgets on their own: the pager and the dialogs.
class TestWidgets : public QObject
{
    Q_OBJECT

public:
    static void initMain() { followScreenScale(); } // before the application exists, as in the program

private slots:
    void initTestCase()
    {
        WarningGuard::install();
        qApp->setStyleSheet("file:///:/qss/ombrivane.css");
    }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void pager_data()
    {
        QTest::addColumn<int>("pages"); // given after 20 pages with page 7 current
        QTest::addColumn<QString>("typed"); // into the page box, then the key
        QTest::addColumn<int>("key");
        QTest::addColumn<Emitted>("announced");
        QTest::addColumn<QString>("shown");
        const int none = Qt::Key_Escape, enter = Qt::Key_Return, keypad = Qt::Key_Enter, right = Qt::Key_Right;
        QTest::newRow("new page count") << 30 << "" << none << Emitted() << "< [1] 2 3 4 5 6 … 28 29 30 >";
        QTest::newRow("1 page") << 1 << "" << none << Emitted() << "< [1] >";
        QTest::newRow("2 pages") << 2 << "" << none << Emitted() << "< [1] 2 >";
        QTest::newRow("9 pages") << 9 << "" << none << Emitted() << "< [1] 2 3 4 5 6 7 8 9 >";
        QTest::newRow("10 pages") << 10 << "" << none << Emitted() << "< [1] 2 3 4 5 6 … 8 9 10 >";
        QTest::newRow("keypad Enter") << 20 << "5" << keypad << Emitted { { 5 } } << "< 1 2 3 4 [5] 6 … 18 19 20 >";
        QTest::newRow("past last") << 20 << "25" << enter << Emitted { { 20 } } << "< 1 2 3 … 15 16 17 18 19 [20] >";
        QTest::newRow("no Enter") << 20 << "10" << none << Emitted() << "< 1 2 3 … 6 [7] 8 … 18 19 20 >";
        // "<" and ">": the key goes to the previous or next label, which Tab reaches.
        QTest::newRow("Right") << 20 << ">" << right << Emitted { { 8 } } << "< 1 2 3 … 7 [8] 9 … 18 19 20 >";
        QTest::newRow("Space on previous")
            << 20 << "<" << int(Qt::Key_Space) << Emitted { { 6 } } << "< 1 2 3 … 5 [6] 7 … 18 19 20 >";
    }
    void pager()
    {
        QFETCH(int, pages);
        QFETCH(QString, typed);
        QFETCH(int, key);
        PageWidget pager;
        QSignalSpy spy(&pager, &PageWidget::currentPageChanged);
        pager.setMaxPage(20);
        pager.setCurrentPage(7);
        pager.setMaxPage(pages);
        QWidget *target = pager.findChild<QLineEdit *>();
        if (typed == "<" || typed == ">")
            target = pager.findChild<QLabel *>(typed == "<" ? "previousPageLabel" : "nextPageLabel");
        else
            QTest::keyClicks(target, typed);
        QTest::keyClick(target, Qt::Key(key), key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier);
        QStringList shown; // as the user reads it: "…" where pages are left out, the highlighted page in brackets
        for (QLabel *label : pager.findChildren<QLabel *>())
            if (label->isVisibleTo(&pager) && (label->property("page").isValid() || label->text() == "…"))
                shown << (label->grab().toImage().pixelColor(2, 2) == "#1890FF" ? "[" + label->text() + "]"
                                                                                : label->text());
        QTEST(shown.join(' '), "shown");
        QTEST(Emitted(spy), "announced");
    }

    void dialogs_data()
    {
        QTest::addColumn<DialogCase>("c");
        using D = DialogCase;
        QTest::newRow("message, X") << D { "message", "pushButtonClose", "", "[X][确定]", 0, "" };
        QTest::newRow("rename, no") << D { "rename", "pushButtonNo", "新名字", "[X][确定][取消]", 0, "新名字" };
        QTest::newRow("choice, Enter") << D { "choice", "Return", "", "[X][确定][取消]", 1, "" };
        QTest::newRow("rename, Enter") << D { "rename", "Return", "新名字", "[X][确定][取消]", 1, "新名字" };
        QTest::newRow("wait, Escape") << D { "wait", "Escape", "", "", 1, "" };
        QTest::newRow("wait, Enter") << D { "wait", "Return", "", "", 1, "" };
        QTest::newRow("wait, closed") << D { "wait", "close", "", "", 1, "" };
    }
    void dialogs()
    {
        QFETCH(DialogCase, c);
        const QString title = c.kind, text = "登录服务器失败！\n错误信息：" + c.kind;
        ModalAnswerer answerer;
        answerer.answer(c.action, c.typed.isEmpty() ? QString() : c.typed);
        QString handedBack;
        QPointer<QThread> worker;
        int result = -1;
        if (c.kind == "message")
            result = VorDialog::showMessage(title, text, nullptr, "确定");
        else if (c.kind == "choice")
            result = VorDialog::showChoice(title, text, nullptr, "确定", "取消");
        else if (c.kind == "rename")
            result = VorDialog::showRename(title, text, nullptr, handedBack = "旧名字", "确定", "取消");
        else // long enough for the user to try to leave
            result = VorDialog::showWait(title, text, nullptr, worker = QThread::create([] { QThread::msleep(900); }));
        QVERIFY2(!worker || worker->isFinished(), "the wait ended while its worker was still running");
        QTRY_VERIFY(worker.isNull()); // the finished worker frees itself
        const ModalAnswerer::Seen seen = answerer.seen().value(0);
        QCOMPARE(seen.title + " | " + seen.text + " | " + seen.buttons, title + " | " + text + " | " + c.buttons);
        QCOMPARE(result, c.result);
        QCOMPARE(handedBack, c.handedBack);
    }

    // In its place and in the screen's own pixels: at 200 % the twice-size drawing, not the small one enlarged.
    void waitAnimation()
    {
        VorDialog dialog;
        dialog.setWait("登录中", "请稍等...", nullptr);
        const QPixmap frame = dialog.findChild<QLabel *>("labelWait")->pixmap(Qt::ReturnByValue);
        const qreal ratio = dialog.devicePixelRatioF();
        QCOMPARE(QSizeF(frame.size()) / frame.devicePixelRatio(), QSizeF(64, 64));
        const QImage drawing(ratio > 1 ? ":/img/WaitMovie@2x.gif" : ":/img/WaitMovie.gif");
        if (ratio == 1 || ratio == 2)
            QCOMPARE(frame.toImage().convertToFormat(QImage::Format_RGB32),
                     drawing.convertToFormat(QImage::Format_RGB32));
    }
};

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
