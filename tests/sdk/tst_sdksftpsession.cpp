// The SFTP session against a real OpenSSH server: sign-in through the facade on its worker threads, the
// connect sequence's failures and the tear-down, down to process exit.

#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "sdk/sdkknownhosts.h"
#include "sdk/sdksftp.h"
#include "sftptestsupport.h"
#include "support/logtail.h"
#include "support/testsshd.h"
#include "support/warningguard.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QJsonDocument>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>

#include <sys/stat.h>

using namespace SftpTestSupport;

namespace {

const char ExitChildVariable[] = "OMBRIVANE_SFTP_EXIT_CHILD_CODE";
const QString LoginFailure = QStringLiteral("登录服务器失败，请检查你的授权码是否有效！\n错误信息：%1");

// The child of exitWithConnectedBackend: signs in and ends like the program does, leaving the back end
// connected for the facade's static destruction after the SSH library has been ended.
int runExitChild(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (SdkSftp::init() != 0)
        return 2;
    const QString message = VorSdk::instance()->login(qEnvironmentVariable(ExitChildVariable));
    if (!message.isEmpty())
        return 3;
    auto *backend = qobject_cast<SdkSftp *>(VorSdk::instance()->backend());
    if (!backend || !backend->isConnected())
        return 4;
    SdkSftp::exit();
    return 0;
}

} // namespace

class TestSdkSftpSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void loginThroughFacadeAcrossThreads();
    void fingerprintAndMethodsAreLogged();
    void hostKeyRememberedUntilItChanges();
    void wrongPasswordIsRefused();
    void serverWithoutPasswordMethod();
    void tcpConnectionFails_data();
    void tcpConnectionFails();
    void silentServerTimesOutHandshake();
    void failedHandshakeBackendIsDeletedElsewhere();
    void exitWithConnectedBackend();

private:
    QString loginFailureFor(const QJsonObject &json);

    TestSshd m_server;
};

void TestSdkSftpSession::initTestCase()
{
    WarningGuard::install();
    QCOMPARE(SdkSftp::init(), 0);
    TESTSSHD_START(m_server);
    QVERIFY(m_server.makeDir(QStringLiteral("docs")));
    QVERIFY(m_server.writeFile(QStringLiteral("docs/inner.txt"), QByteArray(10, 'i')));
    QVERIFY(m_server.writeFile(QStringLiteral("readme.txt"), QByteArray(1536, 'r')));
}

void TestSdkSftpSession::init()
{
    WarningGuard::take();
}

void TestSdkSftpSession::cleanupTestCase()
{
    VorSdk::instance()->exit();
    SdkSftp::exit();
}

QString TestSdkSftpSession::loginFailureFor(const QJsonObject &json)
{
    QString message;
    if (!loginOnWorker(TestSshd::authCode(json), &message))
        return QStringLiteral("login worker did not end");
    return message;
}

