// Runs the real entry point once: the login dialog is closed as soon as it shows, as a user who cancels would.
#include "app/vorlog.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "support/logtail.h"
#include "support/warningguard.h"

#include <QApplication>
#include <QTimer>
#include <QtTest>
#include <sys/stat.h>

int qMain(int argc, char *argv[]);

namespace {

// Runs inside QApplication's constructor, before the entry point shows anything.
void closeLoginOnceShown()
{
    WarningGuard::install();
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [] {
        if (VorData::instance()->loginDialog()->isVisible())
            VorData::instance()->loginDialog()->close();
    });
    timer->start(10);
}
Q_COREAPP_STARTUP_FUNCTION(closeLoginOnceShown)

int modeOf(const QString &path)
{
    struct stat info;
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 0777) : -1;
}

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT
private slots:
    void closingLoginEndsTheProgram();
};

void TestStartup::closingLoginEndsTheProgram()
{
    const QString folder = QFileInfo(QTest::currentAppName()).absolutePath() + QStringLiteral("/log");
    const QString logPath = folder + QDate::currentDate().toString(QStringLiteral("'/vorlog'yyyyMMdd'.log'"));
    const LogTail log(logPath);
    QByteArray program = QTest::currentAppName();
    char *argv[] = { program.data(), nullptr };
    QCOMPARE(qMain(1, argv), 0);
    VERIFY_NO_QT_WARNINGS();

    // [level][time][thread][file function:line][message]
    const QString shape
        = QStringLiteral("^\\[M\\]\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d:\\d{3}\\]\\[0x[0-9a-f]+\\]"
                         "\\[main qMain:\\d+\\]\\[ombrivane %1\\]$");
    QCOMPARE(log.lines().size(), 2);
    QVERIFY2(log.lines().at(0).contains(QRegularExpression(shape.arg("start"))), qPrintable(log.lines().at(0)));
    QVERIFY2(log.lines().at(1).contains(QRegularExpression(shape.arg("end 0"))), qPrintable(log.lines().at(1)));
    // The log holds passwords in clear.
    QCOMPARE(modeOf(folder), 0700);
    QCOMPARE(modeOf(logPath), 0600);
    QString letters;
    for (int level = 0; level <= 5; ++level)
        letters += VorLog::levelLetter(level);
    QCOMPARE(letters, QStringLiteral("CEWMFD"));
}

int main(int argc, char *argv[])
{
    // No application object here: the entry point under test makes its own.
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
