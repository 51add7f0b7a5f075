#include "app/vorlog.h"
#include "support/logtail.h"
#include "support/warningguard.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace {

const char UmaskChildVariable[] = "OMBRIVANE_VORLOG_UMASK_CHILD";

// The child of logIsPrivateWhateverTheUmask: a fresh start of the log under the umask it is given.
int runUmaskChild(int argc, char *argv[])
{
    ::umask(static_cast<mode_t>(qEnvironmentVariableIntValue(UmaskChildVariable)));
    QCoreApplication app(argc, argv);
    VorLog::instance()->write(QStringLiteral("3|t|th|f|fn|1|written"));
    return 0;
}

mode_t modeOf(const QString &path)
{
    struct stat info
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 07777;
}

} // namespace

class TestVorLog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();

    void levelLetter_data();
    void levelLetter();
    void writeRecord_data();
    void writeRecord();
    void macroRecordShape();
    void macroWithoutItemsEndsWithBar();
    void handlerSurvivesAnyText_data();
    void handlerSurvivesAnyText();
    void unopenableFileLosesRecordSilently();
    void removeOldLogs_data();
    void removeOldLogs();
    void fileNamedAfterStartDate();
    void logIsPrivateWhateverTheUmask_data();
    void logIsPrivateWhateverTheUmask();
};

void TestVorLog::initTestCase()
{
    WarningGuard::install();
}

void TestVorLog::cleanup()
{
    VERIFY_NO_QT_WARNINGS();
}

void TestVorLog::levelLetter_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("letter");
    QTest::newRow("error") << 1 << "E";
    QTest::newRow("warning") << 2 << "W";
    QTest::newRow("message") << 3 << "M";
    QTest::newRow("function") << 4 << "F";
    QTest::newRow("detail") << 5 << "D";
    QTest::newRow("zero") << 0 << "C";
    QTest::newRow("unknown") << 6 << "C";
    QTest::newRow("negative") << -1 << "C";
}

void TestVorLog::levelLetter()
{
    QFETCH(int, level);
    QFETCH(QString, letter);
    QCOMPARE(VorLog::levelLetter(level), letter);
}

void TestVorLog::writeRecord_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("no bar") << "a Qt warning" << QStringList();
    QTest::newRow("five bars") << "1|a|b|c|d|e" << QStringList();
    QTest::newRow("six bars") << "4 | t | 0x1 | file | fn | 12 | \"path\""
                              << QStringList { "[F][t][0x1][file fn:12][\"path\"]" };
    QTest::newRow("cut at the seventh part")
        << "3|t|th|f|fn|1|items|more|parts" << QStringList { "[M][t][th][f fn:1][items]" };
    QTest::newRow("level not a number") << "x|t|th|f|fn|1|m" << QStringList { "[C][t][th][f fn:1][m]" };
    QTest::newRow("empty parts kept") << "||||||" << QStringList { "[C][][][ :][]" };
    QTest::newRow("placeholders in items stay") << "5|t|th|f|fn|1|%1 %2" << QStringList { "[D][t][th][f fn:1][%1 %2]" };
    QTest::newRow("chinese") << "3|t|th|f|fn|1|授权码" << QStringList { "[M][t][th][f fn:1][授权码]" };
}

void TestVorLog::writeRecord()
{
    QFETCH(QString, message);
    QFETCH(QStringList, expected);
    LogTail tail;
    VorLog::instance()->write(message);
    QCOMPARE(tail.lines(), expected);
}

void TestVorLog::macroRecordShape()
{
    LogTail tail;
    const QString path = QStringLiteral("/user-01/a");
    VOR_LOG(4, path, 7, "plain");
    const QStringList lines = tail.lines();
    QCOMPARE(lines.size(), 1);
    static const QRegularExpression shape(
        QStringLiteral("^\\[F\\]\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d:\\d{3}\\]\\[0x[0-9a-f]+\\]"
                       "\\[tst_vorlog macroRecordShape:\\d+\\]\\[\"/user-01/a\" 7 plain\\]$"));
    QVERIFY2(shape.match(lines.first()).hasMatch(), qPrintable(lines.first()));
}

void TestVorLog::macroWithoutItemsEndsWithBar()
{
    LogTail tail;
    VOR_LOG(3);
    QCOMPARE(tail.lines().size(), 1);
    QVERIFY(tail.lines().first().endsWith(QLatin1String("][]")));
}

