#include "app/vorlog.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "support/logtail.h"
#include "support/warningguard.h"

#include <QApplication>
#include <QTimer>
#include <QtTest>

int qMain(int argc, char *argv[]);

// Runs in the entry point's QApplication constructor: closes the login dialog, as a user who cancels would.
static void closeLoginOnceShown()
{
    WarningGuard::install();
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [] { VorData::instance()->loginDialog()->close(); });
    timer->start(10);
}
Q_COREAPP_STARTUP_FUNCTION(closeLoginOnceShown)

class TestStartup : public QObject
{
    Q_OBJECT
private slots:
    void closingLoginEndsTheProgram()
    {
        const QString folder = QFileInfo(QTest::currentAppName()).absolutePath() + QStringLiteral("/log");
        const QString logPath = folder + QDate::currentDate().toString(QStringLiteral("'/vorlog'yyyyMMdd'.log'"));
        const LogTail log(logPath);
        QByteArray program = QTest::currentAppName();
        char *argv[] = { program.data(), nullptr };
        QCOMPARE(qMain(1, argv), 0);
        VERIFY_NO_QT_WARNINGS();

        const QString shape
            = QStringLiteral("^\\[M\\]\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d:\\d{3}\\]\\[0x[0-9a-f]+\\]"
                             "\\[main qMain:\\d+\\]\\[ombrivane %1\\]$");
        const QStringList lines = log.lines();
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines.at(0).contains(QRegularExpression(shape.arg("start"))), qPrintable(lines.at(0)));
        QVERIFY2(lines.at(1).contains(QRegularExpression(shape.arg("end 0"))), qPrintable(lines.at(1)));
        // The log holds passwords in clear: for its owner alone (the group and other bits of Qt's flags).
        QCOMPARE(int(QFile::permissions(folder) & 0x7077), int(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(int(QFile::permissions(logPath) & 0x7077), int(QFile::ReadOwner | QFile::WriteOwner));
        QCOMPARE(VorLog::levelLetter(2), QStringLiteral("W"));
    }
};

int main(int argc, char *argv[])
{
    // No application object here: the entry point under test makes its own.
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
