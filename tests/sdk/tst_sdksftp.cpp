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

#include <QtTest>
#include <QtWidgets>

#include <sys/stat.h>

namespace {

QJsonObject withUserInfo(QJsonObject code, const QString &key, const QJsonValue &value)
{
    QJsonObject userInfo = code.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(key, value);
    code.insert(QStringLiteral("userInfo"), userInfo);
    return code;
}

std::unique_ptr<SdkSftp> connectBackend(const QJsonObject &code, bool *connected)
{
    auto backend = std::make_unique<SdkSftp>();
    backend->parseAuthCode(QString::fromUtf8(QJsonDocument(code).toJson()));
    *connected = backend->connectToServer();
    return backend;
}

#ifdef Q_OS_UNIX
unsigned modeOf(const QString &path)
{
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 07777u;
}
#endif

QStringList namesOf(const QList<FileEntry *> &entries)
{
    QStringList names;
    for (const FileEntry *entry : entries)
        names << entry->name;
    names.sort();
    return names;
}

bool labelShows(QWidget *window, const QString &text)
{
    const QList<QLabel *> labels = window->findChildren<QLabel *>();
    return std::any_of(labels.begin(), labels.end(),
                       [&text](const QLabel *label) { return label->isVisible() && label->text() == text; });
}

} // namespace

