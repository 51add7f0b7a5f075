// Runs the real entry point once: the login dialog is closed as soon as it shows, as a user who cancels would.
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "support/warningguard.h"

#include <QApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTimer>
#include <QtTest>

int qMain(int argc, char *argv[]);

namespace {

struct Observed
{
    bool armed = false;
    bool loginShown = false;
    bool mainHidden = false;
    QString styleSheet;
    QString translatedCancel;
};
Observed observed;

// Runs inside QApplication's constructor, before the entry point shows anything.
void armLoginCloser()
{
    if (!observed.armed)
        return;
    WarningGuard::install();
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer] {
        VorLogin *login = VorData::instance()->loginDialog();
        if (!login->isVisible())
            return;
        timer->stop();
        observed.loginShown = true;
        observed.mainHidden = !VorData::instance()->mainWindow()->isVisible();
        observed.styleSheet = qApp->styleSheet();
        observed.translatedCancel = QCoreApplication::translate("QPlatformTheme", "Cancel");
        login->close();
    });
    timer->start(10);
}
Q_COREAPP_STARTUP_FUNCTION(armLoginCloser)

QString logFolder(const QString &program)
{
    return QFileInfo(program).absolutePath() + QStringLiteral("/log/");
}

void touch(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
}

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT
public:
    explicit TestStartup(const QString &program)
        : m_program(program)
    {
    }

private slots:
    void closingLoginEndsWithStartAndEndLines();

private:
    QString m_program;
};

void TestStartup::closingLoginEndsWithStartAndEndLines()
{
    const QString folder = logFolder(m_program);
    QVERIFY(QDir().mkpath(folder));
    const QStringList keptNames { "vorlog.log", "vorlogX.log", "vorlog20000101.txt", "unrelated20000101.log" };
    for (const QString &name : keptNames)
        touch(folder + name);
    touch(folder + QStringLiteral("vorlog20000101.log"));

    const QString logPath = folder + QStringLiteral("vorlog%1.log").arg(QDate::currentDate().toString("yyyyMMdd"));
    const qint64 start = QFileInfo(logPath).size();

    observed.armed = true;
    QByteArray programName = m_program.toLocal8Bit();
    char *argv[] = { programName.data(), nullptr };
    const int result = qMain(1, argv);

    QCOMPARE(result, 0);
    QVERIFY(observed.loginShown);
    QVERIFY(observed.mainHidden);
    QCOMPARE(observed.styleSheet, QStringLiteral("file:///:/qss/ombrivane.css"));
    QCOMPARE(observed.translatedCancel, QStringLiteral("取消"));
    const QStringList warnings = WarningGuard::take();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join('\n')));

    QVERIFY(!QFile::exists(folder + QStringLiteral("vorlog20000101.log")));
    for (const QString &name : keptNames) {
        QVERIFY2(QFile::exists(folder + name), qPrintable(name));
        QFile::remove(folder + name);
    }

    QFile log(logPath);
    QVERIFY(log.open(QIODevice::ReadOnly));
    log.seek(start);
    const QStringList lines = QString::fromUtf8(log.readAll()).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    const QString prefix
        = QStringLiteral("^\\[M\\]\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d:\\d{3}\\]\\[0x[0-9a-f]+\\]"
                         "\\[main qMain:\\d+\\]");
    QVERIFY2(QRegularExpression(prefix + "\\[ombrivane start\\]$").match(lines.at(0)).hasMatch(),
             qPrintable(lines.at(0)));
    QVERIFY2(QRegularExpression(prefix + "\\[ombrivane end 0\\]$").match(lines.at(1)).hasMatch(),
             qPrintable(lines.at(1)));
}

int main(int argc, char *argv[])
{
    // No application object here: the entry point under test makes its own.
    TestStartup test(QString::fromLocal8Bit(argv[0]));
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