void TestVorLog::handlerSurvivesAnyText_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("written");
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("no bar") << QStringLiteral("QObject: some warning") << 0;
    QTest::newRow("hundreds of bars") << QString(500, QLatin1Char('|')) << 1;
    QTest::newRow("not utf-8") << QString::fromLatin1("3|\xff\xfe|\x80|f|fn|1|\xc3") << 1;
    QTest::newRow("megabytes") << (QStringLiteral("3|t|th|f|fn|1|") + QString(4 * 1024 * 1024, QLatin1Char('x'))) << 1;
    QTest::newRow("line breaks trimmed") << QStringLiteral("|\n|\n|\n|\n|\n|\n|") << 1;
}

void TestVorLog::handlerSurvivesAnyText()
{
    QFETCH(QString, message);
    QFETCH(int, written);
    LogTail tail;
    vorMessageHandler(QtWarningMsg, QMessageLogContext(), message);
    QCOMPARE(tail.lines().size(), written);
}

void TestVorLog::unopenableFileLosesRecordSilently()
{
    const QString path = VorLog::instance()->filePath();
    QFile::remove(path);
    QVERIFY(QDir().mkpath(path)); // a folder where the file should be: it cannot be opened for writing
    VorLog::instance()->write(QStringLiteral("3|t|th|f|fn|1|lost"));
    QVERIFY(QFileInfo(path).isDir());
    QVERIFY(QDir(path).removeRecursively());
    VorLog::instance()->write(QStringLiteral("3|t|th|f|fn|1|kept"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("[M][t][th][f fn:1][kept]\n"));
}

void TestVorLog::removeOldLogs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("kept");
    QTest::newRow("old daily log") << "vorlog20000101.log" << false;
    QTest::newRow("31 days old") << "vorlog20260101.log" << false;
    QTest::newRow("30 days old") << "vorlog20260102.log" << true;
    QTest::newRow("today") << "vorlog20260201.log" << true;
    QTest::newRow("no date") << "vorlog.log" << true;
    QTest::newRow("not a date") << "vorlogX.log" << true;
    QTest::newRow("other suffix") << "vorlog20000101.txt" << true;
    QTest::newRow("two dots") << "vorlog20000101.old.log" << false;
    QTest::newRow("case differs") << "VORLOG20000101.log" << true;
    QTest::newRow("unrelated") << "notes20000101.log" << true;
}

void TestVorLog::removeOldLogs()
{
    QFETCH(QString, name);
    QFETCH(bool, kept);
    QTemporaryDir dir;
    QFile file(dir.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    VorLog::removeOldLogs(dir.path(), QDate(2026, 2, 1));
    QCOMPARE(QFile::exists(dir.filePath(name)), kept);
}

void TestVorLog::fileNamedAfterStartDate()
{
    const QString expected = QCoreApplication::applicationDirPath()
        + QStringLiteral("/log/vorlog%1.log").arg(QDate::currentDate().toString(QStringLiteral("yyyyMMdd")));
    QCOMPARE(VorLog::instance()->filePath(), expected);
}

void TestVorLog::logIsPrivateWhateverTheUmask_data()
{
    QTest::addColumn<int>("mask");
    QTest::addColumn<bool>("earlierFolder");
    QTest::newRow("umask 022") << 022 << false;
    QTest::newRow("umask 0") << 0 << false;
    QTest::newRow("umask 0, open folder of an earlier version") << 0 << true;
}

void TestVorLog::logIsPrivateWhateverTheUmask()
{
    QFETCH(int, mask);
    QFETCH(bool, earlierFolder);
    // A copy of this program in an empty folder starts its log there afresh.
    QTemporaryDir dir;
    const QString program = dir.filePath(QStringLiteral("tst_vorlog"));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
    const QString folder = dir.filePath(QStringLiteral("log"));
    const QString old = folder + QStringLiteral("/vorlog20000101.log");
    if (earlierFolder) {
        QVERIFY(QDir().mkdir(folder) && QFile::setPermissions(folder, QFileDevice::Permissions(0x7777)));
        QFile file(old);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(UmaskChildVariable), QString::number(mask));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(program, QStringList());
    QVERIFY(child.waitForFinished(60000));
    QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, child.readAll().constData());

    const QString today = folder + QDate::currentDate().toString(QStringLiteral("/'vorlog'yyyyMMdd'.log'"));
    QCOMPARE(modeOf(folder), mode_t(0700));
    QCOMPARE(modeOf(today), mode_t(0600));
    QFile written(today);
    QVERIFY(written.open(QIODevice::ReadOnly));
    QCOMPARE(written.readAll(), QByteArray("[M][t][th][f fn:1][written]\n"));
    QVERIFY(!QFile::exists(old)); // the 30-day clean-up still reaches into the closed folder
}

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsSet(UmaskChildVariable))
        return runUmaskChild(argc, argv);
    QCoreApplication app(argc, argv);
    TestVorLog test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_vorlog.moc"
