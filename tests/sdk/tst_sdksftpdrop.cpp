// A signed-in SFTP back end whose server goes away or falls silent: later operations fail through the error
// state or an empty listing, within the session time-out, and logging out still works.

#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "sdk/sdksftp.h"
#include "sftptestsupport.h"
#include "support/logtail.h"
#include "support/testsshd.h"
#include "support/warningguard.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>

#include <functional>

using namespace SftpTestSupport;

class TestSdkSftpDrop : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void droppedConnectionFailsOperations();
    void silentServerTimesOutOperations();

private:
    void checkOperationsFail(SdkSftp *backend, const QString &folder);
};

void TestSdkSftpDrop::initTestCase()
{
    WarningGuard::install();
    QCOMPARE(SdkSftp::init(), 0);
}

void TestSdkSftpDrop::init()
{
    WarningGuard::take();
}

void TestSdkSftpDrop::cleanupTestCase()
{
    VorSdk::instance()->exit();
    SdkSftp::exit();
}

void TestSdkSftpDrop::checkOperationsFail(SdkSftp *backend, const QString &folder)
{
    backend->hasError = false;
    LogTail log;
    QList<FileEntry *> listing = backend->getFileInfo(folder, QString());
    QVERIFY(listing.isEmpty());
    QVERIFY(log.messagesOf(QStringLiteral("getFileInfo")).contains(QStringLiteral("Unable to open dir with SFTP")));

    backend->createDir(folder + QStringLiteral("/after-drop"));
    QCOMPARE(backend->hasError, true);
    QVERIFY2(backend->lastError.startsWith(QStringLiteral("SFTP mkdir(%1/after-drop) error:(-").arg(folder)),
             qPrintable(backend->lastError));

    backend->hasError = false;
    backend->rename(folder + QStringLiteral("/a"), folder + QStringLiteral("/b"));
    QCOMPARE(backend->hasError, true);
    QVERIFY2(
        backend->lastError.startsWith(QStringLiteral("rename oldFile:%1/a to newFile:%1/b occur error:-").arg(folder)),
        qPrintable(backend->lastError));

    backend->hasError = false;
    backend->getFileInfoFromSftpServer(folder + QStringLiteral("/never-stated"));
    QCOMPARE(backend->hasError, true);
    QVERIFY2(backend->lastError.startsWith(QStringLiteral("SFTP unlink error: -")), qPrintable(backend->lastError));
}

void TestSdkSftpDrop::droppedConnectionFailsOperations()
{
    TestSshd server;
    TESTSSHD_START(server);
    QVERIFY(server.writeFile(QStringLiteral("before.txt"), "before"));
    const QSet<QByteArray> socketsBefore = openSockets();

    QString message;
    QVERIFY(loginOnWorker(TestSshd::authCode(server.codeJson()), &message));
    QCOMPARE(message, QString());
    QCOMPARE(sortedNames(VorData::instance()->fileInfos()), QStringList({ "..", "before.txt" }));
    auto *backend = qobject_cast<SdkSftp *>(VorSdk::instance()->backend());
    QVERIFY(backend);

    // The server and its session processes go: the connection drops under the back end.
    server.stop();

    // Through the facade the listing empties and the path bar still moves.
    VorSdk::instance()->EnterDir(QStringLiteral(".."));
    QCOMPARE(VorData::instance()->path(), QStringLiteral("/"));
    QVERIFY(VorData::instance()->fileInfos().isEmpty());
    VorSdk::instance()->createDir(QStringLiteral("/user-01/via-facade"));
    QVERIFY(VorSdk::instance()->backendHasError());

    checkOperationsFail(backend, QStringLiteral("/user-01"));
    if (QTest::currentTestFailed())
        return;

    QVERIFY(logoutOnWorker());
    QCOMPARE(VorSdk::instance()->backend(), nullptr);
    QCOMPARE(openSockets(), socketsBefore);
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpDrop::silentServerTimesOutOperations()
{
    TestSshd server;
    TESTSSHD_START(server);
    const QSet<QByteArray> socketsBefore = openSockets();
    bool connected = false;
    std::unique_ptr<SdkSftp> backend = connectBackend(server.codeJson(), &connected);
    QVERIFY2(connected, qPrintable(backend->lastError));
    // Shortened only now: the library counts its time-out in whole seconds, so one second may end a
    // busy but healthy sign-in early.
    backend->setSessionTimeout(1000);

    // The connection stays open but nothing answers any more: the first request waits out the session
    // time-out, and the session is then dead: every later request fails at once, without waiting again.
    server.freeze();
    const QString silent = QStringLiteral("服务器已1秒没有响应，连接已失效，请退出后重新登录！");
    QVERIFY(backend->getFileInfo(QStringLiteral("/user-01"), QString()).isEmpty());
    QCOMPARE(backend->lastError, silent);
    QElapsedTimer timer;
    timer.start();
    const QList<std::function<void()>> later {
        [&] { QVERIFY(backend->getFileInfo(QStringLiteral("/user-01"), QString()).isEmpty()); },
        [&] { backend->createDir(QStringLiteral("/user-01/d")); },
        [&] { backend->rename(QStringLiteral("/user-01/a"), QStringLiteral("/user-01/b")); },
        [&] { backend->getFileInfoFromSftpServer(QStringLiteral("/user-01/never-stated")); },
    };
    for (const auto &operation : later) {
        backend->hasError = false;
        backend->lastError.clear();
        operation();
        QCOMPARE(backend->hasError, true);
        QCOMPARE(backend->lastError, silent);
    }
    // Logging out of the dead session does not wait on the server either.
    backend.reset();
    QVERIFY2(timer.elapsed() < 900, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(openSockets(), socketsBefore);
    server.stop();
    VERIFY_NO_QT_WARNINGS();
}

QTEST_MAIN(TestSdkSftpDrop)
#include "tst_sdksftpdrop.moc"
