// The parts of the SFTP back end that need no server: reading the authorization code, the state signal,
// turning a folder entry into a row, the path encoding, and operations on a back end that never connected.

#include "sdk/sdksftp.h"
#include "support/logtail.h"
#include "support/warningguard.h"

#include <QDate>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

namespace {

QString codeText(const QJsonObject &userInfo, const QJsonValue &project = QStringLiteral("proj"))
{
    QJsonObject json { { QStringLiteral("storage"), QStringLiteral("sftp") }, { QStringLiteral("project"), project } };
    if (!userInfo.isEmpty())
        json.insert(QStringLiteral("userInfo"), userInfo);
    return QString::fromUtf8(QJsonDocument(json).toJson());
}

QString msAtLocalNoonIn(int daysFromToday)
{
    const QDateTime noon(QDate::currentDate().addDays(daysFromToday), QTime(12, 0));
    return QString::number(noon.toMSecsSinceEpoch());
}

SdkSftp::ListedEntry listed(const QByteArray &name, const QByteArray &longEntry, unsigned long flags = 0,
                            unsigned long permissions = 0, quint64 size = 0)
{
    SdkSftp::ListedEntry entry;
    entry.name = name;
    entry.longEntry = longEntry;
    entry.attributes.flags = flags;
    entry.attributes.permissions = permissions;
    entry.attributes.filesize = size;
    return entry;
}

} // namespace

Q_DECLARE_METATYPE(SdkSftp::ListedEntry)

class TestSdkSftpOffline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void parseAuthCode_data();
    void parseAuthCode();
    void userInfoThatIsNoObject();
    void loadSampleSettings();
    void setServerState();
    void entryFromListing_data();
    void entryFromListing();
    void encodedPath_data();
    void encodedPath();
    void unconnectedBackendFailsQuietly();
};

void TestSdkSftpOffline::initTestCase()
{
    WarningGuard::install();
    QCOMPARE(SdkSftp::init(), 0);
}

void TestSdkSftpOffline::init()
{
    WarningGuard::take();
}

void TestSdkSftpOffline::parseAuthCode_data()
{
    QTest::addColumn<QJsonObject>("userInfo");
    QTest::addColumn<int>("validDays");
    QTest::addColumn<quint32>("port");

    const QJsonObject base { { "host", "10.1.2.3" },
                             { "username", "u1" },
                             { "password", "p1" },
                             { "port", "2222" },
                             { "expireTime", msAtLocalNoonIn(30) } };
    auto with = [&base](const char *key, const QJsonValue &value) {
        QJsonObject changed = base;
        if (value.isUndefined())
            changed.remove(QLatin1String(key));
        else
            changed.insert(QLatin1String(key), value);
        return changed;
    };

    QTest::newRow("30 days ahead") << base << 30 << 2222u;
    QTest::newRow("today") << with("expireTime", msAtLocalNoonIn(0)) << 0 << 2222u;
    QTest::newRow("yesterday") << with("expireTime", msAtLocalNoonIn(-1)) << -1 << 2222u;
    QTest::newRow("no expiry: the epoch's date")
        << with("expireTime", QJsonValue::Undefined)
        << static_cast<int>(QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(0).date())) << 2222u;
    QTest::newRow("expiry as a JSON number reads as 0")
        << with("expireTime", 4102444800000.0)
        << static_cast<int>(QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(0).date())) << 2222u;
    QTest::newRow("port as a JSON number") << with("port", 2222) << 30 << 0u;
    QTest::newRow("port not digits") << with("port", "22a") << 30 << 0u;
    QTest::newRow("a home folder in the code is ignored") << with("home", "/elsewhere") << 30 << 2222u;
}