void TestSdkSftpSession::loginThroughFacadeAcrossThreads()
{
    const QSet<QByteArray> socketsBefore = openSockets();

    // Created on the login worker...
    QString message;
    QVERIFY(loginOnWorker(TestSshd::authCode(m_server.codeJson()), &message));
    QCOMPARE(message, QString());
    auto *backend = qobject_cast<SdkSftp *>(VorSdk::instance()->backend());
    QVERIFY(backend);
    QCOMPARE(backend->thread(), QThread::currentThread());
    QVERIFY(backend->isConnected());
    QVERIFY(m_server.sessionProcessCount() > 0);
    QCOMPARE(openSockets().size(), socketsBefore.size() + 1);

    VorData *data = VorData::instance();
    QCOMPARE(data->path(), QStringLiteral("/user-01"));
    QCOMPARE(data->userName(), TestSshd::userName());
    QCOMPARE(data->validDays(), 7);
    QVERIFY(data->isPrivate());
    QCOMPARE(sortedNames(data->fileInfos()), QStringList({ "..", "docs", "readme.txt" }));
    // No transfers over SFTP yet: the task list and history are the shared sample rows.
    QCOMPARE(data->tasks().size(), 22);
    QCOMPARE(data->downloads().size(), 22);
    QCOMPARE(data->tasks().last()->name, QStringLiteral("Name22"));
    for (const FileEntry *entry : data->fileInfos()) {
        QCOMPARE(entry->isDir, entry->name != QLatin1String("readme.txt"));
        if (entry->name == QLatin1String("readme.txt"))
            QCOMPARE(entry->size, QStringLiteral("1 KB"));
    }

    // ...used on the GUI thread...
    VorSdk::instance()->EnterDir(QStringLiteral("docs"));
    QCOMPARE(data->path(), QStringLiteral("/user-01/docs"));
    QCOMPARE(sortedNames(data->fileInfos()), QStringList({ "..", "inner.txt" }));
    VorSdk::instance()->createDir(QStringLiteral("/user-01/docs/made-on-gui-thread"));
    QVERIFY2(!VorSdk::instance()->backendHasError(), qPrintable(VorSdk::instance()->backendLastError()));
    QVERIFY(QFileInfo(m_server.homeOnDisk() + QStringLiteral("/docs/made-on-gui-thread")).isDir());

    // ...and deleted on the logout worker: the session ends and the socket is closed.
    QVERIFY(logoutOnWorker());
    QCOMPARE(VorSdk::instance()->backend(), nullptr);
    QTRY_COMPARE(m_server.sessionProcessCount(), 0);
    QCOMPARE(openSockets(), socketsBefore);
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::fingerprintAndMethodsAreLogged()
{
    LogTail log;
    bool connected = false;
    std::unique_ptr<SdkSftp> backend = connectBackend(m_server.codeJson(), &connected);
    QVERIFY2(connected, qPrintable(backend->lastError));

    const QByteArray fingerprint
        = QCryptographicHash::hash(m_server.hostKeyBlob(), QCryptographicHash::Sha1).toHex(':');
    const QString messages = log.messagesOf(QStringLiteral("connectToServer")).join(QLatin1Char('\n'));
    QVERIFY2(messages.contains(QStringLiteral("Fingerprint: \"%1\"").arg(QString::fromLatin1(fingerprint))),
             qPrintable(messages));
    QVERIFY2(messages.contains(QStringLiteral("Authentication methods: publickey,password")), qPrintable(messages));
    QVERIFY(messages.contains(QStringLiteral("Authentication by password succeeded.")));
    QVERIFY(messages.contains(QStringLiteral("call libssh2_sftp_init()!")));
    backend.reset();
    QTRY_COMPARE(m_server.sessionProcessCount(), 0);
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::hostKeyRememberedUntilItChanges()
{
    TestSshd server;
    TESTSSHD_START(server);
    const QString file = SdkKnownHosts::defaultFilePath();
    const QString folder = QFileInfo(file).path();
    QVERIFY(QDir(folder).removeRecursively());
    const auto modeOf = [](const QString &path) {
        struct stat info
        {
        };
        return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 07777u;
    };
    const auto entryFor = [&server](const QByteArray &blob) {
        return "[127.0.0.1]:" + QByteArray::number(server.port()) + " ssh-ed25519 " + blob.toBase64() + '\n';
    };
    const auto fingerprintOf = [](const QByteArray &blob) {
        return "SHA256:"
            + QCryptographicHash::hash(blob, QCryptographicHash::Sha256).toBase64(QByteArray::OmitTrailingEquals);
    };
    const auto fileContent = [&file] {
        QFile known(file);
        return known.open(QIODevice::ReadOnly) ? known.readAll() : QByteArray("unreadable");
    };
    const QByteArray oldBlob = server.hostKeyBlob();

    // First sign-in: the key is trusted, logged and recorded for the user alone, whatever the umask.
    LogTail log;
    const mode_t umaskBefore = ::umask(0);
    bool connected = false;
    std::unique_ptr<SdkSftp> backend = connectBackend(server.codeJson(), &connected);
    ::umask(umaskBefore);
    QVERIFY2(connected, qPrintable(backend->lastError));
    backend.reset();
    QCOMPARE(fileContent(), entryFor(oldBlob));
    QCOMPARE(modeOf(file), 0600u);
    QCOMPARE(modeOf(folder), 0700u);
    const QStringList logged = log.messagesOf(QStringLiteral("hostKeyTrusted"));
    QVERIFY2(logged.contains(QStringLiteral("Fingerprint: \"%1\"").arg(QString::fromLatin1(fingerprintOf(oldBlob)))),
             qPrintable(logged.join(QLatin1Char('\n'))));

    // Second sign-in: known, accepted.
    backend = connectBackend(server.codeJson(), &connected);
    QVERIFY2(connected, qPrintable(backend->lastError));
    backend.reset();

    // Another key on the same address: refused right after the key exchange, the password never sent.
    QString whyNot;
    QVERIFY2(server.restartWithNewHostKey(&whyNot), qPrintable(whyNot));
    const QByteArray newBlob = server.hostKeyBlob();
    QVERIFY(newBlob != oldBlob);
    const QString message = loginFailureFor(server.codeJson());
    QVERIFY2(message.startsWith(LoginFailure.arg(QStringLiteral("服务器的身份已改变"))), qPrintable(message));
    QVERIFY2(message.contains(QString::fromLatin1(fingerprintOf(newBlob))), qPrintable(message));
    QVERIFY2(message.contains(file), qPrintable(message));
    QVERIFY(logoutOnWorker());
    QTRY_VERIFY2(server.output().contains(QStringLiteral("Connection closed by 127.0.0.1")),
                 qPrintable(server.output()));
    QVERIFY2(!server.output().contains(QStringLiteral("password")), qPrintable(server.output()));
    QCOMPARE(fileContent(), entryFor(oldBlob));

    // The user removes the old entry: the new key is trusted and recorded.
    QVERIFY(QFile(file).resize(0));
    backend = connectBackend(server.codeJson(), &connected);
    QVERIFY2(connected, qPrintable(backend->lastError));
    backend.reset();
    QCOMPARE(fileContent(), entryFor(newBlob));
    QTRY_VERIFY2(server.output().contains(QStringLiteral("Accepted password for")), qPrintable(server.output()));
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::wrongPasswordIsRefused()
{
    const QSet<QByteArray> socketsBefore = openSockets();
    QJsonObject json = m_server.codeJson();
    QJsonObject userInfo = json.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(QStringLiteral("password"), QStringLiteral("not-the-password"));
    json.insert(QStringLiteral("userInfo"), userInfo);

    LogTail log;
    QCOMPARE(loginFailureFor(json), LoginFailure.arg(QStringLiteral("Authentication by password failed!")));
    QVERIFY(log.messagesOf(QStringLiteral("connectToServer"))
                .contains(QStringLiteral("\"Authentication by password failed!\"")));
    // The client said goodbye and closed its connection at once.
    auto *backend = qobject_cast<SdkSftp *>(VorSdk::instance()->backend());
    QVERIFY(backend && !backend->isConnected());
    QCOMPARE(openSockets(), socketsBefore);
    QTRY_COMPARE(m_server.sessionProcessCount(), 0);
    QVERIFY(logoutOnWorker());
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::serverWithoutPasswordMethod()
{
    TestSshd keyOnly(TestSshd::Options { false });
    TESTSSHD_START(keyOnly);
    const QSet<QByteArray> socketsBefore = openSockets();

    LogTail log;
    QCOMPARE(loginFailureFor(keyOnly.codeJson()),
             LoginFailure.arg(QStringLiteral("sftp server not support userauth password!")));
    const QStringList messages = log.messagesOf(QStringLiteral("connectToServer"));
    const QStringList methods = messages.filter(QStringLiteral("Authentication methods:"));
    QCOMPARE(methods.size(), 1);
    QVERIFY2(methods.first().contains(QStringLiteral("keyboard-interactive")), qPrintable(methods.first()));
    QVERIFY(!methods.first().contains(QStringLiteral("password")));
    QCOMPARE(openSockets(), socketsBefore);
    // The server logs the client's goodbye: reason 11 with the description the back end sends.
    QTRY_VERIFY2(keyOnly.output().contains(QStringLiteral("Received disconnect from 127.0.0.1 port")),
                 qPrintable(keyOnly.output()));
    QVERIFY(keyOnly.output().contains(QStringLiteral(":11: Normal Shutdown")));
    QVERIFY(logoutOnWorker());
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::tcpConnectionFails_data()
{
    QTest::addColumn<QJsonValue>("port");

    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
    const QString closedPort = QString::number(probe.serverPort());
    probe.close();

    QTest::newRow("port as a JSON number") << QJsonValue(static_cast<int>(m_server.port()));
    QTest::newRow("closed port") << QJsonValue(closedPort);
}

void TestSdkSftpSession::tcpConnectionFails()
{
    QFETCH(QJsonValue, port);
    QJsonObject json = m_server.codeJson();
    QJsonObject userInfo = json.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(QStringLiteral("port"), port);
    json.insert(QStringLiteral("userInfo"), userInfo);

    LogTail log;
    // A fresh back end has no error text yet, so the message ends with an empty one.
    QCOMPARE(loginFailureFor(json), LoginFailure.arg(QString()));
    QVERIFY(log.messagesOf(QStringLiteral("connectToServer")).isEmpty());
    auto *backend = qobject_cast<SdkSftp *>(VorSdk::instance()->backend());
    QVERIFY(backend);
    QCOMPARE(backend->port(), port.isString() ? port.toString().toUInt() : 0u);
    QCOMPARE(backend->hasError, false);
    QVERIFY(logoutOnWorker());
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::silentServerTimesOutHandshake()
{
    // Accepts TCP (the kernel completes the connection) but never says a word of SSH.
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
    QJsonObject json = m_server.codeJson();
    QJsonObject userInfo = json.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(QStringLiteral("port"), QString::number(silent.serverPort()));
    json.insert(QStringLiteral("userInfo"), userInfo);

    LogTail log;
    bool connected = true;
    std::unique_ptr<SdkSftp> backend = connectBackend(json, &connected, 1000);
    QVERIFY(!connected);
    QCOMPARE(backend->lastError, QStringLiteral("Failure establishing SSH session: %1").arg(LIBSSH2_ERROR_TIMEOUT));
    QVERIFY(
        log.messagesOf(QStringLiteral("connectToServer")).contains(QStringLiteral("\"%1\"").arg(backend->lastError)));
    QCOMPARE(backend->hasError, false);
    backend.reset();
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::failedHandshakeBackendIsDeletedElsewhere()
{
    const QSet<QByteArray> socketsBefore = openSockets();
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
    QJsonObject json = m_server.codeJson();
    QJsonObject userInfo = json.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(QStringLiteral("port"), QString::number(silent.serverPort()));
    json.insert(QStringLiteral("userInfo"), userInfo);

    // Built and connected on one worker, deleted on another, like the facade does.
    SdkSftp *backend = nullptr;
    std::unique_ptr<QThread> builder(QThread::create([&] {
        bool connected = true;
        backend = connectBackend(json, &connected, 1000).release();
    }));
    builder->start();
    QTRY_VERIFY_WITH_TIMEOUT(builder->isFinished(), 60000);
    QVERIFY(backend);
    QVERIFY(backend->lastError.startsWith(QStringLiteral("Failure establishing SSH session: ")));
    // The test's own side of the connection goes; the back end keeps its side until it is deleted.
    while (QTcpSocket *accepted = silent.nextPendingConnection())
        delete accepted;
    silent.close();
    QCOMPARE(openSockets().size(), socketsBefore.size() + 1); // kept until the object goes

    std::unique_ptr<QThread> remover(QThread::create([backend] { delete backend; }));
    remover->start();
    QTRY_VERIFY_WITH_TIMEOUT(remover->isFinished(), 60000);
    QCOMPARE(openSockets(), socketsBefore);
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpSession::exitWithConnectedBackend()
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(ExitChildVariable), TestSshd::authCode(m_server.codeJson()));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForStarted());
    QVERIFY(child.waitForFinished(120000));
    const QString output = QString::fromLocal8Bit(child.readAll());
    QVERIFY2(child.exitStatus() == QProcess::NormalExit, qPrintable(output));
    QVERIFY2(child.exitCode() == 0, qPrintable(QStringLiteral("exit code %1\n%2").arg(child.exitCode()).arg(output)));
    QVERIFY2(!output.contains(QStringLiteral("Sanitizer")) && !output.contains(QStringLiteral("runtime error")),
             qPrintable(output));
    // The connection went with the process.
    QTRY_COMPARE(m_server.sessionProcessCount(), 0);
}

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsSet(ExitChildVariable))
        return runExitChild(argc, argv);
    QApplication app(argc, argv);
    TestSdkSftpSession test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_sdksftpsession.moc"
