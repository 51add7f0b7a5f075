#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdktarn.h"
#include "support/modalanswerer.h"
#include "support/warningguard.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QTextEdit>
#include <QtTest>

namespace {

const QString ParseError = QStringLiteral("授权码解析错误，请检查你的授权码是否正确！");
const QString EmptyError = QStringLiteral("授权码不能为空");
const QString ConnectError = QStringLiteral("登录服务器失败，请检查你的授权码是否有效！\n错误信息：");

QString makeCode(const QByteArray &json, const QByteArray &prefix = "q1w2e3")
{
    return QString::fromLatin1((prefix + json.toBase64()).toBase64());
}

QByteArray tarnJson(const QByteArray &userInfo)
{
    return "{\"storage\":\"tarn\",\"project\":\"p\",\"userInfo\":" + userInfo + "}";
}

QByteArray expireIn(int days)
{
    const QDateTime instant(QDate::currentDate().addDays(days), QTime(12, 0));
    return QByteArray::number(instant.toMSecsSinceEpoch());
}

int daysUntil(qint64 msecs)
{
    return static_cast<int>(QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(msecs).date()));
}

const qint64 DefaultExpiry = 4102444800000LL;

} // namespace

class TestVorLogin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void formHasItsParts_data();
    void formHasItsParts();
    void formTexts_data();
    void formTexts();
    void placeholderKeepsItsBlanks();
    void windowIsFramelessWithIcon();
    void draggedByTheBorder();
    void closeButtonCloses();
    void minimizeButtonMinimizes();
    void defaultCodeIsAnObjectStoreCode();

    void signsInWithTheDefaultCode();
    void failureShowsItsMessage_data();
    void failureShowsItsMessage();
    void unusualCodesStillSignIn_data();
    void unusualCodesStillSignIn();
    void triesAgainAfterAFailure();

private:
    // Presses 登录 on the store's login dialog and answers the wait dialog and, for a failure, the error.
    QList<ModalAnswerer::Seen> pressLogin(const QString &code, bool expectError);
    VorLogin *dialog() const { return VorData::instance()->loginDialog(); }
    QTextEdit *codeBox() const { return dialog()->findChild<QTextEdit *>(QStringLiteral("textEdit")); }
};

void TestVorLogin::initTestCase()
{
    WarningGuard::install();
    // The offscreen platform says so for every window with size limits; it is no fault of ours.
    WarningGuard::allow(QStringLiteral("This plugin does not support propagateSizeHints()"));
    // Closing the dialog in a test must not end anything.
    qApp->setQuitOnLastWindowClosed(false);
    QVERIFY(dialog());
}

void TestVorLogin::init()
{
    VorSdk::instance()->exit();
    VorData::instance()->mainWindow()->hide();
    dialog()->show();
    codeBox()->setPlainText(VorLogin::defaultCode());
}

void TestVorLogin::cleanup()
{
    VorSdk::instance()->exit();
    VERIFY_NO_QT_WARNINGS();
}

QList<ModalAnswerer::Seen> TestVorLogin::pressLogin(const QString &code, bool expectError)
{
    codeBox()->setPlainText(code);
    ModalAnswerer answerer;
    answerer.answer(QString()); // the wait dialog closes by itself
    if (expectError)
        answerer.answer(QStringLiteral("pushButtonYes"));
    auto *button = dialog()->findChild<QPushButton *>(QStringLiteral("pushButtonLogin"));
    button->click(); // returns once the wait dialog has closed
    return answerer.seen();
}

void TestVorLogin::formHasItsParts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("className");
    for (const char *name :
         { "widgetBorder", "widgetLeft", "widgetLeftLogo", "widgetLogo", "widgetRight", "widgetButton", "widget" })
        QTest::newRow(name) << QString::fromLatin1(name) << QStringLiteral("QWidget");
    QTest::newRow("textEdit") << "textEdit"
                              << "QTextEdit";
    for (const char *name : { "pushButtonMinimize", "pushButtonClose", "pushButtonLogin" })
        QTest::newRow(name) << QString::fromLatin1(name) << QStringLiteral("QPushButton");
    for (const char *name : { "labelTitle", "labelProduct", "labelDescription" })
        QTest::newRow(name) << QString::fromLatin1(name) << QStringLiteral("QLabel");
}

