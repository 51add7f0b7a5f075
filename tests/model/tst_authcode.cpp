#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdktarn.h"
#include "support/warningguard.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QtTest>
#include <cstdio>

namespace {

const QString ParseError = QStringLiteral("授权码解析错误，请检查你的授权码是否正确！");
const QString EmptyError = QStringLiteral("授权码不能为空");

QString makeCode(const QByteArray &json, const QByteArray &prefix = "Zz9Yy8")
{
    return QString::fromLatin1((prefix + json.toBase64()).toBase64());
}

// What a code should come to, worked out from the decoded document alone.
struct Outcome
{
    int empty = 0;
    int refused = 0;
    int signedIn = 0;
    int sftpSkipped = 0;
};

const QString Alphabet = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=");
const QString Noise = QStringLiteral(" \n\r\t-_.,:;!?\"'{}[]()\\@#$%^&*~`|<>\x7f\u00e9\u4e2d\U0001F600");

QChar randomChar(QRandomGenerator &random)
{
    const QString &pool = random.bounded(4) == 0 ? Noise : Alphabet;
    return pool.at(random.bounded(pool.size()));
}

QString randomText(QRandomGenerator &random, int length)
{
    QString text;
    for (int i = 0; i < length; ++i)
        text += randomChar(random);
    return text;
}

QString mutate(QString code, QRandomGenerator &random)
{
    const int edits = 1 + random.bounded(4);
    for (int i = 0; i < edits; ++i) {
        const int at = code.isEmpty() ? 0 : random.bounded(code.size());
        switch (random.bounded(7)) {
        case 0:
            if (!code.isEmpty())
                code[at] = randomChar(random);
            break;
        case 1:
            code.insert(at, randomText(random, 1 + random.bounded(8)));
            break;
        case 2:
            code.remove(at, 1 + random.bounded(12));
            break;
        case 3:
            code.truncate(at);
            break;
        case 4:
            code.insert(at, code.mid(random.bounded(code.size() + 1), 1 + random.bounded(40)));
            break;
        case 5:
            if (code.size() > 1) {
                const int other = random.bounded(code.size());
                const QChar kept = code.at(at);
                code[at] = code.at(other);
                code[other] = kept;
            }
            break;
        default:
            code.insert(at, QLatin1Char('\n'));
            break;
        }
    }
    return code;
}

} // namespace

class TestAuthCode : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void decodesBothLayers_data();
    void decodesBothLayers();
    void skipsCharactersOutsideTheAlphabet();
    void randomCodesNeverBreakTheLogin();
    void mutatedCodesNeverBreakTheLogin();
    void toolMakesCodesTheClientReads();

private:
    // Runs one code through decoding, back-end selection and (short of contacting a server) the login.
    void tryCode(const QString &code, Outcome &outcome);
};

void TestAuthCode::initTestCase()
{
    WarningGuard::install();
    QVERIFY(VorData::instance()->loginDialog());
}

void TestAuthCode::cleanup()
{
    VorSdk::instance()->exit();
    VERIFY_NO_QT_WARNINGS();
}

void TestAuthCode::decodesBothLayers_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("json");

    QTest::newRow("plain") << makeCode("{\"storage\":\"tarn\"}") << "{\"storage\":\"tarn\"}";
    QTest::newRow("any prefix") << makeCode("{}", "\x01\x02\x03\xfe\xff ") << "{}";
    QTest::newRow("nothing after the prefix") << QString::fromLatin1(QByteArray("abcdef").toBase64()) << "";
    QTest::newRow("shorter than the prefix") << QString::fromLatin1(QByteArray("abc").toBase64()) << "";
    QTest::newRow("empty") << QString() << "";
    QTest::newRow("zero byte ends the inner text") << makeCode(QByteArray("{\"a\":1}\0{\"b\":2}", 15)) << "{\"a\":1}";
    QTest::newRow("zero byte ends the outer text")
        << QString::fromLatin1(QByteArray("prefix" + QByteArray("{}").toBase64() + '\0' + "junk").toBase64()) << "{}";
    QTest::newRow("bytes above ASCII read as Latin-1")
        << makeCode("{\"n\":\"\xc3\xa9\"}") << QString::fromLatin1("{\"n\":\"\xc3\xa9\"}");
}

void TestAuthCode::decodesBothLayers()
{
    QFETCH(QString, code);
    QFETCH(QString, json);
    QCOMPARE(VorSdk::decodeAuthCode(code), json);
}

void TestAuthCode::skipsCharactersOutsideTheAlphabet()
{
    const QString code = VorLogin::defaultCode();
    const QString json = VorSdk::decodeAuthCode(code);
    QVERIFY(json.startsWith(QLatin1Char('{')));
    QRandomGenerator random(7);
    const QString skipped = QStringLiteral(" \n\r\t!*#");
    for (int round = 0; round < 500; ++round) {
        QString noisy = code;
        const int inserts = 1 + random.bounded(20);
        for (int i = 0; i < inserts; ++i)
            noisy.insert(random.bounded(noisy.size()), skipped.at(random.bounded(skipped.size())));
        QCOMPARE(VorSdk::decodeAuthCode(noisy), json);
    }
}

