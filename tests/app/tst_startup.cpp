#include "model/vordata.h"
#include "model/vorlogin.h"
#include "support/warningguard.h"

#include <QtTest>
#include <QtWidgets>

int qMain(int argc, char *argv[]);
static QStringList atLogin; // the style sheet, a text of Qt's own, whether the login dialog is in view

// Runs in the entry point's QApplication constructor. The one pass of its timer comes once the event loop
// runs, with the login dialog shown: it notes what the user meets and cancels as a user would.
static void closeLoginOnceShown()
{
    WarningGuard::install();
    QTimer::singleShot(0, qApp, [] {
        VorLogin *login = VorData::instance()->loginDialog();
        atLogin = QStringList { qApp->styleSheet(), QApplication::translate("QPlatformTheme", "Cancel"),
                                login->isVisible() ? "shown" : "hidden" };
        login->close();
    });
}
Q_COREAPP_STARTUP_FUNCTION(closeLoginOnceShown)

static QString dayLog(int daysAgo)
{
    return QDate::currentDate().addDays(-daysAgo).toString("'vorlog'yyyyMMdd'.log'");
}

// The program started once, as a user starts it, and closed at the login dialog.
class TestStartup : public QObject
{
    Q_OBJECT
    QString folder;
    // Logs more than 30 days old go (they hold passwords); only "vorlog", a date and ".log" name a log.
    const QList<QPair<QString, QString>> logs { { dayLog(31), "removed" },           { dayLog(30), "kept" },
                                                { "vorlog20000101.log", "removed" }, { "vorlog.log", "kept" },
                                                { "vorlogX.log", "kept" },           { "vorlog20000101.txt", "kept" } };

private slots:
    void initTestCase()
    {
        folder = QFileInfo(QTest::currentAppName()).absolutePath() + "/log/"; // beside the program
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFileDevice::Permissions(0x7755)); // as an earlier version left it
        QFile::remove(folder + dayLog(0)); // the day's earlier runs
        for (const auto &log : logs)
            QVERIFY(QFile(folder + log.first).open(QIODevice::WriteOnly));
        QByteArray program = QTest::currentAppName();
        char *argv[] = { program.data(), nullptr };
        qMain(1, argv); // its result is the log's last line
    }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void wiring_data()
    {
        QTest::addColumn<QString>("seen");
        QTest::addColumn<QString>("expected");
        QFile log(folder + dayLog(0));
        const QString lines = log.open(QIODevice::ReadOnly) ? log.readAll() : "(none)";
        QTest::newRow("style sheet, translation, login")
            << atLogin.join(", ") << "file:///:/qss/ombrivane.css, 取消, shown";
        QTest::newRow("log")
            << QString(lines).replace(QRegularExpression(R"(\[[-\d: ]{23}\]\[0x[0-9a-f]+\](\[main qMain):\d+)"),
                                      "[time][thread]\\1")
            << "[M][time][thread][main qMain][ombrivane start]\n[M][time][thread][main qMain][ombrivane end 0]\n";
#ifdef Q_OS_UNIX // on Windows the folder's access list decides
        const QString mode = QString::number(QFile::permissions(folder) & 0x7077, 16) + " "
            + QString::number(log.permissions() & 0x7077, 16);
        QTest::newRow("log modes: owner alone") << mode << "7000 6000"; // owner, group, other bits of Qt's flags
#endif
        QTest::newRow("warning letter") << VorLog::levelLetter(2) << "W";
        for (const auto &[name, fate] : logs)
            QTest::newRow(qPrintable(name)) << (QFile::exists(folder + name) ? "kept" : "removed") << fate;
    }
    void wiring()
    {
        QFETCH(QString, seen);
        QTEST(seen, "expected");
    }
};

int main(int argc, char *argv[])
{
    TestStartup test; // no application object here: the entry point under test makes its own
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
