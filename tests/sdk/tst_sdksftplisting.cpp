// Folder listings of the SFTP back end against a real OpenSSH server: the columns taken from the long
// listing line, the sizes and times from the stat requests and their cache, and the awkward names.

#include "sdk/sdksftp.h"
#include "sftptestsupport.h"
#include "support/logtail.h"
#include "support/testsshd.h"
#include "support/warningguard.h"

#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <sys/stat.h>

using namespace SftpTestSupport;

namespace {

// A listing that frees its records when the test is done with it.
struct Listing
{
    explicit Listing(QList<FileEntry *> list)
        : entries(std::move(list))
    {
    }
    ~Listing() { qDeleteAll(entries); }
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;

    const FileEntry *find(const QString &name) const
    {
        for (const FileEntry *entry : entries) {
            if (entry->name == name)
                return entry;
        }
        return nullptr;
    }
    QStringList names() const { return sortedNames(entries); }

    QList<FileEntry *> entries;
};

struct stat statOf(const QString &path)
{
    struct stat info
    {
    };
    ::stat(QFile::encodeName(path).constData(), &info);
    return info;
}

} // namespace

class TestSdkSftpListing : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void listsOneEntry_data();
    void listsOneEntry();
    void idsFollowTheServersOrder();
    void emptyFolderListsDotDotOnly();
    void statCacheKeepsFirstAnswer();
    void missingFolderLeavesErrorState_data();
    void missingFolderLeavesErrorState();
    void chineseNameFailsItsStat();
    void nonUtf8NameDoesNotBreakListing();
    void longestNameIsListed();
    void misbehavingServer_data();
    void misbehavingServer();

private:
    std::unique_ptr<SdkSftp> connectedBackend();

    TestSshd m_server;
    std::unique_ptr<SdkSftp> m_backend;
    int m_folderNumber = 0;
};

void TestSdkSftpListing::initTestCase()
{
    WarningGuard::install();
    QCOMPARE(SdkSftp::init(), 0);
    TESTSSHD_START(m_server);
    m_backend = connectedBackend();
    QVERIFY(m_backend);
}

void TestSdkSftpListing::init()
{
    WarningGuard::take();
}

void TestSdkSftpListing::cleanupTestCase()
{
    m_backend.reset();
    SdkSftp::exit();
}

std::unique_ptr<SdkSftp> TestSdkSftpListing::connectedBackend()
{
    bool connected = false;
    std::unique_ptr<SdkSftp> backend = connectBackend(m_server.codeJson(), &connected);
    if (!connected)
        qWarning("connect failed: %s", qPrintable(backend->lastError));
    return connected ? std::move(backend) : nullptr;
}

void TestSdkSftpListing::listsOneEntry_data()
{
    QTest::addColumn<QString>("nameOnDisk");
    QTest::addColumn<int>("bytes"); // -1: a folder
    QTest::addColumn<QString>("listedName");
    QTest::addColumn<QString>("size");

    QTest::newRow("1023 bytes show 0 KB") << "a.bin" << 1023 << "a.bin"
                                          << "0 KB";
    QTest::newRow("1536 bytes show 1 KB") << "b.bin" << 1536 << "b.bin"
                                          << "1 KB";
    QTest::newRow("2047 bytes show 1 KB") << "c.bin" << 2047 << "c.bin"
                                          << "1 KB";
    QTest::newRow("empty file") << "empty" << 0 << "empty"
                                << "0 KB";
    QTest::newRow("a name with a blank is cut at it") << "my file.txt" << 3000 << "my" << QString();
    QTest::newRow("a folder") << "sub" << -1 << "sub" << QString();
    QTest::newRow("a link shows its target") << "link" << 5000 << "link"
                                             << "4 KB";
    // A name of blanks only leaves the line's ninth column empty: the entry's own name is used.
    QTest::newRow("a name of one blank") << " " << 2048 << " "
                                         << "2 KB";
}

