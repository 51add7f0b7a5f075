// The whole program against a real OpenSSH server: sign in with an SFTP code, enter a folder by its
// name, go back up through the path bar, create and rename a folder, close while still connected.
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "support/modalanswerer.h"
#include "support/scenario.h"
#include "support/testsshd.h"
#include "support/warningguard.h"
#include "ui/vorpagesave.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTextEdit>
#include <QtTest>

int qMain(int argc, char *argv[]);

namespace {

Scenario *scenario = nullptr;
Scenario::Outcome outcome;
ModalAnswerer *answerer = nullptr;
QStringList dialogsSeen; // title/text of each dialog, copied out before the application goes
TestSshd *server = nullptr;
QString serverProblem;
bool armed = false;

VorMain *mainWindow()
{
    return VorData::instance()->mainWindow();
}

QTableWidget *storageTable()
{
    return mainWindow()->pageSave()->findChild<QTableWidget *>(QStringLiteral("tableWidget"));
}

// The row whose name cell shows this name, or -1.
int rowNamed(const QString &name)
{
    QTableWidget *table = storageTable();
    for (int row = 0; table && row < table->rowCount(); ++row) {
        QWidget *cell = table->cellWidget(row, 1);
        auto *label = cell ? cell->findChild<QLabel *>(QStringLiteral("label")) : nullptr;
        if (label && label->text() == name)
            return row;
    }
    return -1;
}

bool showing(const QString &path, const QString &name)
{
    return mainWindow()->isVisible() && VorData::instance()->path() == path && rowNamed(name) >= 0;
}

void clickLater(QPushButton *button, const QString &what)
{
    scenario->expect(button, what);
    if (button)
        QTimer::singleShot(0, button, &QPushButton::click);
}

void openFolder(const QString &name)
{
    QWidget *cell = storageTable()->cellWidget(rowNamed(name), 1);
    QWidget *nameArea = cell->findChild<QWidget *>(QStringLiteral("widgetDirFile"));
    QTest::mouseClick(nameArea, Qt::LeftButton);
}

QPushButton *pathLevel(const QString &fullPath)
{
    for (auto *button : mainWindow()->pageSave()->findChildren<QPushButton *>()) {
        if (button->objectName().startsWith(QLatin1String("pushButton_")) && button->isVisible()
            && button->toolTip() == fullPath)
            return button;
    }
    return nullptr;
}

bool prepareServer()
{
    server = new TestSshd;
    if (!server->start(&serverProblem))
        return false;
    return server->makeDir(QStringLiteral("docs")) && server->writeFile(QStringLiteral("docs/inner.txt"), "inner")
        && server->writeFile(QStringLiteral("readme.txt"), QByteArray(1536, 'r'));
}

void armScenario()
{
    if (!armed)
        return;
    WarningGuard::install();
    scenario = new Scenario(&outcome, qApp);
    answerer = new ModalAnswerer(qApp);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, [] {
        for (const ModalAnswerer::Seen &dialog : answerer->seen())
            dialogsSeen << dialog.title + QLatin1Char('/') + dialog.text;
        delete server;
    });
    if (!prepareServer()) {
        QTimer::singleShot(0, [] { VorData::instance()->loginDialog()->close(); });
        return;
    }
    const QString code = TestSshd::authCode(server->codeJson());
    const QString home = QStringLiteral("/user-01");
    scenario
        ->waitFor(
            "login dialog", [] { return VorData::instance()->loginDialog()->isVisible(); },
            [code] {
                VorLogin *login = VorData::instance()->loginDialog();
                login->findChild<QTextEdit *>(QStringLiteral("textEdit"))->setPlainText(code);
                answerer->answer(QString()); // 登录中
                clickLater(login->findChild<QPushButton *>(QStringLiteral("pushButtonLogin")), "login");
            })
        .waitFor(
            "home folder listed", [home] { return showing(home, QStringLiteral("docs")); },
            [] {
                scenario->expect(rowNamed(QStringLiteral("..")) >= 0, "parent entry listed");
                scenario->expect(rowNamed(QStringLiteral("readme.txt")) >= 0, "file listed");
                scenario->expect(VorData::instance()->isPrivate(), "private storage");
                openFolder(QStringLiteral("docs"));
            })
        .waitFor(
            "inside docs", [home] { return showing(home + QStringLiteral("/docs"), QStringLiteral("inner.txt")); },
            [home] { clickLater(pathLevel(home), "path bar level /user-01"); })
        .waitFor(
            "back home", [home] { return showing(home, QStringLiteral("docs")); },
            [] {
                answerer->answer(QStringLiteral("pushButtonYes"), QStringLiteral("newdir")); // 新建文件夹
                answerer->answer(QStringLiteral("pushButtonYes")); // 成功
                clickLater(mainWindow()->pageSave()->findChild<QPushButton *>(QStringLiteral("pushButtonMkDir")),
                           "new folder button");
            })
        .waitFor(
            "new folder listed", [home] { return showing(home, QStringLiteral("newdir")) && !answerer->pending(); },
            [] {
                scenario->expect(QDir(server->homeOnDisk() + QStringLiteral("/newdir")).exists(), "folder on disk");
                QWidget *actions = storageTable()->cellWidget(rowNamed(QStringLiteral("newdir")), 5);
                answerer->answer(QStringLiteral("pushButtonYes"), QStringLiteral("renamed")); // 重命名
                answerer->answer(QStringLiteral("pushButtonYes")); // 成功
                clickLater(actions->findChild<QPushButton *>(QStringLiteral("pushButtonRename")), "rename");
            })
        .waitFor(
            "renamed folder listed",
            [home] { return showing(home, QStringLiteral("renamed")) && !answerer->pending(); },
            [] {
                scenario->expect(rowNamed(QStringLiteral("newdir")) < 0, "old name gone");
                scenario->expect(QDir(server->homeOnDisk() + QStringLiteral("/renamed")).exists(), "renamed on disk");
                mainWindow()->close(); // ends the program with the session still open
            });
    scenario->start();
}
Q_COREAPP_STARTUP_FUNCTION(armScenario)

} // namespace

class TestEndToEndSftp : public QObject
{
    Q_OBJECT
public:
    explicit TestEndToEndSftp(const QString &program)
        : m_program(program)
    {
    }

private slots:
    void browseCreateRenameOnRealServer();

private:
    QString m_program;
};

void TestEndToEndSftp::browseCreateRenameOnRealServer()
{
    armed = true;
    QByteArray name = m_program.toLocal8Bit();
    char *argv[] = { name.data(), nullptr };
    const int result = qMain(1, argv);
    if (!serverProblem.isEmpty()) {
        if (TestSshd::required())
            QFAIL(qPrintable(QStringLiteral("OMBRIVANE_REQUIRE_SSHD=1 but sshd cannot run: ") + serverProblem));
        QSKIP(qPrintable(QStringLiteral("sshd cannot run: ") + serverProblem));
    }
    QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(QLatin1Char('\n'))));
    QVERIFY2(outcome.completed, qPrintable(QStringLiteral("ended before: ") + outcome.stoppedAt));
    QCOMPARE(result, 0);
    const QStringList warnings = WarningGuard::take();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));

    QCOMPARE(dialogsSeen,
             (QStringList { "登录中/请稍等...", "新建文件夹/文件夹名称：", "成功/新建文件夹成功", "重命名/重命名",
                            "成功/改名成功" }));
}

int main(int argc, char *argv[])
{
    TestEndToEndSftp test(QString::fromLocal8Bit(argv[0]));
    return QTest::qExec(&test, argc, argv);
}

#include "tst_endtoend_sftp.moc"
