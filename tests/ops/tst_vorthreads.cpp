#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "model/vorthreadlogin.h"
#include "ops/vorsdk.h"
#include "ops/vorthreadexit.h"
#include "sdk/sdktarn.h"
#include "support/logtail.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/vordialog.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

class TestVorThreads : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // First, so that the facade is first used on the login worker.
    void facadeStaysWithTheGuiThread();
    void loginWorkerReportsOnTheGuiThread_data();
    void loginWorkerReportsOnTheGuiThread();
    void exitWorkerDeletesTheBackEnd();
    void twentyLoginLogoutCycles();

private:
    QThread *m_gui = nullptr;
};

void TestVorThreads::initTestCase()
{
    WarningGuard::install();
    // The offscreen platform says so for every window with size limits; it is no fault of ours.
    WarningGuard::allow(QStringLiteral("This plugin does not support propagateSizeHints()"));
    m_gui = QThread::currentThread();
    QVERIFY(VorData::instance()->loginDialog());
}

void TestVorThreads::cleanup()
{
    VorSdk::instance()->exit();
    VERIFY_NO_QT_WARNINGS();
}

void TestVorThreads::facadeStaysWithTheGuiThread()
{
    auto *worker = new VorThreadLogin(VorLogin::defaultCode());
    QSignalSpy finished(worker, &QThread::finished);
    worker->start();
    QVERIFY(finished.wait(20000));

    QCOMPARE(VorSdk::instance()->thread(), m_gui);
    SdkObject *backend = VorSdk::instance()->backend();
    QVERIFY(qobject_cast<SdkTarn *>(backend));
    QCOMPARE(backend->thread(), m_gui);
    QCOMPARE(backend->parent(), VorSdk::instance());
    QCOMPARE(VorData::instance()->thread(), m_gui);
    delete worker;
}

void TestVorThreads::loginWorkerReportsOnTheGuiThread_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("default code") << VorLogin::defaultCode() << QString();
    QTest::newRow("empty") << QString() << QStringLiteral("授权码不能为空");
    QTest::newRow("no code") << QStringLiteral("abc") << QStringLiteral("授权码解析错误，请检查你的授权码是否正确！");
}

void TestVorThreads::loginWorkerReportsOnTheGuiThread()
{
    QFETCH(QString, code);
    QFETCH(QString, message);

    auto *worker = new VorThreadLogin(code);
    QPointer<VorThreadLogin> guard(worker);
    QObject receiver;
    QStringList messages;
    QList<QThread *> receivedOn;
    QThread *emittedOn = nullptr;
    qint64 emittedAfterMs = -1;
    QElapsedTimer clock;
    clock.start();
    connect(worker, &VorThreadLogin::loginMessage, &receiver, [&](const QString &text) {
        messages << text;
        receivedOn << QThread::currentThread();
    });
    connect(
        worker, &VorThreadLogin::loginMessage, &receiver,
        [&] {
            emittedOn = QThread::currentThread();
            emittedAfterMs = clock.elapsed();
        },
        Qt::DirectConnection);
    connect(worker, &QThread::finished, worker, &QObject::deleteLater);

    ModalAnswerer answerer;
    answerer.answer(QString());
    QCOMPARE(VorDialog::showWait(QStringLiteral("登录中"), QStringLiteral("请稍等..."), nullptr, worker), 1);
    // The worker sleeps half a second after the login, and only then reports.
    QVERIFY2(emittedAfterMs >= 500, qPrintable(QString::number(emittedAfterMs)));

    QCOMPARE(messages, QStringList { message });
    QCOMPARE(receivedOn, QList<QThread *> { m_gui });
    QVERIFY(emittedOn);
    QVERIFY(emittedOn != m_gui);
    QTRY_VERIFY(guard.isNull());
}