class TestSdkSftp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        WarningGuard::install();
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
        m_backend.reset();
        VorSdk::instance()->exit();
        SdkSftp::exit();
    }

    // First, while no session has ended yet: the server's log then shows this one's goodbye.
    void signInAndOutThroughTheWindows()
    {
        QVERIFY(m_server.makeDir(QStringLiteral("shown")));
        VorLogin *login = VorData::instance()->loginDialog();
        login->show();
        login->findChild<QTextEdit *>(QStringLiteral("textEdit"))
            ->setPlainText(TestSshd::authCode(m_server.codeJson()));
        login->findChild<QPushButton *>(QStringLiteral("pushButtonLogin"))->click(); // returns once signed in
        VorMain *window = VorData::instance()->mainWindow();
        QTRY_VERIFY(window->isVisible());
        QCOMPARE(VorData::instance()->path(), QStringLiteral("/user-01"));
        QTRY_VERIFY(labelShows(window, QStringLiteral("shown")));
        // Built on the login worker, used on this thread.
        QCOMPARE(VorSdk::instance()->backend()->thread(), QThread::currentThread());
        QVERIFY(!m_server.output().contains(QStringLiteral("Received disconnect")));

        ModalAnswerer answerer;
        answerer.answer(QStringLiteral("pushButtonYes")); // 确认退出？
        window->findChild<QPushButton *>(QStringLiteral("pushButtonExit"))->click();
        QTRY_VERIFY(login->isVisible());
        QCOMPARE(VorSdk::instance()->backend(), nullptr);
        QTRY_VERIFY2(m_server.output().contains(QStringLiteral("Received disconnect from 127.0.0.1")),
                     qPrintable(m_server.output()));
    }

    void refusedSignIn()
    {
        bool connected = true;
        m_backend = connectBackend(withUserInfo(m_server.codeJson(), "password", "not-the-password"), &connected);
        QVERIFY(!connected);
        QCOMPARE(m_backend->lastError, QStringLiteral("Authentication by password failed!"));
        // The code gives the port as text; a number reads as port 0.
        m_backend = connectBackend(withUserInfo(m_server.codeJson(), "port", m_server.port()), &connected);
        QVERIFY(!connected);
    }

    void knownHosts_data()
    {
        QTest::addColumn<QString>("before"); // lines "NAME KEY": "here" is this server's [host]:port entry
        QTest::addColumn<bool>("signsIn");
        QTest::newRow("known key") << "here ours" << true;
        // It may be an impostor, so the password is not sent.
        QTest::newRow("another key for this server") << "here other" << false;
        // OpenSSH names a server on another port [host]:port alone: this one has not been met before.
        QTest::newRow("another key for the server on port 22") << "127.0.0.1 other" << true;
        QTest::newRow("another key for another port") << "[127.0.0.1]:1 other" << true;
    }
    void knownHosts()
    {
        // Every row first meets the server with no file: its key is recorded, for the user's eyes only.
        const QString file = SdkKnownHosts::defaultFilePath();
        QVERIFY(QDir(QFileInfo(file).path()).removeRecursively());
        bool connected = false;
        m_backend = connectBackend(m_server.codeJson(), &connected);
        QVERIFY2(connected, qPrintable(m_backend->lastError));
#ifdef Q_OS_UNIX // on Windows the user's own folder keeps the file private
        QCOMPARE(modeOf(file), 0600u);
        QCOMPARE(modeOf(QFileInfo(file).path()), 0700u);
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
                                    .replace("other", "ssh-ed25519 " + other.toBase64())
                                    .replace("ours", ours.mid(here.size() + 1).trimmed())
            + '\n';
        QVERIFY(known.open(QIODevice::WriteOnly | QIODevice::Truncate));
        known.write(line);
        known.close();
        m_backend = connectBackend(m_server.codeJson(), &connected);
        QFETCH(bool, signsIn);
        QCOMPARE(connected, signsIn);
        QVERIFY(known.open(QIODevice::ReadOnly));
        QCOMPARE(known.readAll(), signsIn && line != ours ? line + ours : line); // a new server is added
        if (!signsIn)
            QVERIFY2(m_backend->lastError.startsWith(QStringLiteral("服务器的身份已改变")),
                     qPrintable(m_backend->lastError));
    }

    void foldersAndRenames()
    {
        QVERIFY(m_server.makeDir(QStringLiteral("ops")) && m_server.writeFile(QStringLiteral("ops/taken"), "t"));
        bool connected = false;
        m_backend = connectBackend(m_server.codeJson(), &connected);
        m_backend->createDir(QStringLiteral("/user-01/ops/made"));
        QVERIFY2(!m_backend->hasError, qPrintable(m_backend->lastError));
        QCOMPARE(m_server.modeOf(QStringLiteral("ops/made")), S_IFDIR | 0755u); // the server masks nothing

        m_backend->createDir(QStringLiteral("/user-01/ops/made"));
        QCOMPARE(m_backend->hasError ? m_backend->lastError : "no failure",
                 QStringLiteral("SFTP mkdir(/user-01/ops/made) error:(-31)"));
        m_backend->createDir(QStringLiteral("/user-01/ops/also")); // a folder made still reads as that failure
        QVERIFY(m_backend->hasError && m_server.modeOf(QStringLiteral("ops/also")) & S_IFDIR);
        // A rename that works clears the earlier failure.
        m_backend->rename(QStringLiteral("/user-01/ops/made"), QStringLiteral("/user-01/ops/renamed"));
        QVERIFY2(!m_backend->hasError, qPrintable(m_backend->lastError));
        QVERIFY(m_server.modeOf(QStringLiteral("ops/renamed")) & S_IFDIR);

        // OpenSSH's server refuses an existing target; the user is told why.
        m_backend->rename(QStringLiteral("/user-01/ops/renamed"), QStringLiteral("/user-01/ops/taken"));
        QVERIFY2(m_backend->hasError && m_backend->lastError.contains("新名称“taken”已存在"),
                 qPrintable(m_backend->lastError));
        QVERIFY(m_server.modeOf(QStringLiteral("ops/renamed")) & S_IFDIR);
        // A rename failing for another reason is not blamed on a taken name.
        m_backend->rename(QStringLiteral("/user-01/ops/gone"), QStringLiteral("/user-01/ops/free"));
        QCOMPARE(m_backend->lastError,
                 QStringLiteral("rename oldFile:/user-01/ops/gone to newFile:/user-01/ops/free occur error:-31"));
    }

    void listing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("bytes"); // -1: a folder
        QTest::addColumn<bool>("link");
        QTest::addColumn<QString>("size");
        QTest::newRow("1000 bytes are 0 KB") << "a.bin" << 1000 << false << "0 KB";
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
        const QString folder = QStringLiteral("list-%1").arg(++m_folders);
        const QString target = link ? folder + QStringLiteral("-target") : folder + QLatin1Char('/') + name;
        QVERIFY(m_server.makeDir(folder));
        QVERIFY(bytes < 0 ? m_server.makeDir(target) : m_server.writeFile(target, QByteArray(bytes, 'x')));
        if (link)
            QVERIFY(m_server.makeLink(QStringLiteral("../") + target, folder + '/' + name));

        bool connected = false;
        m_backend = connectBackend(m_server.codeJson(), &connected);
        const QString path = QStringLiteral("/user-01/") + folder;
        // Sizes from a stat or a folder read stick for the session, even once the file grows.
        for (int round = 0; round < (size.endsWith(QLatin1String("KB")) ? 2 : 1); ++round) {
            if (round > 0)
                QVERIFY(m_server.writeFile(target, QByteArray(bytes + 8192, 'x')));
            const QList<FileEntry *> entries = m_backend->getFileInfo(path, QString());
            const QStringList names = namesOf(entries);
            const auto found
                = std::find_if(entries.begin(), entries.end(), [&name](auto *e) { return e->name == name; });
            const FileEntry entry = found != entries.end() ? **found : FileEntry();
            qDeleteAll(entries);
            QCOMPARE(names, (QStringList { QStringLiteral(".."), name }));
            QCOMPARE(entry.name, name);
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
        QTest::newRow("entry after a 600-byte name")
            << "longname" << QStringList { "a", "b", QString(600, 'L') } << QString();
        // Each reply well inside the time-out, all of them together well beyond it.
        QTest::newRow("slow but answering")
            << "slow" << QStringList { "s0", "s1", "s2", "s3", "s4", "s5" } << QString();
        QTest::newRow("silent mid-listing") << "stall" << QStringList { "e0", "e1", "e2", "e3", "e4" }
                                            << "服务器已2秒没有响应，连接已失效，请退出后重新登录！";
        QTest::newRow("endless folder is cut") << "endless" << QStringList { "n0", "n1", "n2", "n3", "n4", "n5", "n6" }
                                               << "文件夹内容超过7项，只显示了前7项！";
    }
    void misbehavingServer()
    {
        QFETCH(QString, mode);
        QFETCH(QStringList, names);
        QFETCH(QString, error);
        // Any password signs in; the user name chooses how the folders read.
        const QJsonObject code = withUserInfo(m_server.codeJson(), "port", QString::number(m_server.scriptedPort()));
        bool connected = false;
        m_backend = connectBackend(withUserInfo(code, "username", mode), &connected);
        QVERIFY2(connected, qPrintable(m_backend->lastError));
        m_backend->setSessionTimeout(2000);
        m_backend->setListingLimit(7);
        const QList<FileEntry *> entries = m_backend->getFileInfo(QStringLiteral("/any"), QString());
        const QStringList listed = namesOf(entries);
        qDeleteAll(entries);
        names.sort();
        QCOMPARE(listed, names);
        QCOMPARE(m_backend->lastError, error);
    }

private:
    TestSshd m_server;
    std::unique_ptr<SdkSftp> m_backend;
    int m_folders = 0;
};

QTEST_MAIN(TestSdkSftp)
#include "tst_sdksftp.moc"
