// The whole program from start to close with the default (object-store) code: the real entry point,
// login dialog, wait dialogs, worker threads, main window and pages, driven as a user would.
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "support/logtail.h"
#include "support/modalanswerer.h"
#include "support/scenario.h"
#include "support/warningguard.h"
#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

#include <QApplication>
#include <QDate>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QTableWidget>
#include <QtTest>

int qMain(int argc, char *argv[]);

namespace {

Scenario *scenario = nullptr;
Scenario::Outcome outcome;
bool armed = false;

VorMain *mainWindow()
{
    return VorData::instance()->mainWindow();
}

VorLogin *loginDialog()
{
    return VorData::instance()->loginDialog();
}

template<typename T> T *find(QWidget *root, const char *name)
{
    return root->findChild<T *>(QLatin1String(name));
}

void click(QWidget *root, const char *name)
{
    if (auto *button = find<QPushButton>(root, name))
        button->click();
    else
        scenario->expect(false, QStringLiteral("no button %1").arg(QLatin1String(name)));
}

int rows(QWidget *page)
{
    auto *table = find<QTableWidget>(page, "tableWidget");
    return table ? table->rowCount() : -1;
}

QString currentPage()
{
    return find<QStackedWidget>(mainWindow(), "stackedWidget")->currentWidget()->objectName();
}

bool signedIn()
{
    return mainWindow()->isVisible() && !loginDialog()->isVisible() && rows(mainWindow()->pageSave()) == 22
        && rows(mainWindow()->pageTask()) == 22 && rows(mainWindow()->pageDownload()) == 22;
}

void checkSession()
{
    scenario->expect(find<QPushButton>(mainWindow(), "pushButtonUser")->text() == QLatin1String("tarn"),
                     QStringLiteral("user shown"));
    scenario->expect(
        find<QLabel>(mainWindow(), "labelTips")->text().startsWith(QStringLiteral("您的授权码有效期还有 ")),
        QStringLiteral("expiry tip shown"));
    scenario->expect(find<QPushButton>(mainWindow()->pageSave(), "pushButtonPublic")->isVisibleTo(mainWindow()),
                     QStringLiteral("public storage shown"));
    scenario->expect(!find<QPushButton>(mainWindow()->pageSave(), "pushButtonPrivate")->isVisibleTo(mainWindow()),
                     QStringLiteral("private storage hidden"));
    scenario->expect(VorData::instance()->isPublic() && VorData::instance()->fileInfos().size() == 22,
                     QStringLiteral("store filled"));
}

void armScenario()
{
    if (!armed)
        return;
    WarningGuard::install();
    auto *answerer = new ModalAnswerer(qApp);
    scenario = new Scenario(&outcome, qApp);
    scenario
        ->waitFor(
            "login dialog shown", [] { return loginDialog()->isVisible(); },
            [answerer] {
                answerer->answer(QString()); // 登录中
                click(loginDialog(), "pushButtonLogin");
            })
        .waitFor("signed in, pages filled", signedIn,
                 [] {
                     checkSession();
                     click(mainWindow(), "pushButtonTask");
                 })
        .waitFor(
            "task page", [] { return currentPage() == QLatin1String("pageTask"); },
            [] { click(mainWindow(), "pushButtonDownload"); })
        .waitFor(
            "download page", [] { return currentPage() == QLatin1String("pageDownload"); },
            [] { click(mainWindow(), "pushButtonMax"); })
        .waitFor(
            "maximised", [] { return mainWindow()->isMaximized(); }, [] { click(mainWindow(), "pushButtonMax"); })
        .waitFor(
            "restored", [] { return !mainWindow()->isMaximized(); },
            [answerer] {
                answerer->answer(QStringLiteral("pushButtonYes")); // 确认退出？
                answerer->answer(QString()); // 退出中
                click(mainWindow(), "pushButtonExit");
            })
        .waitFor(
            "back at the login dialog", [] { return loginDialog()->isVisible() && !mainWindow()->isVisible(); },
            [answerer] {
                answerer->answer(QString());
                click(loginDialog(), "pushButtonLogin");
            })
        .waitFor("signed in again", signedIn, [] {
            scenario->expect(currentPage() == QLatin1String("pageDownload"), QStringLiteral("page kept"));
            scenario->expect(find<QPushButton>(mainWindow(), "pushButtonDownload")->isChecked(),
                             QStringLiteral("navigation kept"));
            click(mainWindow(), "pushButtonClose");
        });
    scenario->start();
}
Q_COREAPP_STARTUP_FUNCTION(armScenario)

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT
public:
    explicit TestEndToEnd(const QString &program)
        : m_program(program)
    {
    }

private slots:
    void signInBrowseLogOutSignInClose();

private:
    QString m_program;
};

void TestEndToEnd::signInBrowseLogOutSignInClose()
{
    const QString logPath = QFileInfo(m_program).absolutePath()
        + QStringLiteral("/log/vorlog%1.log").arg(QDate::currentDate().toString(QStringLiteral("yyyyMMdd")));
    LogTail tail(logPath);
    armed = true;
    QByteArray name = m_program.toLocal8Bit();
    char *argv[] = { name.data(), nullptr };
    const int result = qMain(1, argv);

    QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(QLatin1Char('\n'))));
    QVERIFY2(outcome.completed, qPrintable(QStringLiteral("ended before: ") + outcome.stoppedAt));
    QCOMPARE(result, 0);
    const QStringList warnings = WarningGuard::take();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));

    // The facade's operations, in the order the session made them.
    static const QRegularExpression facadeLine(QStringLiteral("^\\[F\\].*\\[vorsdk (\\w+):\\d+\\]"));
    QStringList operations;
    const QStringList lines = tail.lines();
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = facadeLine.match(line);
        if (match.hasMatch())
            operations << match.captured(1);
    }
    const QStringList session { "login", "getFileInfo", "refreshTask", "refreshDown" };
    QCOMPARE(operations, session + QStringList { "exit" } + session);
    QVERIFY(lines.first().endsWith(QLatin1String("[ombrivane start]")));
    QVERIFY(lines.last().endsWith(QLatin1String("[ombrivane end 0]")));
}

int main(int argc, char *argv[])
{
    TestEndToEnd test(QString::fromLocal8Bit(argv[0]));
    return QTest::qExec(&test, argc, argv);
}

#include "tst_endtoend.moc"