void TestVorLogin::formHasItsParts()
{
    QFETCH(QString, name);
    QFETCH(QString, className);
    VorLogin login;
    QCOMPARE(login.objectName(), QStringLiteral("VorLogin"));
    QObject *part = login.findChild<QObject *>(name);
    QVERIFY2(part, qPrintable(name));
    QCOMPARE(QString::fromLatin1(part->metaObject()->className()), className);
    // The outermost container holds everything else.
    auto *border = login.findChild<QWidget *>(QStringLiteral("widgetBorder"));
    QVERIFY(part == border || border->isAncestorOf(qobject_cast<QWidget *>(part)));
}

void TestVorLogin::formTexts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("title") << "labelTitle"
                           << "Veltra-客户端工具";
    QTest::newRow("product") << "labelProduct"
                             << "Quenvar-Clent Tools";
    QTest::newRow("description")
        << "labelDescription"
        << "是一款多功能的跨平台图形化桌面应用工具，支持完善的存储管理和对象管理操作，能够满足不同用户的业务场景需求，"
           "具有性能稳定，效率高，体验佳等优势。轻松帮您数据上云！";
    QTest::newRow("minimize") << "pushButtonMinimize"
                              << "一";
    QTest::newRow("close") << "pushButtonClose"
                           << "X";
    QTest::newRow("login") << "pushButtonLogin"
                           << "登录";
}

void TestVorLogin::formTexts()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    VorLogin login;
    QCOMPARE(login.windowTitle(), QStringLiteral("Veltra-客户端工具"));
    QObject *part = login.findChild<QObject *>(name);
    QVERIFY2(part, qPrintable(name));
    QCOMPARE(part->property("text").toString(), text);
}

void TestVorLogin::placeholderKeepsItsBlanks()
{
    VorLogin login;
    const QString placeholder = login.findChild<QTextEdit *>(QStringLiteral("textEdit"))->placeholderText();
    const QString expected
        = QStringLiteral("1、公有云和私有云会有各自独立的授权码，用户需在平台里复制对应的  "
                         "授权码粘贴到此处登录，并进行操作。")
        + QString(65, QLatin1Char(' '))
        + QStringLiteral(
              "2、授权码由用户目录路径+要操作的文件目录+用户帐号+授权码使用期  限等信息加密生成，登录时需做解密");
    QCOMPARE(placeholder, expected);
    QVERIFY(placeholder.contains(QString(65, QLatin1Char(' ')) + QStringLiteral("2、")));
    QVERIFY(!placeholder.contains(QString(66, QLatin1Char(' '))));
}

void TestVorLogin::windowIsFramelessWithIcon()
{
    VorLogin login;
    QCOMPARE(int(login.windowFlags()), 0x6801);
    QVERIFY(!login.windowIcon().isNull());
    const QImage expected = QIcon(QStringLiteral(":/img/logo.png")).pixmap(32, 32).toImage();
    QVERIFY(!expected.isNull());
    QCOMPARE(login.windowIcon().pixmap(32, 32).toImage(), expected);
}

