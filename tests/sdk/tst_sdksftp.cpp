// The SFTP back end against a real OpenSSH server (one per run, each test in its own folder on it), and
// against a scripted server for the misbehaviour OpenSSH never shows.

#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdkknownhosts.h"
#include "sdk/sdksftp.h"
#include "support/modalanswerer.h"
#include "support/testsshd.h"
#include "support/warningguard.h"

#include <sys/stat.h>

namespace {

QJsonObject withUserInfo(QJsonObject code, const QString &key, const QJsonValue &value)
{
    QJsonObject userInfo = code.value("userInfo").toObject();
    userInfo.insert(key, value);
    code.insert("userInfo", userInfo);
    return code;
}

// The names in a listing, sorted; the entries are freed, a copy of the one named `wanted` kept in *found.
QStringList takeNames(const QList<FileEntry *> &entries, const QString &wanted = QString(), FileEntry *found = nullptr)
{
    QStringList names;
    for (const FileEntry *entry : entries) {
        names << entry->name;
        if (found && entry->name == wanted)
            *found = *entry;
    }
    qDeleteAll(entries);
    names.sort();
    return names;
}

const QString SignedIn = QStringLiteral("signed in");

} // namespace

class TestSdkSftp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        WarningGuard::install();
        // The known hosts then lie in a folder named outside any one code page, as a user's own may be.
        QCoreApplication::setApplicationName(QStringLiteral("tst_sdksftp-钥ő"));
        QCOMPARE(SdkSftp::init(), 0);
        QString whyNot;
        if (!m_server.start(&whyNot)) {
            QVERIFY2(!TestSshd::required(), qPrintable("OMBRIVANE_REQUIRE_SSHD=1 but sshd cannot run: " + whyNot));
            QSKIP(qPrintable("sshd cannot run: " + whyNot));
        }
#ifdef Q_OS_UNIX
        ::umask(0); // the known hosts must be private whatever the umask
