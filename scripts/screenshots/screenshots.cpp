// Runs the real program (under Xvfb, see scripts/screenshots.sh), signs in with the default code and
// saves pictures of what the user sees into the folder named by OMBRIVANE_SCREENSHOTS.
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "scenario.h"
#include "ui/vorpagesave.h"

#include <QApplication>
#include <QDir>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <cstdio>

int qMain(int argc, char *argv[]);

namespace {

Scenario *scenario = nullptr;
Scenario::Outcome outcome;

VorMain *mainWindow()
{
    return VorData::instance()->mainWindow();
}

VorLogin *loginDialog()
{
    return VorData::instance()->loginDialog();
}

void save(QWidget *widget, const QString &name)
{
    const QString path = QDir(qEnvironmentVariable("OMBRIVANE_SCREENSHOTS")).filePath(name + QStringLiteral(".png"));
    scenario->expect(widget && widget->grab().save(path), QStringLiteral("saved %1").arg(path));
    std::printf("%s\n", qPrintable(path));
}

QWidget *modalTitled(const QString &title)
{
    QWidget *dialog = QApplication::activeModalWidget();
    auto *label = dialog ? dialog->findChild<QWidget *>(QStringLiteral("labelDialogTitle")) : nullptr;
    return label && label->property("text").toString() == title ? dialog : nullptr;
}

void clickLater(QWidget *root, const char *name)
{
    auto *button = root->findChild<QPushButton *>(QLatin1String(name));
    scenario->expect(button, QStringLiteral("button %1").arg(QLatin1String(name)));
    if (button)
        QTimer::singleShot(0, button, &QPushButton::click);
}

bool showsPage(const char *page)
{
    auto *stack = mainWindow()->findChild<QStackedWidget *>(QStringLiteral("stackedWidget"));
    return stack->currentWidget()->objectName() == QLatin1String(page);
}

void tour()
{
    if (!qEnvironmentVariableIsSet("OMBRIVANE_SCREENSHOTS"))
        return;
    scenario = new Scenario(&outcome, qApp);
    scenario
        ->waitFor(
            "login dialog", [] { return loginDialog()->isVisible(); },
            [] {
                save(loginDialog(), QStringLiteral("login"));
                clickLater(loginDialog(), "pushButtonLogin");
            })
        .waitFor(
            "wait dialog", [] { return modalTitled(QStringLiteral("登录中")); },
            [] { save(QApplication::activeModalWidget(), QStringLiteral("wait")); })
        .waitFor(
            "storage page filled",
            [] {
                auto *table = mainWindow()->pageSave()->findChild<QTableWidget *>(QStringLiteral("tableWidget"));
                return mainWindow()->isVisible() && table && table->rowCount() > 0;
            },
            [] {
                QTimer::singleShot(300, [] { // let the first paint settle
                    save(mainWindow(), QStringLiteral("storage"));
                    clickLater(mainWindow(), "pushButtonTask");
                });
            })
        .waitFor(
            "task page", [] { return showsPage("pageTask"); },
            [] {
                save(mainWindow(), QStringLiteral("tasks"));
                clickLater(mainWindow(), "pushButtonDownload");
            })
        .waitFor(
            "download page", [] { return showsPage("pageDownload"); },
            [] {
                save(mainWindow(), QStringLiteral("downloads"));
                clickLater(mainWindow(), "pushButtonSave");
            })
        .waitFor(
            "storage page again", [] { return showsPage("pageSave"); },
            [] { clickLater(mainWindow()->pageSave(), "pushButtonMkDir"); })
        .waitFor(
            "new-folder dialog", [] { return modalTitled(QStringLiteral("新建文件夹")); },
            [] {
                QWidget *dialog = QApplication::activeModalWidget();
                save(dialog, QStringLiteral("dialog"));
                clickLater(dialog, "pushButtonNo");
            })
        .waitFor(
            "dialog closed", [] { return !QApplication::activeModalWidget(); }, [] { mainWindow()->close(); });
    scenario->start();
}
Q_COREAPP_STARTUP_FUNCTION(tour)

} // namespace

int main(int argc, char *argv[])
{
    const int result = qMain(argc, argv);
    if (!outcome.completed || !outcome.failures.isEmpty()) {
        std::fprintf(stderr, "screenshots incomplete, stopped at '%s': %s\n", qPrintable(outcome.stoppedAt),
                     qPrintable(outcome.failures.join(QStringLiteral("; "))));
        return 1;
    }
    return result;
}