void TestVorLogin::draggedByTheBorder()
{
    VorLogin login;
    login.move(100, 100);
    login.show();
    QVERIFY(QTest::qWaitForWindowExposed(&login));
    auto *border = login.findChild<QWidget *>(QStringLiteral("widgetBorder"));
    const QPoint start = login.pos();

    const QPoint grab(10, 10);
    QMouseEvent press(QEvent::MouseButtonPress, grab, border->mapToGlobal(grab), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(border, &press);
    const QPoint to(60, 40);
    QMouseEvent move(QEvent::MouseMove, to, border->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(border, &move);
    QMouseEvent release(QEvent::MouseButtonRelease, to, border->mapToGlobal(to), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(border, &release);

    QTRY_COMPARE(login.pos(), start + (to - grab));
}

void TestVorLogin::closeButtonCloses()
{
    VorLogin login;
    login.show();
    QVERIFY(QTest::qWaitForWindowExposed(&login));
    login.findChild<QPushButton *>(QStringLiteral("pushButtonClose"))->click();
    QVERIFY(!login.isVisible());
}

void TestVorLogin::minimizeButtonMinimizes()
{
    VorLogin login;
    login.show();
    QVERIFY(QTest::qWaitForWindowExposed(&login));
    login.findChild<QPushButton *>(QStringLiteral("pushButtonMinimize"))->click();
    QTRY_VERIFY(login.isMinimized());
}

void TestVorLogin::defaultCodeIsAnObjectStoreCode()
{
    VorLogin login;
    const QString code = login.findChild<QTextEdit *>(QStringLiteral("textEdit"))->toPlainText();
    QCOMPARE(code, VorLogin::defaultCode());
    QCOMPARE(code.size(), 456);
    QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9+/]+=*$")).match(code).hasMatch());

    const QJsonObject object = QJsonDocument::fromJson(VorSdk::decodeAuthCode(code).toUtf8()).object();
    QCOMPARE(object.value(QStringLiteral("storage")).toString(), QStringLiteral("tarn"));
    QVERIFY(!object.value(QStringLiteral("project")).toString().isEmpty());
    const QJsonObject user = object.value(QStringLiteral("userInfo")).toObject();
    for (const char *key : { "accesskey", "secretkey", "endPoint", "bucketName" })
        QVERIFY2(!user.value(QLatin1String(key)).toString().isEmpty(), key);
    QCOMPARE(user.value(QStringLiteral("prefixName")).toString(), QStringLiteral("/tarn-demo"));
    bool digits = false;
    const qint64 expiry = user.value(QStringLiteral("expireTime")).toString().toLongLong(&digits, 10);
    QVERIFY(digits);
    QCOMPARE(expiry, DefaultExpiry);
    QVERIFY(daysUntil(expiry) > 365 * 50);
}

void TestVorLogin::signsInWithTheDefaultCode()
{
    VorData *data = VorData::instance();
    QThread *gui = QThread::currentThread();
    QSignalSpy userSpy(data, &VorData::dataUpdateUser);
    QSignalSpy pathSpy(data, &VorData::dataUpdatePath);
    QSignalSpy listSpy(data, &VorData::dataUpdateSaveFileInfo);
    QSignalSpy locationSpy(data, &VorData::dataUpdateLocation);
    QSignalSpy taskSpy(data, &VorData::dataUpdateTaskInfo);
    QSignalSpy downSpy(data, &VorData::dataUpdateDownloadInfo);

    // Receivers on the GUI thread, as the pages are: each notes the thread it ran on and the signal.
    QStringList arrived;
    QList<QThread *> receivedOn;
    QList<QThread *> emittedOn;
    QObject receiver;
    auto note = [&](const char *signal) {
        return [&, signal] {
            arrived << QString::fromLatin1(signal);
            receivedOn << QThread::currentThread();
        };
    };
    connect(data, &VorData::dataUpdateLocation, &receiver, note("location"));
    connect(data, &VorData::dataUpdateUser, &receiver, note("user"));
    connect(data, &VorData::dataUpdatePath, &receiver, note("path"));
    connect(data, &VorData::dataUpdateSaveFileInfo, &receiver, note("files"));
    connect(data, &VorData::dataUpdateTaskInfo, &receiver, note("tasks"));
    connect(data, &VorData::dataUpdateDownloadInfo, &receiver, note("downloads"));
    connect(
        data, &VorData::dataUpdateUser, &receiver, [&] { emittedOn << QThread::currentThread(); },
        Qt::DirectConnection);

    // The box already holds the default code: press 登录 as it stands.
    QCOMPARE(codeBox()->toPlainText(), VorLogin::defaultCode());
    ModalAnswerer answerer;
    answerer.answer(QString());
    dialog()->findChild<QPushButton *>(QStringLiteral("pushButtonLogin"))->click();

    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("登录中"));
    QCOMPARE(answerer.seen().first().text, QStringLiteral("请稍等..."));
    QTRY_VERIFY(data->mainWindow()->isVisible());
    QVERIFY(!dialog()->isVisible());

    const int days = daysUntil(DefaultExpiry);
    QCOMPARE(data->userName(), QStringLiteral("tarn"));
    QCOMPARE(data->validDays(), days);
    QVERIFY(data->showTips());
    QVERIFY(data->getUserTips().contains(QString::number(days)));
    QVERIFY(data->isPublic());
    QVERIFY(!data->isPrivate());
    QCOMPARE(data->path(), QStringLiteral("/tarn-demo"));
    QCOMPARE(data->fileInfos().size(), 22);
    QCOMPARE(data->fileInfos().first()->name, QStringLiteral("Name1"));
    QVERIFY(data->fileInfos().first()->isDir);
    QCOMPARE(data->tasks().size(), 22);
    QCOMPARE(data->tasks().last()->name, QStringLiteral("Name22"));
    QCOMPARE(data->downloads().size(), 22);

    auto *tarn = qobject_cast<SdkTarn *>(VorSdk::instance()->backend());
    QVERIFY(tarn);
    QCOMPARE(tarn->projectName(), QStringLiteral("tarn-demo"));
    QCOMPARE(tarn->thread(), gui);
    QCOMPARE(tarn->parent(), VorSdk::instance());

    QCOMPARE(locationSpy.count(), 1);
    QCOMPARE(locationSpy.first(), (QVariantList { true, false }));
    QCOMPARE(userSpy.count(), 1);
    QCOMPARE(userSpy.first(), (QVariantList { QStringLiteral("tarn"), data->getUserTips() }));
    QCOMPARE(pathSpy.count(), 1);
    QCOMPARE(pathSpy.first(), QVariantList { QStringLiteral("/tarn-demo") });
    QCOMPARE(listSpy.count(), 1);
    QCOMPARE(taskSpy.count(), 1);
    QCOMPARE(downSpy.count(), 1);

    QCOMPARE(arrived, (QStringList { "location", "user", "path", "files", "tasks", "downloads" }));
    for (QThread *thread : qAsConst(receivedOn))
        QCOMPARE(thread, gui);
    QCOMPARE(emittedOn.size(), 1);
    QVERIFY(emittedOn.first() != gui);
}

void TestVorLogin::failureShowsItsMessage_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("message"); // for a failed connection: the text before the back end's error

    QTest::newRow("empty") << QString() << EmptyError;
    QTest::newRow("blanks and line breaks") << QStringLiteral("  \n \t\r\n   \n") << EmptyError;
    QTest::newRow("shorter than six") << QString::fromLatin1(QByteArray("abcde").toBase64()) << ParseError;
    QTest::newRow("exactly the prefix") << QString::fromLatin1(QByteArray("abcdef").toBase64()) << ParseError;
    QTest::newRow("not base64") << QStringLiteral("!!@@##$$%%^^&&**") << ParseError;
    QTest::newRow("letters that are no code") << QStringLiteral("thisisnotanauthorizationcode") << ParseError;
    QTest::newRow("base64 of non-JSON") << makeCode("storage=tarn; project=p") << ParseError;
    QTest::newRow("single layer") << QString::fromLatin1(QByteArray("{\"storage\":\"tarn\"}").toBase64()) << ParseError;
    QTest::newRow("JSON without storage")
        << makeCode("{\"project\":\"p\",\"userInfo\":{\"prefixName\":\"/x\"}}") << ParseError;
    QTest::newRow("SFTP in capitals") << makeCode("{\"storage\":\"SFTP\",\"userInfo\":{\"host\":\"127.0.0.1\"}}")
                                      << ParseError;
    QTest::newRow("storage not a string") << makeCode("{\"storage\":[\"tarn\"]}") << ParseError;
    QTest::newRow("unknown storage") << makeCode("{\"storage\":\"s3\"}") << ParseError;
    QTest::newRow("JSON array") << makeCode("[{\"storage\":\"tarn\"}]") << ParseError;
    QTest::newRow("zero byte before the JSON") << makeCode(QByteArray("\0{\"storage\":\"tarn\"}", 20)) << ParseError;
    // Good but for its length: the dots are skipped by the decoding.
    QTest::newRow("64 KiB and one") << VorLogin::defaultCode().leftJustified(64 * 1024 + 1, QLatin1Char('.'))
                                    << ParseError;
    QTest::newRow("server refuses") << makeCode(
        "{\"storage\":\"sftp\",\"project\":\"p\",\"userInfo\":{\"host\":\"127.0.0.1\",\"port\":\"1\","
        "\"username\":\"u\",\"password\":\"p\",\"expireTime\":\""
        + expireIn(3) + "\"}}") << ConnectError;
}

