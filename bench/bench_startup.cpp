// Time from process start to the login dialog shown, and from pressing 登录 (default code) to the main
// window shown, as medians over repeated runs of the real program, with each run's peak memory.
// Usage: bench_startup [runs]   (offscreen unless QT_QPA_PLATFORM says otherwise)
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QPushButton>
#include <QTextStream>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <cstdio>
#include <ctime>

int qMain(int argc, char *argv[]);

namespace {

const char *ChildVariable = "OMBRIVANE_BENCH_CHILD";

qint64 monotonicNs()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

qint64 peakKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

bool exposed(QWidget *window)
{
    return window->isVisible() && window->windowHandle() && window->windowHandle()->isExposed();
}

// In a child run: note when the login dialog is up, press 登录, note when the main window is up, close.
void driveChild()
{
    if (!qEnvironmentVariableIsSet(ChildVariable))
        return;
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer] {
        static qint64 loginShown = 0;
        static qint64 pressed = 0;
        VorLogin *login = VorData::instance()->loginDialog();
        VorMain *main = VorData::instance()->mainWindow();
        if (!loginShown && exposed(login)) {
            loginShown = monotonicNs();
            pressed = monotonicNs();
            QTimer::singleShot(0, login->findChild<QPushButton *>(QStringLiteral("pushButtonLogin")),
                               &QPushButton::click);
        } else if (loginShown && exposed(main)) {
            timer->stop();
            std::printf("%lld %lld %lld %lld\n", loginShown, pressed, monotonicNs(), peakKiB());
            std::fflush(stdout);
            main->close();
        }
    });
    timer->start(1);
}
Q_COREAPP_STARTUP_FUNCTION(driveChild)

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsSet(ChildVariable))
        return qMain(argc, argv);

    const int runs = argc > 1 ? qMax(1, atoi(argv[1])) : 7;
    QList<double> toLogin, toMain, peaks;
    for (int run = 0; run < runs; ++run) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(ChildVariable), QStringLiteral("1"));
        if (!environment.contains(QStringLiteral("QT_QPA_PLATFORM")))
            environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        child.setProcessEnvironment(environment);
        const qint64 started = monotonicNs();
        child.start(QString::fromLocal8Bit(argv[0]), QStringList());
        if (!child.waitForFinished(60000) || child.exitCode() != 0) {
            std::fprintf(stderr, "run %d failed: %s\n", run, child.readAllStandardError().constData());
            return 1;
        }
        const QList<QByteArray> fields = child.readAllStandardOutput().trimmed().split(' ');
        if (fields.size() != 4)
            return 1;
        toLogin << (fields.at(0).toLongLong() - started) / 1e6;
        toMain << (fields.at(2).toLongLong() - fields.at(1).toLongLong()) / 1e6;
        peaks << fields.at(3).toLongLong() / 1024.0;
    }
    std::printf("runs: %d\n", runs);
    std::printf("process start -> login dialog shown: median %.1f ms\n", median(toLogin));
    std::printf("press 登录 -> main window shown:     median %.1f ms (the login worker waits 500 ms by design)\n",
                median(toMain));
    std::printf("peak memory: median %.1f MiB\n", median(peaks));
    return 0;
}
