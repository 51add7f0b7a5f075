// Folder creation and renaming of the SFTP back end against a real OpenSSH server, the operations that do
// nothing, and the way paths are encoded for these requests.

#include "sdk/sdksftp.h"
#include "sftptestsupport.h"
#include "support/logtail.h"
#include "support/testsshd.h"
#include "support/warningguard.h"

#include <QTest>

#include <pwd.h>
#include <sys/stat.h>

using namespace SftpTestSupport;

namespace {

bool existsOnDisk(const QString &path)
{
    struct stat info
    {
    };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

class TestSdkSftpFolderOps : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void createDirMakesFolder();
    void createExistingFolderFails();
    void successAfterFailureKeepsError();
    void renameMovesEntry_data();
    void renameMovesEntry();
    void renameOntoExistingName_data();
    void renameOntoExistingName();
    void renameOfMissingEntryFails();
    void chinesePathIsCutShort_data();
    void chinesePathIsCutShort();
    void operationsWithoutEffect();

private:
    QString home() const { return m_server.homeOnDisk(); }

    TestSshd m_server;
    std::unique_ptr<SdkSftp> m_backend;
};

void TestSdkSftpFolderOps::initTestCase()
{
    WarningGuard::install();
    QCOMPARE(SdkSftp::init(), 0);
    TESTSSHD_START(m_server);
    bool connected = false;
    m_backend = connectBackend(m_server.codeJson(), &connected);
    QVERIFY2(connected, qPrintable(m_backend->lastError));
}

void TestSdkSftpFolderOps::init()
{
    WarningGuard::take();
    m_backend->hasError = false;
    m_backend->lastError.clear();
}

void TestSdkSftpFolderOps::cleanupTestCase()
{
    m_backend.reset();
    SdkSftp::exit();
}

void TestSdkSftpFolderOps::createDirMakesFolder()
{
    LogTail log;
    m_backend->createDir(QStringLiteral("/user-01/made"));
    QCOMPARE(m_backend->hasError, false);
    QCOMPARE(m_backend->lastError, QString());
    QVERIFY(log.messagesOf(QStringLiteral("createDir")).isEmpty());

    struct stat info
    {
    };
    QCOMPARE(::stat(QFile::encodeName(home() + QStringLiteral("/made")).constData(), &info), 0);
    QVERIFY(S_ISDIR(info.st_mode));
    // The test server masks nothing, so the folder has exactly the mode the client asked for.
    QCOMPARE(info.st_mode & 07777, 0755u);
    QCOMPARE(info.st_uid, ::getpwnam(TestSshd::userName().toUtf8().constData())->pw_uid);
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpFolderOps::createExistingFolderFails()
{
    QVERIFY(m_server.makeDir(QStringLiteral("twice")));
    LogTail log;
    m_backend->createDir(QStringLiteral("/user-01/twice"));
    const QString expected = QStringLiteral("SFTP mkdir(/user-01/twice) error:(-31)");
    QCOMPARE(m_backend->hasError, true);
    QCOMPARE(m_backend->lastError, expected);
    QCOMPARE(log.messagesOf(QStringLiteral("createDir")), QStringList(QLatin1Char('"') + expected + QLatin1Char('"')));
}

void TestSdkSftpFolderOps::successAfterFailureKeepsError()
{
    QVERIFY(m_server.makeDir(QStringLiteral("exists")));
    m_backend->createDir(QStringLiteral("/user-01/exists"));
    QCOMPARE(m_backend->hasError, true);
    m_backend->createDir(QStringLiteral("/user-01/after-failure"));
    QVERIFY(QFileInfo(home() + QStringLiteral("/after-failure")).isDir());
    // Creating a folder never clears the flag: the earlier failure still reads as one.
    QCOMPARE(m_backend->hasError, true);
    QCOMPARE(m_backend->lastError, QStringLiteral("SFTP mkdir(/user-01/exists) error:(-31)"));

    // A rename that works clears it.
    QVERIFY(m_server.writeFile(QStringLiteral("clears.txt"), "c"));
    m_backend->rename(QStringLiteral("/user-01/clears.txt"), QStringLiteral("/user-01/cleared.txt"));
    QCOMPARE(m_backend->hasError, false);
}

void TestSdkSftpFolderOps::renameMovesEntry_data()
{
    QTest::addColumn<bool>("folder");
    QTest::newRow("file") << false;
    QTest::newRow("folder") << true;
}

void TestSdkSftpFolderOps::renameMovesEntry()
{
    QFETCH(bool, folder);
    const QString from = folder ? QStringLiteral("old-folder") : QStringLiteral("old-file.txt");
    const QString to = folder ? QStringLiteral("new-folder") : QStringLiteral("new-file.txt");
    if (folder) {
        QVERIFY(m_server.makeDir(from));
        QVERIFY(m_server.writeFile(from + QStringLiteral("/inside.txt"), "inside"));
    } else {
        QVERIFY(m_server.writeFile(from, "content"));
    }
    m_backend->hasError = true;
    LogTail log;
    m_backend->rename(QStringLiteral("/user-01/") + from, QStringLiteral("/user-01/") + to);
    QCOMPARE(m_backend->hasError, false);
    QVERIFY(!existsOnDisk(home() + QLatin1Char('/') + from));
    if (folder)
        QCOMPARE(contentOf(home() + QLatin1Char('/') + to + QStringLiteral("/inside.txt")), QByteArray("inside"));
    else
        QCOMPARE(contentOf(home() + QLatin1Char('/') + to), QByteArray("content"));
    QVERIFY(log.messagesOf(QStringLiteral("rename")).isEmpty());
}

void TestSdkSftpFolderOps::renameOntoExistingName_data()
{
    QTest::addColumn<bool>("sourceIsFolder");
    QTest::addColumn<bool>("targetIsFolder");
    QTest::newRow("file onto file") << false << false;
    QTest::newRow("folder onto folder") << true << true;
    QTest::newRow("file onto folder") << false << true;
}

void TestSdkSftpFolderOps::renameOntoExistingName()
{
    QFETCH(bool, sourceIsFolder);
    QFETCH(bool, targetIsFolder);
    const QString tag = QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'));
    const QString source = tag + QStringLiteral("-source");
    const QString target = tag + QStringLiteral("-target");
    QVERIFY(sourceIsFolder ? m_server.makeDir(source) : m_server.writeFile(source, "source"));
    QVERIFY(targetIsFolder ? m_server.makeDir(target) : m_server.writeFile(target, "target"));

    // The request asks to overwrite, but OpenSSH's server speaks SFTP version 3, whose rename carries no
    // flags, and it refuses an existing target: the rename fails, says why, and both entries stay.
    const QString oldPath = QStringLiteral("/user-01/") + source;
    const QString newPath = QStringLiteral("/user-01/") + target;
    m_backend->rename(oldPath, newPath);
    QCOMPARE(m_backend->hasError, true);
    QCOMPARE(m_backend->lastError,
             QStringLiteral("rename oldFile:%1 to newFile:%2 occur error:-31\n新名称“%3”已存在：服务器不能用改名覆盖"
                            "已有的文件或文件夹，请换一个名称，或先删除已有的那一项。")
                 .arg(oldPath, newPath, target));
    QVERIFY(existsOnDisk(home() + QLatin1Char('/') + source));
    if (!targetIsFolder)
        QCOMPARE(contentOf(home() + QLatin1Char('/') + target), QByteArray("target"));
    else
        QVERIFY(QFileInfo(home() + QLatin1Char('/') + target).isDir());
}

void TestSdkSftpFolderOps::renameOfMissingEntryFails()
{
    m_backend->rename(QStringLiteral("/user-01/not-there"), QStringLiteral("/user-01/still-not-there"));
    QCOMPARE(m_backend->hasError, true);
    QCOMPARE(m_backend->lastError,
             QStringLiteral("rename oldFile:/user-01/not-there to newFile:/user-01/still-not-there occur error:-31"));
}

void TestSdkSftpFolderOps::chinesePathIsCutShort_data()
{
    QTest::addColumn<bool>("viaRename");
    QTest::addColumn<QString>("requested");
    QTest::addColumn<QByteArray>("onServer");

    // "/user-01/" is 9 characters; each Chinese character is one character but three bytes.
    QTest::newRow("mkdir, cut after the Chinese part") << false << "中文abcd" << QByteArray("中文");
    QTest::newRow("mkdir, cut inside a character") << false << "新建" << QByteArray("\xe6\x96");
    QTest::newRow("rename, cut after the Chinese part") << true << "名字abcd" << QByteArray("名字");
}

void TestSdkSftpFolderOps::chinesePathIsCutShort()
{
    QFETCH(bool, viaRename);
    QFETCH(QString, requested);
    QFETCH(QByteArray, onServer);

    const QString path = QStringLiteral("/user-01/") + requested;
    QCOMPARE(SdkSftp::encodedPath(path), QByteArray("/user-01/") + onServer);
    if (viaRename) {
        QVERIFY(m_server.writeFile(QStringLiteral("to-be-named"), "named"));
        m_backend->rename(QStringLiteral("/user-01/to-be-named"), path);
    } else {
        m_backend->createDir(path);
    }
    QVERIFY2(!m_backend->hasError, qPrintable(m_backend->lastError));
    const QList<QByteArray> names = m_server.rawNames(QString());
    QVERIFY(names.contains(onServer));
    QVERIFY(!names.contains(requested.toUtf8()));
}

void TestSdkSftpFolderOps::operationsWithoutEffect()
{
    QVERIFY(m_server.writeFile(QStringLiteral("kept.txt"), "kept"));
    m_backend->hasError = true;
    m_backend->lastError = QStringLiteral("left alone");
    LogTail log;

    m_backend->deleteFile(QStringLiteral("/user-01/kept.txt"));
    m_backend->upload(QStringLiteral("/tmp/any"));
    m_backend->uploadDir(QStringLiteral("/tmp"));
    m_backend->download(3);
    m_backend->deleteTask(3);
    m_backend->pauseTask(3);
    m_backend->continueTask(3);
    m_backend->reservedOperation(3);

    QCOMPARE(contentOf(home() + QStringLiteral("/kept.txt")), QByteArray("kept"));
    QCOMPARE(m_backend->hasError, true);
    QCOMPARE(m_backend->lastError, QStringLiteral("left alone"));
    QVERIFY(log.lines().isEmpty());
}

QTEST_GUILESS_MAIN(TestSdkSftpFolderOps)
#include "tst_sdksftpfolderops.moc"
