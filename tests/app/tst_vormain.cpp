#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QtTest>

class TestVorMain : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();

    void formTexts_data();
    void formTexts();
    void navigation_data();
    void navigation();
    void maximiseTwiceRestores();
    void userAndTipFromStore();
    void logoutDeclinedKeepsSession();
    void logoutDeletesBackEndAndReturnsToLogin();

private:
    VorMain *window() const { return VorData::instance()->mainWindow(); }
    template<typename T> T *child(const char *name) const { return window()->findChild<T *>(QLatin1String(name)); }
};

void TestVorMain::initTestCase()
{
    WarningGuard::install();
    window()->show();
    QVERIFY(QTest::qWaitForWindowExposed(window()));
}

void TestVorMain::cleanup()
{
    VERIFY_NO_QT_WARNINGS();
}

void TestVorMain::formTexts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("product") << "labelTitleText"
                             << "Veltra-客户端工具";
    QTest::newRow("product name") << "labelTitleName"
                                  << "Quenvar-Clent Tools";
    QTest::newRow("logout") << "pushButtonExit"
                            << "退出登录";
    QTest::newRow("maximise") << "pushButtonMax"
                              << "口";
    QTest::newRow("minimise") << "pushButtonMin"
                              << "一";
    QTest::newRow("close") << "pushButtonClose"
                           << "X";
    QTest::newRow("storage") << "pushButtonSave"
                             << "存储管理";
    QTest::newRow("tasks") << "pushButtonTask"
                           << "任务管理";
    QTest::newRow("downloads") << "pushButtonDownload"
                               << "下载明细";
}

void TestVorMain::formTexts()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QObject *object = window()->findChild<QObject *>(name);
    QVERIFY2(object, qPrintable(name));
    QCOMPARE(object->property("text").toString(), text);
    QCOMPARE(int(window()->windowFlags()), 0x6801);
}

void TestVorMain::navigation_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("page");
    QTest::newRow("tasks") << "pushButtonTask"
                           << "pageTask";
    QTest::newRow("downloads") << "pushButtonDownload"
                               << "pageDownload";
    QTest::newRow("storage") << "pushButtonSave"
                             << "pageSave";
    QTest::newRow("same button twice stays checked") << "pushButtonSave"
                                                     << "pageSave";
}

void TestVorMain::navigation()
{
    QFETCH(QString, button);
    QFETCH(QString, page);
    QTest::mouseClick(window()->findChild<QPushButton *>(button), Qt::LeftButton);
    QCOMPARE(child<QStackedWidget>("stackedWidget")->currentWidget()->objectName(), page);
    for (const char *name : { "pushButtonSave", "pushButtonTask", "pushButtonDownload" })
        QCOMPARE(child<QPushButton>(name)->isChecked(), button == QLatin1String(name));
}

void TestVorMain::maximiseTwiceRestores()
{
    auto *maximise = child<QPushButton>("pushButtonMax");
    QTest::mouseClick(maximise, Qt::LeftButton);
    QTRY_VERIFY(window()->isMaximized());
    QTest::mouseClick(maximise, Qt::LeftButton);
    QTRY_VERIFY(!window()->isMaximized());
    QVERIFY(!maximise->isChecked());
}

void TestVorMain::userAndTipFromStore()
{
    VorData::instance()->updateUser(QStringLiteral("alice"), 5, true);
    QCOMPARE(child<QPushButton>("pushButtonUser")->text(), QStringLiteral("alice"));
    QCOMPARE(child<QLabel>("labelTips")->text(),
             QStringLiteral("您的授权码有效期还有 5 天，到期后若需要继续使用请联系业务管理员"));
}

void TestVorMain::logoutDeclinedKeepsSession()
{
    auto *backend = new RecordingBackend;
    VorSdk::instance()->adoptBackend(backend);
    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonNo"));
    QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("退出"));
    QCOMPARE(answerer.seen().first().text, QStringLiteral("确认退出？"));
    QCOMPARE(VorSdk::instance()->backend(), backend);
    QVERIFY(window()->isVisible());
    VorSdk::instance()->exit();
}

void TestVorMain::logoutDeletesBackEndAndReturnsToLogin()
{
    QPointer<RecordingBackend> backend = new RecordingBackend;
    VorSdk::instance()->adoptBackend(backend);
    QTest::mouseClick(child<QPushButton>("pushButtonTask"), Qt::LeftButton);

    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonYes"));
    answerer.answer(QString()); // the wait dialog closes when the worker is done
    QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);

    QCOMPARE(answerer.seen().size(), 2);
    QCOMPARE(answerer.seen().at(1).title, QStringLiteral("退出中"));
    QCOMPARE(answerer.seen().at(1).text, QStringLiteral("请稍等..."));
    QVERIFY(backend.isNull());
    QVERIFY(!VorSdk::instance()->backend());
    QVERIFY(!window()->isVisible());
    QVERIFY(VorData::instance()->loginDialog()->isVisible());
    // Signing in again finds the window as it was left.
    VorData::instance()->loginDialog()->hide();
    window()->show();
    QCOMPARE(child<QStackedWidget>("stackedWidget")->currentWidget()->objectName(), QStringLiteral("pageTask"));
    QVERIFY(child<QPushButton>("pushButtonTask")->isChecked());
}

QTEST_MAIN(TestVorMain)
#include "tst_vormain.moc"