void TestVorLogin::failureShowsItsMessage()
{
    QFETCH(QString, code);
    QFETCH(QString, message);

    const QList<ModalAnswerer::Seen> seen = pressLogin(code, true);

    QCOMPARE(seen.size(), 2);
    QCOMPARE(seen.at(0).title, QStringLiteral("登录中"));
    QCOMPARE(seen.at(0).text, QStringLiteral("请稍等..."));
    QCOMPARE(seen.at(1).title, QStringLiteral("错误"));
    QVERIFY(!seen.at(1).noButtonVisible);
    if (message == ConnectError) {
        SdkObject *backend = VorSdk::instance()->backend();
        QVERIFY(backend);
        QCOMPARE(seen.at(1).text, message + backend->lastError);
    } else {
        QCOMPARE(seen.at(1).text, message);
    }
    // The dialog stays for another try.
    QVERIFY(dialog()->isVisible());
    QVERIFY(!VorData::instance()->mainWindow()->isVisible());
}

void TestVorLogin::unusualCodesStillSignIn_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("days");

    QString broken = VorLogin::defaultCode();
    for (int at = broken.size() - 50; at > 0; at -= 50)
        broken.insert(at, at % 100 == 0 ? QStringLiteral("\r\n") : QStringLiteral("\n"));
    QTest::newRow("line breaks inside") << broken << "/tarn-demo" << daysUntil(DefaultExpiry);
    QTest::newRow("64 KiB") << VorLogin::defaultCode().leftJustified(64 * 1024, QLatin1Char('.')) << "/tarn-demo"
                            << daysUntil(DefaultExpiry);
    QTest::newRow("blanks around") << QStringLiteral("\n  ") + VorLogin::defaultCode() + QStringLiteral("  \n")
                                   << "/tarn-demo" << daysUntil(DefaultExpiry);
    QTest::newRow("userInfo not an object") << makeCode(tarnJson("\"ak sk\"")) << "" << 0;
    QTest::newRow("expired") << makeCode(tarnJson("{\"prefixName\":\"/old\",\"expireTime\":\"" + expireIn(-2) + "\"}"))
                             << "/old" << -2;
    QTest::newRow("last day") << makeCode(tarnJson("{\"prefixName\":\"/p\",\"expireTime\":\"" + expireIn(0) + "\"}"))
                              << "/p" << 0;
    QTest::newRow("other prefix characters")
        << makeCode(tarnJson("{\"prefixName\":\"/z\",\"expireTime\":\"" + expireIn(9) + "\"}"), "\x01\x7f zz~") << "/z"
        << 9;
}