void TestVorThreads::exitWorkerDeletesTheBackEnd()
{
    auto *backend = new RecordingBackend;
    QPointer<RecordingBackend> backendGuard(backend);
    QThread *deletedOn = nullptr;
    connect(
        backend, &QObject::destroyed, backend, [&] { deletedOn = QThread::currentThread(); }, Qt::DirectConnection);
    VorSdk::instance()->adoptBackend(backend);

    QWidget window;
    auto *worker = new VorThreadExit(&window);
    QPointer<VorThreadExit> workerGuard(worker);
    const LogTail log;
    QElapsedTimer clock;
    clock.start();
    ModalAnswerer answerer;
    answerer.answer(QString());
    QCOMPARE(VorDialog::showWait(QStringLiteral("退出中"), QStringLiteral("请稍等..."), &window, worker), 1);
    QVERIFY(clock.elapsed() >= 500);

    QVERIFY(backendGuard.isNull());
    QVERIFY(deletedOn);
    QVERIFY(deletedOn != m_gui);
    QVERIFY(!VorSdk::instance()->backend());
    QCOMPARE(log.messagesOf(QStringLiteral("exit")), QStringList { QString() });
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("退出中"));
    QTRY_VERIFY(workerGuard.isNull());
}

void TestVorThreads::twentyLoginLogoutCycles()
{
    VorLogin *loginDialog = VorData::instance()->loginDialog();
    VorMain *mainWindow = VorData::instance()->mainWindow();
    QObject receiver;

    for (int cycle = 0; cycle < 20; ++cycle) {
        loginDialog->show();
        ModalAnswerer answerer;

        // Sign in as the dialog does.
        auto *login = new VorThreadLogin(VorLogin::defaultCode());
        QPointer<VorThreadLogin> loginGuard(login);
        QString message = QStringLiteral("not reported");
        QThread *reportedOn = nullptr;
        connect(login, &VorThreadLogin::loginMessage, &receiver, [&](const QString &text) {
            message = text;
            reportedOn = QThread::currentThread();
            mainWindow->show();
            loginDialog->hide();
        });
        connect(login, &QThread::finished, login, &QObject::deleteLater);
        answerer.answer(QString());
        QCOMPARE(VorDialog::showWait(QStringLiteral("登录中"), QStringLiteral("请稍等..."), loginDialog, login), 1);

        QCOMPARE(message, QString());
        QCOMPARE(reportedOn, m_gui);
        QTRY_VERIFY(loginGuard.isNull());
        QPointer<SdkObject> backend = VorSdk::instance()->backend();
        QVERIFY(qobject_cast<SdkTarn *>(backend));
        QCOMPARE(backend->thread(), m_gui);
        QCOMPARE(backend->parent(), VorSdk::instance());
        QCOMPARE(VorData::instance()->tasks().size(), 22);
        QCOMPARE(VorData::instance()->userName(), QStringLiteral("tarn"));

        // Sign out as the main window does.
        auto *logout = new VorThreadExit(mainWindow);
        QPointer<VorThreadExit> logoutGuard(logout);
        answerer.answer(QString());
        QCOMPARE(VorDialog::showWait(QStringLiteral("退出中"), QStringLiteral("请稍等..."), mainWindow, logout), 1);
        loginDialog->show();
        mainWindow->hide();

        QVERIFY(backend.isNull());
        QVERIFY(!VorSdk::instance()->backend());
        QTRY_VERIFY(logoutGuard.isNull());
        QCOMPARE(answerer.seen().size(), 2);
        QCOMPARE(answerer.seen().at(0).title, QStringLiteral("登录中"));
        QCOMPARE(answerer.seen().at(1).title, QStringLiteral("退出中"));
        // The store keeps the rows until the next sign-in replaces them.
        QCOMPARE(VorData::instance()->fileInfos().size(), 22);
        VERIFY_NO_QT_WARNINGS();
    }
    QCOMPARE(VorSdk::instance()->children().size(), 0);
}

QTEST_MAIN(TestVorThreads)
#include "tst_vorthreads.moc"