void TestSdkSftpOffline::parseAuthCode()
{
    QFETCH(QJsonObject, userInfo);
    QFETCH(int, validDays);
    QFETCH(quint32, port);

    SdkSftp backend;
    backend.parseAuthCode(codeText(userInfo));
    QCOMPARE(backend.projectName(), QStringLiteral("proj"));
    QCOMPARE(backend.userName(), QStringLiteral("u1"));
    QCOMPARE(backend.host(), QStringLiteral("10.1.2.3"));
    QCOMPARE(backend.homePath(), QStringLiteral("/user-01"));
    QCOMPARE(backend.validDays(), validDays);
    QCOMPARE(backend.port(), port);
    QCOMPARE(backend.hasError, false);
    QCOMPARE(backend.lastError, QString());
}

void TestSdkSftpOffline::userInfoThatIsNoObject()
{
    SdkSftp backend;
    QJsonObject json { { "project", "only-project" }, { "userInfo", "text" } };
    backend.parseAuthCode(QString::fromUtf8(QJsonDocument(json).toJson()));
    QCOMPARE(backend.projectName(), QStringLiteral("only-project"));
    QCOMPARE(backend.userName(), QString());
    QCOMPARE(backend.homePath(), QString());
    QCOMPARE(backend.validDays(), 0);
    QCOMPARE(backend.port(), 0u);

    // Not JSON at all: nothing is read, nothing is reported.
    backend.parseAuthCode(QStringLiteral("{not json"));
    QCOMPARE(backend.projectName(), QString());
    QCOMPARE(backend.lastError, QString());
}

void TestSdkSftpOffline::loadSampleSettings()
{
    SdkSftp backend;
    backend.loadSampleSettings();
    QCOMPARE(backend.port(), 22u);
    QCOMPARE(backend.homePath(), QStringLiteral("/user-01"));
    QVERIFY(!backend.userName().isEmpty());
    QVERIFY(!backend.host().isEmpty());
}

void TestSdkSftpOffline::setServerState()
{
    SdkSftp backend;
    QSignalSpy changes(&backend, &SdkObject::serverStateChanged);
    LogTail log;
    backend.setServerState(ServerDisconnected);
    QCOMPARE(changes.count(), 0);
    QVERIFY(log.messagesOf(QStringLiteral("setServerState")).isEmpty());

    backend.setServerState(static_cast<ServerState>(2));
    QCOMPARE(changes.count(), 1);
    QCOMPARE(backend.serverState(), static_cast<ServerState>(2));
    QCOMPARE(log.messagesOf(QStringLiteral("setServerState")),
             QStringList({ "SdkSftp Change server state  0  to  2" }));
}

void TestSdkSftpOffline::entryFromListing_data()
{
    QTest::addColumn<SdkSftp::ListedEntry>("entry");
    QTest::addColumn<bool>("kept");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isDir");
    QTest::addColumn<QString>("size");

    const unsigned long perms = LIBSSH2_SFTP_ATTR_PERMISSIONS | LIBSSH2_SFTP_ATTR_SIZE;
    QTest::newRow("file line") << listed("a.txt", "-rw-r--r--    ? u g     1023 Nov 22 00:56 a.txt") << true << "a.txt"
                               << false << "1023";
    QTest::newRow("folder line") << listed("sub", "drwxr-xr-x    ? u g     4096 Nov 22 00:56 sub") << true << "sub"
                                 << true << "4096";
    QTest::newRow("dot is skipped") << listed(".", "drwxr-xr-x    ? u g     4096 Nov 22 00:56 .") << false << QString()
                                    << false << QString();
    QTest::newRow("dot-dot is kept") << listed("..", "drwxr-xr-x    ? u g     4096 Nov 22 00:56 ..") << true << ".."
                                     << true << "4096";
    QTest::newRow("blank in name: first word")
        << listed("my file.txt", "-rw-r--r-- 1 u g 5 Nov 22 00:56 my file.txt") << true << "my" << false << "5";
    QTest::newRow("tabs and runs of blanks")
        << listed("t", "-rw-r--r--\t1  u\tg  7 Nov 22  2020 t") << true << "t" << false << "7";
    QTest::newRow("short line: own name and attributes")
        << listed("short", "-rw-r--r-- 1 u g 9", perms, LIBSSH2_SFTP_S_IFDIR | 0755, 9) << true << "short" << true
        << "9";
    QTest::newRow("short line without attributes") << listed("plain", "drwx") << true << "plain" << true << QString();
    QTest::newRow("no line at all") << listed("bare", "", perms, LIBSSH2_SFTP_S_IFREG | 0644, 77) << true << "bare"
                                    << false << "77";
    QTest::newRow("short line naming dot")
        << listed(".", "d", perms, LIBSSH2_SFTP_S_IFDIR | 0755, 1) << false << QString() << false << QString();
    QTest::newRow("nothing named") << listed("", "") << false << QString() << false << QString();
    QTest::newRow("bytes that are not UTF-8") << listed("\xff", "-rw-r--r-- 1 u g 3 Nov 22 00:56 \xff\xfe") << true
                                              << QString::fromUtf8("\xff\xfe") << false << "3";
}