void TestSdkSftpListing::listsOneEntry()
{
    QFETCH(QString, nameOnDisk);
    QFETCH(int, bytes);
    QFETCH(QString, listedName);
    QFETCH(QString, size);

    const QString folder = QStringLiteral("one-%1").arg(++m_folderNumber);
    QVERIFY(m_server.makeDir(folder));
    const QString relative = folder + QLatin1Char('/') + nameOnDisk;
    if (nameOnDisk.startsWith(QLatin1String("link"))) { // to a file beside the folder: the stat follows it
        QVERIFY(m_server.writeFile(folder + QStringLiteral("-target"), QByteArray(bytes, 'x')));
        QVERIFY(QFile::link(QStringLiteral("../%1-target").arg(folder), m_server.homeOnDisk() + '/' + relative));
    } else {
        QVERIFY(bytes < 0 ? m_server.makeDir(relative) : m_server.writeFile(relative, QByteArray(bytes, 'x')));
    }

    m_backend->hasError = false;
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/") + folder, QString()));
    QStringList expected { QStringLiteral(".."), listedName };
    expected.sort();
    QCOMPARE(listing.names(), expected);
    const FileEntry *entry = listing.find(listedName);
    QVERIFY(entry);
    QCOMPARE(entry->isDir, bytes < 0);
    QCOMPARE(entry->storageClass, QStringLiteral("标准存储"));
    QCOMPARE(entry->link, entry->name);

    if (listedName == nameOnDisk) {
        // Size and time come from the server's stat of the entry.
        const struct stat info = statOf(m_server.homeOnDisk() + QLatin1Char('/') + relative);
        QCOMPARE(entry->size, QStringLiteral("%1 KB").arg(static_cast<qint64>(info.st_size) >> 10));
        if (!size.isEmpty())
            QCOMPARE(entry->size, size);
        QCOMPARE(entry->modified, QDateTime::fromSecsSinceEpoch(info.st_mtime));
        QCOMPARE(m_backend->hasError, false);
        // The first size seen for a path sticks for the session, even once the file has grown.
        if (bytes >= 0) {
            QVERIFY(m_server.writeFile(relative, QByteArray(bytes + 4096, 'x')));
            const Listing again(m_backend->getFileInfo(QStringLiteral("/user-01/") + folder, QString()));
            QCOMPARE(again.find(listedName)->size, entry->size);
        }
    } else {
        // "my" does not exist: its stat fails, and the entry keeps the line's byte count and no time.
        QCOMPARE(entry->size, QString::number(bytes));
        QVERIFY(!entry->modified.isValid());
        QCOMPARE(m_backend->hasError, true);
        QCOMPARE(m_backend->lastError, QStringLiteral("SFTP unlink error: %1").arg(LIBSSH2_ERROR_SFTP_PROTOCOL));
    }
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpListing::idsFollowTheServersOrder()
{
    QVERIFY(m_server.makeDir(QStringLiteral("ids")));
    for (int i = 0; i < 12; ++i)
        QVERIFY(m_server.writeFile(QStringLiteral("ids/f%1").arg(i), QByteArray(i * 100, 'x')));
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/ids"), QStringLiteral("ignored")));
    QCOMPARE(listing.entries.size(), 13);
    for (int i = 0; i < listing.entries.size(); ++i)
        QCOMPARE(listing.entries.at(i)->id, i);
}

void TestSdkSftpListing::emptyFolderListsDotDotOnly()
{
    QVERIFY(m_server.makeDir(QStringLiteral("empty")));
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/empty"), QString()));
    QCOMPARE(listing.names(), QStringList({ ".." }));
    const FileEntry *up = listing.find(QStringLiteral(".."));
    QVERIFY(up->isDir);
    QCOMPARE(up->modified, QDateTime::fromSecsSinceEpoch(statOf(m_server.homeOnDisk()).st_mtime));
}

void TestSdkSftpListing::statCacheKeepsFirstAnswer()
{
    QVERIFY(m_server.makeDir(QStringLiteral("cache")));
    QVERIFY(m_server.writeFile(QStringLiteral("cache/grows.bin"), QByteArray(1024, 'x')));
    {
        const Listing first(m_backend->getFileInfo(QStringLiteral("/user-01/cache"), QString()));
        QCOMPARE(first.find(QStringLiteral("grows.bin"))->size, QStringLiteral("1 KB"));
    }

    QVERIFY(m_server.writeFile(QStringLiteral("cache/grows.bin"), QByteArray(5 * 1024, 'x')));
    LogTail log;
    {
        const Listing second(m_backend->getFileInfo(QStringLiteral("/user-01/cache"), QString()));
        QCOMPARE(second.find(QStringLiteral("grows.bin"))->size, QStringLiteral("1 KB"));
    }
    // The server did change: a back end without the cache sees it.
    std::unique_ptr<SdkSftp> fresh = connectedBackend();
    QVERIFY(fresh);
    const Listing third(fresh->getFileInfo(QStringLiteral("/user-01/cache"), QString()));
    QCOMPARE(third.find(QStringLiteral("grows.bin"))->size, QStringLiteral("5 KB"));
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpListing::missingFolderLeavesErrorState_data()
{
    QTest::addColumn<bool>("hasError");
    QTest::newRow("error flag clear") << false;
    QTest::newRow("error flag set") << true;
}

void TestSdkSftpListing::missingFolderLeavesErrorState()
{
    QFETCH(bool, hasError);
    m_backend->hasError = hasError;
    m_backend->lastError = QStringLiteral("earlier text");
    LogTail log;
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/no-such-folder"), QString()));
    QVERIFY(listing.entries.isEmpty());
    QCOMPARE(m_backend->hasError, hasError);
    QCOMPARE(m_backend->lastError, QStringLiteral("earlier text"));
    QCOMPARE(log.messagesOf(QStringLiteral("getFileInfo")), QStringList({ "Unable to open dir with SFTP" }));
}

void TestSdkSftpListing::chineseNameFailsItsStat()
{
    // The listing asks for the folder in UTF-8 with its byte length, but the stat sends the character
    // count as the length: the path arrives cut short and is not found.
    QVERIFY(m_server.makeDir(QStringLiteral("zh")));
    QVERIFY(m_server.writeFile(QStringLiteral("zh/文件.txt"), QByteArray(12, 'z')));
    m_backend->hasError = false;
    LogTail log;
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/zh"), QString()));
    QCOMPARE(listing.names(), QStringList({ "..", "文件.txt" }));
    const FileEntry *entry = listing.find(QStringLiteral("文件.txt"));
    QCOMPARE(entry->size, QStringLiteral("12"));
    QVERIFY(!entry->modified.isValid());
    QCOMPARE(m_backend->lastError, QStringLiteral("SFTP unlink error: %1").arg(LIBSSH2_ERROR_SFTP_PROTOCOL));
    const QStringList messages = log.messagesOf(QStringLiteral("getFileInfoFromSftpServer"));
    QVERIFY2(messages.contains(QStringLiteral("No such file or directory: \"/user-01/zh/文件.txt\"")),
             qPrintable(messages.join(QLatin1Char('\n'))));
}

void TestSdkSftpListing::nonUtf8NameDoesNotBreakListing()
{
    QVERIFY(m_server.makeDir(QStringLiteral("bytes")));
    QVERIFY(m_server.writeFileRaw("bytes/\xff\xfe-odd.bin", QByteArray(5, 'o')));
    QVERIFY(m_server.writeFile(QStringLiteral("bytes/ok.txt"), QByteArray(2048, 'k')));
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/bytes"), QString()));
    QCOMPARE(listing.names(), QStringList({ "..", "ok.txt", QString::fromUtf8("\xff\xfe-odd.bin") }));
    const FileEntry *odd = listing.find(QString::fromUtf8("\xff\xfe-odd.bin"));
    QVERIFY(odd);
    QVERIFY(odd->name.contains(QChar(QChar::ReplacementCharacter)));
    QCOMPARE(odd->size, QStringLiteral("5")); // its stat cannot name it
    QCOMPARE(listing.find(QStringLiteral("ok.txt"))->size, QStringLiteral("2 KB"));
    QCOMPARE(m_backend->lastError, QStringLiteral("SFTP unlink error: %1").arg(LIBSSH2_ERROR_SFTP_PROTOCOL));
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkSftpListing::longestNameIsListed()
{
    // 255 bytes is the longest name the server's file system holds.
    const QString name = QString(251, QLatin1Char('n')) + QStringLiteral(".txt");
    QVERIFY(m_server.makeDir(QStringLiteral("longest")));
    QVERIFY(m_server.writeFile(QStringLiteral("longest/") + name, QByteArray(3072, 'l')));
    m_backend->hasError = false;
    const Listing listing(m_backend->getFileInfo(QStringLiteral("/user-01/longest"), QString()));
    QCOMPARE(listing.names(), QStringList({ "..", name }));
    QCOMPARE(listing.find(name)->size, QStringLiteral("3 KB"));
    QCOMPARE(m_backend->hasError, false);
}

void TestSdkSftpListing::misbehavingServer_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("error");

    QTest::newRow("entry after a 600-byte name")
        << "longname" << QStringList({ "a", QString(600, 'L'), "b" }) << QString();
    // Each reply well inside the time-out, all of them together well beyond it.
    QTest::newRow("slow but answering is not dead")
        << "slow" << QStringList({ "s0", "s1", "s2", "s3", "s4", "s5" }) << QString();
    QTest::newRow("silent mid-listing: rows read so far") << "stall" << QStringList({ "e0", "e1", "e2", "e3", "e4" })
                                                          << "服务器已2秒没有响应，连接已失效，请退出后重新登录！";
    QTest::newRow("endless folder is cut") << "endless" << QStringList({ "n0", "n1", "n2", "n3", "n4", "n5", "n6" })
                                           << "文件夹内容超过7项，只显示了前7项！";
}

void TestSdkSftpListing::misbehavingServer()
{
    QFETCH(QString, mode);
    QFETCH(QStringList, names);
    QFETCH(QString, error);

    // A scripted server for what OpenSSH never does; any password signs in.
    QProcess server;
    server.start(QStringLiteral("/usr/bin/python3"), { QStringLiteral(SCRIPTED_SFTP_SERVER), mode });
    QVERIFY(server.waitForReadyRead(20000));
    QJsonObject code = m_server.codeJson();
    QJsonObject userInfo = code.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(QStringLiteral("port"), QString::fromLatin1(server.readLine().trimmed()));
    code.insert(QStringLiteral("userInfo"), userInfo);
    bool connected = false;
    std::unique_ptr<SdkSftp> backend = connectBackend(code, &connected);
    QVERIFY2(connected, qPrintable(backend->lastError));
    backend->setSessionTimeout(2000);
    backend->setListingLimit(7);

    names.sort();
    QCOMPARE(Listing(backend->getFileInfo(QStringLiteral("/any"), QString())).names(), names);
    QCOMPARE(backend->hasError, !error.isEmpty());
    QCOMPARE(backend->lastError, error);
    backend.reset(); // the goodbye to a silent server does not wait
    server.kill();
    server.waitForFinished();
    VERIFY_NO_QT_WARNINGS();
}

QTEST_GUILESS_MAIN(TestSdkSftpListing)
#include "tst_sdksftplisting.moc"
