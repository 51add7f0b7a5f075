#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "model/vorthreadlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdkobject.h"
#include "support/modalanswerer.h"
#include "support/warningguard.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QTextEdit>
#include <QtTest>

namespace {

const QString ParseError = QStringLiteral("授权码解析错误，请检查你的授权码是否正确！");

QString makeCode(const QByteArray &json)
{
    return QString::fromLatin1(("q1w2e3" + json.toBase64()).toBase64());
}

} // namespace

class TestVorLogin : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        WarningGuard::install();
        qApp->setQuitOnLastWindowClosed(false); // closing a dialog must not end the test
    }
    void cleanup()
    {
        VorSdk::instance()->exit();
        VERIFY_NO_QT_WARNINGS();
    }

    void signIn_data();
    void signIn();
    void resultComesHalfASecondAfterTheLogin();
};

void TestVorLogin::signIn_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("message"); // empty: signed in
    const QString code = VorLogin::defaultCode();
    QTest::newRow("default code") << code << QString();
    QTest::newRow("blanks only") << QStringLiteral(" \n\t ") << QStringLiteral("授权码不能为空");
    // The dots are skipped by the decoding: only the length counts.
    QTest::newRow("largest length") << code.leftJustified(64 * 1024, QLatin1Char('.')) << QString();
    QTest::newRow("one more") << code.leftJustified(64 * 1024 + 1, QLatin1Char('.')) << ParseError;
    QTest::newRow("storage in capitals") << makeCode(R"({"storage":"Tarn"})") << ParseError;
    QTest::newRow("repeated name") << makeCode(R"({"storage":"tarn","project":"a","project":"b"})") << ParseError;
    QTest::newRow("repeated with escapes")
        << makeCode(R"({"storage":"tarn","project":"a","\u0070roj\u0065ct":"b"})") << ParseError;
}

void TestVorLogin::signIn()
{
    QFETCH(QString, code);
    QFETCH(QString, message);
    VorLogin *dialog = VorData::instance()->loginDialog();
    dialog->show();
    dialog->findChild<QTextEdit *>()->setPlainText(code);
    ModalAnswerer answerer;
    answerer.answer(QString()); // the wait dialog closes by itself
    answerer.answer(QStringLiteral("pushButtonYes"));
    dialog->findChild<QPushButton *>(QStringLiteral("pushButtonLogin"))->click();

    QCOMPARE(answerer.seen().value(1).text, message);
    QCOMPARE(dialog->isVisible(), !message.isEmpty());
    QCOMPARE(VorData::instance()->mainWindow()->isVisible(), message.isEmpty());
    if (message.isEmpty()) {
        // Built on the login worker, the back end now belongs to the window's thread and the facade.
        SdkObject *backend = VorSdk::instance()->backend();
        QCOMPARE(backend->thread(), QThread::currentThread());
        QCOMPARE(backend->parent(), VorSdk::instance());
        QVERIFY(VorData::instance()->isPublic() && !VorData::instance()->isPrivate());
        VorData::instance()->mainWindow()->hide();
    }
}

void TestVorLogin::resultComesHalfASecondAfterTheLogin()
{
    VorThreadLogin worker(VorLogin::defaultCode());
    QElapsedTimer sinceLogin;
    qint64 waited = -1;
    // The login ends with the download history; both signals come on the worker.
    connect(
        VorData::instance(), &VorData::dataUpdateDownloadInfo, &worker, [&] { sinceLogin.start(); },
        Qt::DirectConnection);
    connect(
        &worker, &VorThreadLogin::loginMessage, &worker, [&] { waited = sinceLogin.elapsed(); }, Qt::DirectConnection);
    QSignalSpy finished(&worker, &QThread::finished);
    worker.start();
    QVERIFY(finished.wait(20000));
    QVERIFY2(waited >= 500, qPrintable(QString::number(waited)));
}

QTEST_MAIN(TestVorLogin)
#include "tst_vorlogin.moc"