void TestSdkSftpOffline::entryFromListing()
{
    QFETCH(SdkSftp::ListedEntry, entry);
    QFETCH(bool, kept);
    QFETCH(QString, name);
    QFETCH(bool, isDir);
    QFETCH(QString, size);

    std::unique_ptr<FileEntry> row(
        SdkSftp::entryFromListing(entry, SdkSftp::splitLongEntry(QString::fromUtf8(entry.longEntry)), 4));
    QCOMPARE(row != nullptr, kept);
    if (!row)
        return;
    QCOMPARE(row->id, 4);
    QCOMPARE(row->name, name);
    QCOMPARE(row->isDir, isDir);
    QCOMPARE(row->size, size);
    QCOMPARE(row->storageClass, QStringLiteral("标准存储"));
    QVERIFY(!row->modified.isValid());
}

void TestSdkSftpOffline::encodedPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("sent");

    QTest::newRow("ASCII as it is") << "/user-01/a b" << QByteArray("/user-01/a b");
    QTest::newRow("short by two bytes per Chinese character") << "/a/中文" << QByteArray("/a/\xe4\xb8");
    QTest::newRow("characters outside the basic plane") << "/\U0001F600" << QByteArray("/\xf0\x9f");
    QTest::newRow("empty") << QString() << QByteArray();
}

void TestSdkSftpOffline::encodedPath()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, sent);
    QCOMPARE(SdkSftp::encodedPath(path), sent);
}

void TestSdkSftpOffline::unconnectedBackendFailsQuietly()
{
    // Nothing guards these calls in the facade once a login failed; they must not crash.
    SdkSftp backend;
    backend.parseAuthCode(codeText({ { "host", "127.0.0.1" }, { "port", "1" } }));
    LogTail log;
    QVERIFY(backend.getFileInfo(QStringLiteral("/user-01"), QString()).isEmpty());
    QCOMPARE(log.messagesOf(QStringLiteral("getFileInfo")), QStringList({ "Unable to open dir with SFTP" }));
    QCOMPARE(backend.hasError, false);

    backend.createDir(QStringLiteral("/user-01/x"));
    QCOMPARE(backend.lastError, QStringLiteral("SFTP mkdir(/user-01/x) error:(%1)").arg(LIBSSH2_ERROR_BAD_USE));
    backend.rename(QStringLiteral("/a"), QStringLiteral("/b"));
    QCOMPARE(backend.lastError,
             QStringLiteral("rename oldFile:/a to newFile:/b occur error:%1").arg(LIBSSH2_ERROR_BAD_USE));
    backend.getFileInfoFromSftpServer(QStringLiteral("/a"));
    QCOMPARE(backend.lastError, QStringLiteral("SFTP unlink error: %1").arg(LIBSSH2_ERROR_BAD_USE));
    QCOMPARE(backend.hasError, true);
    backend.disconnectFromServer();
    VERIFY_NO_QT_WARNINGS();
}

QTEST_GUILESS_MAIN(TestSdkSftpOffline)
#include "tst_sdksftpoffline.moc"
