#include "support/modalanswerer.h"
#include "support/warningguard.h"
#include "ui/vordialog.h"

#include <QLabel>
#include <QMovie>
#include <QPointer>
#include <QPushButton>
#include <QThread>
#include <QtTest>

namespace {

class SleepingThread : public QThread
{
protected:
    void run() override { QThread::msleep(50); }
};

} // namespace

class TestVorDialog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { WarningGuard::install(); }
    void cleanup();

    void choiceResult_data();
    void choiceResult();
    void messageHasOneButton_data();
    void messageHasOneButton();
    void renameHandsBackTypedText_data();
    void renameHandsBackTypedText();
    void waitClosesWhenThreadFinishes();
    void waitWithoutThreadStaysOpen();
    void dialogIsFrameless();
};

void TestVorDialog::cleanup()
{
    VERIFY_NO_QT_WARNINGS();
    QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
}

void TestVorDialog::choiceResult_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("result");
    QTest::newRow("confirmed") << "pushButtonYes" << 1;
    QTest::newRow("declined") << "pushButtonNo" << 0;
    QTest::newRow("closed") << "pushButtonClose" << 0;
}

void TestVorDialog::choiceResult()
{
    QFETCH(QString, button);
    QFETCH(int, result);
    ModalAnswerer answerer;
    answerer.answer(button);
    QCOMPARE(VorDialog::showChoice("退出", "确认退出？", nullptr, "确定", "取消"), result);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("退出"));
    QCOMPARE(answerer.seen().first().text, QStringLiteral("确认退出？"));
    QVERIFY(answerer.seen().first().noButtonVisible);
}

void TestVorDialog::messageHasOneButton_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("result");
    QTest::newRow("confirmed") << "pushButtonYes" << 1;
    QTest::newRow("closed by X") << "pushButtonClose" << 0;
}

void TestVorDialog::messageHasOneButton()
{
    QFETCH(QString, button);
    QFETCH(int, result);
    ModalAnswerer answerer;
    answerer.answer(button);
    QCOMPARE(VorDialog::showMessage("错误", "授权码不能为空", nullptr, "确定"), result);
    QCOMPARE(answerer.seen().first().text, QStringLiteral("授权码不能为空"));
    QVERIFY(!answerer.seen().first().noButtonVisible);
}

void TestVorDialog::renameHandsBackTypedText_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("result");
    QTest::newRow("accepted") << "pushButtonYes" << 1;
    QTest::newRow("cancelled") << "pushButtonNo" << 0;
}

void TestVorDialog::renameHandsBackTypedText()
{
    QFETCH(QString, button);
    QFETCH(int, result);
    ModalAnswerer answerer;
    answerer.answer(button, QStringLiteral("新名字"));
    QString text = QStringLiteral("old");
    QCOMPARE(VorDialog::showRename("重命名", "重命名", nullptr, text, "确定", "取消"), result);
    QCOMPARE(text, QStringLiteral("新名字"));
    QCOMPARE(answerer.seen().first().text, QStringLiteral("重命名"));
}

void TestVorDialog::waitClosesWhenThreadFinishes()
{
    QPointer<QThread> thread = new SleepingThread;
    ModalAnswerer answerer;
    answerer.answer(QString()); // only look: the dialog must close by itself
    QCOMPARE(VorDialog::showWait("登录中", "请稍等...", nullptr, thread), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("登录中"));
    QCOMPARE(answerer.seen().first().text, QStringLiteral("请稍等..."));
    QTRY_VERIFY(thread.isNull()); // the worker deletes itself
}

void TestVorDialog::waitWithoutThreadStaysOpen()
{
    VorDialog dialog;
    dialog.setWait("退出中", "请稍等...", nullptr);
    dialog.show();
    auto *movie = dialog.findChild<QLabel *>("labelWait")->movie();
    QVERIFY(movie);
    QCOMPARE(movie->state(), QMovie::Running);
    QVERIFY(movie->isValid());
    QVERIFY(!dialog.findChild<QWidget *>("widgetDialogButton")->isVisible());
    QVERIFY(!dialog.findChild<QWidget *>("pushButtonClose")->isVisible());
    QTest::qWait(300);
    QVERIFY(dialog.isVisible());
}

void TestVorDialog::dialogIsFrameless()
{
    VorDialog dialog;
    QCOMPARE(int(dialog.windowFlags()), 0x6801);
    QCOMPARE(dialog.objectName(), QStringLiteral("VorDialog"));
}

QTEST_MAIN(TestVorDialog)
#include "tst_vordialog.moc"