#endif
    }
    void cleanup()
    {
        m_backend.reset(); // the goodbye to a silent server does not wait
        VERIFY_NO_QT_WARNINGS();
    }
    void cleanupTestCase()
    {
        VorSdk::instance()->exit();
        SdkSftp::exit();
    }

    // First, so the server's log shows this session's goodbye alone. Through the windows: the session is opened on
    // the login worker and used and ended elsewhere, without a word from Qt about threads.
    void signInAndOutThroughTheWindows()
    {
        const QDateTime modified(QDate(2021, 2, 3), QTime(4, 5, 6), Qt::UTC);
        QVERIFY(m_server.writeFile("my file.txt", "eleven byte") && m_server.writeFile("dated.txt", "x", modified));
        VorLogin *login = VorData::instance()->loginDialog();
        login->findChild<QTextEdit *>("textEdit")->setPlainText(TestSshd::authCode(m_server.codeJson()));
        login->findChild<QPushButton *>("pushButtonLogin")->click(); // returns once signed in
        QWidget *window = VorData::instance()->mainWindow();
        QWidget *page = window->findChild<QWidget *>("pageSave");
        QVERIFY(window->isVisible() && page->findChild<QWidget *>("pushButtonPrivate")->isVisible());
        QCOMPARE(VorSdk::instance()->backend()->thread(), QThread::currentThread());

        // The home folder as the storage page shows it: name, size and time. A name with a blank lists by its
        // first word, whose stat finds nothing; a time is the last change, not the last reading.
        auto *table = page->findChild<QTableWidget *>();
        QStringList rows;
        for (int row = 0; row < table->rowCount(); ++row)
            rows << table->cellWidget(row, 1)->findChild<QLabel *>("label")->text() + '|' + table->item(row, 3)->text()
                    + '|' + table->item(row, 4)->text();
        rows.sort(); // ".." first
        QCOMPARE(rows.mid(1).join(' '),
                 "dated.txt|0 KB|" + modified.toLocalTime().toString("yyyy/MM/dd HH:mm:ss") + " my|11|");
        QCOMPARE(VorSdk::instance()->backendLastError(), "SFTP unlink error: -31");

        QVERIFY(!m_server.output().contains("Received disconnect"));
        ModalAnswerer answerer;
        answerer.answer("pushButtonYes"); // 确认退出？
        window->findChild<QPushButton *>("pushButtonExit")->click();
        QTRY_VERIFY2(m_server.output().contains(":11: Normal Shutdown"), qPrintable(m_server.output())); // goodbye
    }

    void refusedSignIn()
    {
        QCOMPARE(signIn(withUserInfo(m_server.codeJson(), "password", "not-the-password")),
                 "Authentication by password failed!");
        // The code gives the port as text; a number reads as port 0.
        QVERIFY(signIn(withUserInfo(m_server.codeJson(), "port", m_server.port())) != SignedIn);
    }

    void knownHosts_data()
    {
        QTest::addColumn<QString>("before"); // lines "NAME KEY": "here" is this server's [host]:port entry
        QTest::addColumn<QString>("outcome"); // how the second sign-in ends, or how its refusal begins
        QTest::newRow("known key") << "here ours" << SignedIn;
        // It may be an impostor, so the password is not sent. Its entry follows another server's.
        QTest::newRow("another key for this server") << "127.0.0.1 other\nhere other" << QString("服务器的身份已改变");
        // OpenSSH names a server on another port [host]:port alone: this one has not been met before.
        QTest::newRow("another key for the server on port 22") << "127.0.0.1 other" << SignedIn;
        QTest::newRow("a line longer than most, kept whole") << "127.0.0.1 other long" << SignedIn;
    }
    void knownHosts()
    {
        // Every row first meets the server with no file: its key is recorded, for the user's eyes only.
        const QString file = SdkKnownHosts::defaultFilePath();
        QVERIFY(QDir(QFileInfo(file).path()).removeRecursively());
        QCOMPARE(signIn(m_server.codeJson()), SignedIn);
#ifdef Q_OS_UNIX // on Windows the user's own folder keeps the file private; owner, group, other bits of Qt's flags
        QCOMPARE(QString::number(QFile::permissions(file) & 0x7077, 16), "6000");
        QCOMPARE(QString::number(QFile::permissions(QFileInfo(file).path()) & 0x7077, 16), "7000");
#endif
        QFile known(file);
        QVERIFY(known.open(QIODevice::ReadOnly));
        const QByteArray ours = known.readAll();
        known.close();
        const QByteArray here = "[127.0.0.1]:" + QByteArray::number(m_server.port());
        QVERIFY2(ours.startsWith(here + " ssh-ed25519 ") && ours.count('\n') == 1, ours.constData());

        QFETCH(QString, before);
        const QByteArray other = QByteArray::fromHex("0000000b7373682d6564323535313900000020") + QByteArray(32, 'k');
        const QByteArray line = before.toLatin1()
                                    .replace("here", here)
                                    .replace("long", "comment-" + QByteArray(5000, 'c'))
                                    .replace("other", "ssh-ed25519 " + other.toBase64())
                                    .replace("ours", ours.mid(here.size() + 1).trimmed())
            + '\n';
        QVERIFY(known.open(QIODevice::WriteOnly | QIODevice::Truncate));
        known.write(line);
        known.close();
        QFETCH(QString, outcome);
        const QString signedIn = signIn(m_server.codeJson());
        QVERIFY2(signedIn.startsWith(outcome), qPrintable(signedIn));
        const QByteArray key = QByteArray::fromBase64(ours.split(' ').value(2)); // as ssh-keygen -l prints it:
        const QByteArray sha256 = QCryptographicHash::hash(key, QCryptographicHash::Sha256);
        QVERIFY(outcome == SignedIn
                || signedIn.contains("SHA256:" + sha256.toBase64(QByteArray::OmitTrailingEquals) + "。"));
        QVERIFY(known.open(QIODevice::ReadOnly));
        QCOMPARE(known.readAll(), outcome == SignedIn && line != ours ? line + ours : line); // a new server is added
    }

    void foldersAndRenames()
    {
        QVERIFY(m_server.makeDir("ops") && m_server.writeFile("ops/taken", "t"));
        QCOMPARE(signIn(m_server.codeJson()), SignedIn);
        m_backend->createDir("/user-01/ops/made");
        QVERIFY2(!m_backend->hasError, qPrintable(m_backend->lastError));
        QCOMPARE(m_server.modeOf("ops/made"), S_IFDIR | 0755u); // the server masks nothing

        m_backend->createDir("/user-01/ops/made");
        QCOMPARE(m_backend->hasError ? m_backend->lastError : "no failure",
                 "SFTP mkdir(/user-01/ops/made) error:(-31)");
        m_backend->createDir("/user-01/ops/also"); // a folder made still reads as that failure
        QVERIFY(m_backend->hasError && m_server.modeOf("ops/also") & S_IFDIR);
#ifdef Q_OS_UNIX // the name is sent in the local 8-bit encoding, UTF-8 here, cut to its count of characters
        m_backend->createDir("/user-01/ops/中文abcd");
        QVERIFY(m_server.modeOf("ops/中文") & S_IFDIR);
#endif
        // A rename that works clears the earlier failure.
        m_backend->rename("/user-01/ops/made", "/user-01/ops/renamed");
        QVERIFY2(!m_backend->hasError, qPrintable(m_backend->lastError));
        QVERIFY(m_server.modeOf("ops/renamed") & S_IFDIR);

        // OpenSSH's server refuses an existing target; the user is told why.
        m_backend->rename("/user-01/ops/renamed", "/user-01/ops/taken");
        QVERIFY2(m_backend->hasError && m_backend->lastError.contains("新名称“taken”已存在"),
                 qPrintable(m_backend->lastError));
        QVERIFY(m_server.modeOf("ops/renamed") & S_IFDIR);
        // A rename failing for another reason is not blamed on a taken name.
        m_backend->rename("/user-01/ops/gone", "/user-01/ops/free");
        QCOMPARE(m_backend->lastError, "rename oldFile:/user-01/ops/gone to newFile:/user-01/ops/free occur error:-31");
    }

    void listing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("bytes"); // -1: a folder
        QTest::addColumn<bool>("link");
        QTest::addColumn<QString>("size");
        QTest::newRow("2047 bytes are 1 KB") << "b.bin" << 2047 << false << "1 KB";
        QTest::newRow("folder") << "sub" << -1 << false << QString();
        QTest::newRow("link: its target's size") << "link" << 5000 << true << "4 KB";
        // The stat sends the character count as the length: the path arrives cut and is not found.
        QTest::newRow("Chinese name: the line's bytes") << "文件.txt" << 12 << false << "12";
    }
    void listing()
    {
        QFETCH(QString, name);
        QFETCH(int, bytes);
        QFETCH(bool, link);
        QFETCH(QString, size);
        const QString folder = QString("list-%1").arg(++m_folders);
        const QString target = link ? folder + "-target" : folder + QLatin1Char('/') + name;
        QVERIFY(m_server.makeDir(folder));
        QVERIFY(bytes < 0 ? m_server.makeDir(target) : m_server.writeFile(target, QByteArray(bytes, 'x')));
        if (link)
            QVERIFY(m_server.makeLink("../" + target, folder + '/' + name));

        QCOMPARE(signIn(m_server.codeJson()), SignedIn);
        const QString path = "/user-01/" + folder;
        // Sizes from a stat or a folder read stick for the session, even once the file grows.
        for (int round = 0; round < (size.endsWith(QLatin1String("KB")) ? 2 : 1); ++round) {
            if (round > 0)
                QVERIFY(m_server.writeFile(target, QByteArray(bytes + 8192, 'x')));
            FileEntry entry;
            QCOMPARE(takeNames(m_backend->getFileInfo(path, QString()), name, &entry), (QStringList { "..", name }));
            QCOMPARE(entry.isDir, bytes < 0);
            if (!size.isEmpty())
                QCOMPARE(entry.size, size);
        }
    }

    void misbehavingServer_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("error");
        const QString none, silent = "服务器已2秒没有响应，连接已失效，请退出后重新登录！";
        QTest::newRow("after a 600-byte name") << "longname" << QStringList { "a", "b", QString(600, 'L') } << none;
        // Each reply well inside the time-out, all of them together well beyond it.
        QTest::newRow("slow but answering") << "slow" << QStringList { "s0", "s1", "s2", "s3", "s4", "s5" } << none;
        QTest::newRow("silent mid-listing") << "stall" << QStringList { "e0", "e1", "e2", "e3", "e4" } << silent;
        const QStringList seven { "n0", "n1", "n2", "n3", "n4", "n5", "n6" };
        QTest::newRow("endless folder is cut") << "endless" << seven << QString("文件夹内容超过7项，只显示了前7项！");
    }
    void misbehavingServer()
    {
        QFETCH(QString, mode);
        QFETCH(QStringList, names);
        QFETCH(QString, error);
        // Any password signs in; the user name chooses how the folders read.
        const QJsonObject code = withUserInfo(m_server.codeJson(), "port", QString::number(m_server.scriptedPort()));
        QCOMPARE(signIn(withUserInfo(code, "username", mode)), SignedIn);
        m_backend->setSessionTimeout(2000);
        m_backend->setListingLimit(7);
        names.sort();
        QCOMPARE(takeNames(m_backend->getFileInfo("/any", QString())), names);
        QCOMPARE(m_backend->lastError, error);
    }

private:
    // A fresh back end signed in with the code: SignedIn, or why it was refused.
    QString signIn(const QJsonObject &code)
    {
        m_backend = std::make_unique<SdkSftp>();
        m_backend->parseAuthCode(QString::fromUtf8(QJsonDocument(code).toJson()));
        return m_backend->connectToServer() ? SignedIn : m_backend->lastError;
    }

    TestSshd m_server;
    std::unique_ptr<SdkSftp> m_backend;
    int m_folders = 0;
};

QTEST_MAIN(TestSdkSftp)
#include "tst_sdksftp.moc"