void TestVorLogin::unusualCodesStillSignIn()
{
    QFETCH(QString, code);
    QFETCH(QString, path);
    QFETCH(int, days);

    const QList<ModalAnswerer::Seen> seen = pressLogin(code, false);

    QCOMPARE(seen.size(), 1);
    QTRY_VERIFY(VorData::instance()->mainWindow()->isVisible());
    QVERIFY(!dialog()->isVisible());
    QCOMPARE(VorData::instance()->userName(), QStringLiteral("tarn"));
    QCOMPARE(VorData::instance()->validDays(), days);
    QVERIFY(VorData::instance()->getUserTips().contains(QStringLiteral(" %1 ").arg(days)));
    QCOMPARE(VorData::instance()->path(), path);
    QCOMPARE(VorData::instance()->fileInfos().size(), 22);
}

void TestVorLogin::triesAgainAfterAFailure()
{
    QList<ModalAnswerer::Seen> seen = pressLogin(makeCode("{\"storage\":\"Tarn\"}"), true);
    QCOMPARE(seen.size(), 2);
    QCOMPARE(seen.at(1).text, ParseError);
    QVERIFY(dialog()->isVisible());

    seen = pressLogin(VorLogin::defaultCode(), false);
    QCOMPARE(seen.size(), 1);
    QTRY_VERIFY(VorData::instance()->mainWindow()->isVisible());
    QVERIFY(!dialog()->isVisible());
    QVERIFY(qobject_cast<SdkTarn *>(VorSdk::instance()->backend()));
}

QTEST_MAIN(TestVorLogin)
#include "tst_vorlogin.moc"