void TestAuthCode::tryCode(const QString &code, Outcome &outcome)
{
    // The dialog hands the facade the simplified text.
    const QString simplified = code.simplified();
    const QString json = VorSdk::decodeAuthCode(simplified);
    const VorSdk::Storage storage = VorSdk::storageOf(QJsonDocument::fromJson(json.toUtf8()).object());

    QString expected;
    if (simplified.isEmpty()) {
        expected = EmptyError;
        ++outcome.empty;
    } else if (storage == VorSdk::Storage::Unknown) {
        expected = ParseError;
        ++outcome.refused;
    } else if (storage == VorSdk::Storage::Sftp) {
        // A mangled SFTP code may name any host: selecting its back end is as far as this goes.
        std::unique_ptr<SdkObject> backend(VorSdk::createBackend(storage));
        QVERIFY(backend);
        ++outcome.sftpSkipped;
        return;
    } else {
        ++outcome.signedIn;
    }

    const QString message = VorSdk::instance()->login(simplified);
    QVERIFY2(message == expected, qPrintable(QStringLiteral("code %1 gave %2").arg(code, message)));
    if (expected.isEmpty()) {
        auto *tarn = qobject_cast<SdkTarn *>(VorSdk::instance()->backend());
        QVERIFY(tarn);
        QCOMPARE(VorData::instance()->userName(), QStringLiteral("tarn"));
        QCOMPARE(VorData::instance()->path(), tarn->homePath());
        QCOMPARE(VorData::instance()->fileInfos().size(), 22);
        VorSdk::instance()->exit();
    } else {
        QVERIFY(!VorSdk::instance()->backend());
    }
}

void TestAuthCode::randomCodesNeverBreakTheLogin()
{
    QRandomGenerator random(20240611);
    Outcome outcome;
    for (int round = 0; round < 3000; ++round) {
        tryCode(randomText(random, random.bounded(round % 10 == 0 ? 8 : 600)), outcome);
        if (QTest::currentTestFailed())
            return;
    }
    std::fprintf(stdout, "random codes: %d empty, %d refused, %d signed in, %d sftp\n", outcome.empty, outcome.refused,
                 outcome.signedIn, outcome.sftpSkipped);
    QVERIFY(outcome.empty > 0);
    QVERIFY(outcome.refused > 2000);
}

void TestAuthCode::mutatedCodesNeverBreakTheLogin()
{
    const QList<QString> seeds {
        VorLogin::defaultCode(),
        makeCode("{\"storage\":\"tarn\",\"project\":\"p\",\"userInfo\":{\"prefixName\":\"/a\",\"expireTime\":\"1\"}}"),
        makeCode("{\"storage\":\"tarn\",\"userInfo\":{\"expireTime\":\"99999999999999999999\"}}"),
        makeCode("{\"storage\":\"tarn\",\"userInfo\":{\"expireTime\":\"-9223372036854775808\"}}"),
        makeCode("{\"storage\":\"tarn\",\"userInfo\":7}"),
        makeCode("{\"storage\":\"sftp\",\"userInfo\":{\"host\":\"127.0.0.1\",\"port\":\"1\"}}"),
        makeCode("{\"storage\":\"tarn\"}"),
    };
    QRandomGenerator random(42);
    Outcome outcome;
    for (int round = 0; round < 3000; ++round) {
        tryCode(mutate(seeds.at(random.bounded(seeds.size())), random), outcome);
        if (QTest::currentTestFailed())
            return;
    }
    std::fprintf(stdout, "mutated codes: %d empty, %d refused, %d signed in, %d sftp\n", outcome.empty, outcome.refused,
                 outcome.signedIn, outcome.sftpSkipped);
    QVERIFY(outcome.refused > 0);
    QVERIFY(outcome.signedIn > 0);
}

void TestAuthCode::toolMakesCodesTheClientReads()
{
    const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
    if (python.isEmpty())
        QSKIP("python3 is not installed");
    const QString tool = QStringLiteral(OMBRIVANE_SOURCE_DIR "/scripts/make-auth-code");

    QProcess process;
    process.start(python,
                  { tool, QStringLiteral("--tarn"), QStringLiteral("--project"), QStringLiteral("made"),
                    QStringLiteral("--prefix-name"), QStringLiteral("/made"), QStringLiteral("--days"),
                    QStringLiteral("12") });
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), 0);
    const QString code = QString::fromLatin1(process.readAllStandardOutput()).trimmed();
    QVERIFY(!code.isEmpty());

    QCOMPARE(VorSdk::instance()->login(code), QString());
    QCOMPARE(VorSdk::instance()->backend()->projectName(), QStringLiteral("made"));
    QCOMPARE(VorData::instance()->path(), QStringLiteral("/made"));
    QCOMPARE(VorData::instance()->validDays(), 12);

    // The same document written by hand and read from standard input.
    process.start(python, { tool, QStringLiteral("--code-prefix"), QStringLiteral("abcdef") });
    QVERIFY(process.waitForStarted(30000));
    process.write("{\"storage\":\"tarn\",\"project\":\"piped\"}\n");
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), 0);
    const QString piped = QString::fromLatin1(process.readAllStandardOutput()).trimmed();
    QCOMPARE(piped, makeCode("{\"storage\":\"tarn\",\"project\":\"piped\"}", "abcdef"));

    // Not JSON: refused with a message, no code printed.
    process.start(python, { tool });
    QVERIFY(process.waitForStarted(30000));
    process.write("{storage: tarn}");
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(30000));
    QVERIFY(process.exitCode() != 0);
    QVERIFY(process.readAllStandardOutput().isEmpty());
}

QTEST_MAIN(TestAuthCode)
#include "tst_authcode.moc"
