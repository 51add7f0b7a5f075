// Prints how long the SFTP back end takes to sign in and list a folder, next to OpenSSH's own sftp client
// doing `ls -l` of the same folder on the same server in the same run (medians):
//  - 1,000 entries through a relay on loopback that adds a 20 ms round trip: sign-in plus first listing
//    against one whole `sftp -b` run (connect and `ls -l`) through the same relay;
//  - 10,000 entries on loopback: sign-in plus first listing against a whole `sftp -b` run, and a repeated
//    (cached) listing against sftp's listing time alone (whole run minus a run with only `pwd`).
// and the peak resident memory of this process.
//
// Needs root (the test server creates an account and a chroot). Usage: bench_sftplisting [repetitions]

#include "app/vorlog.h"
#include "delayrelay.h"
#include "model/fileentry.h"
#include "sdk/sdksftp.h"
#include "support/testsshd.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryFile>
#include <QTextStream>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace {

bool keepLog = true;

// The product writes every record to its log file; the second pass drops them to show what that costs.
void benchMessageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (keepLog)
        vorMessageHandler(type, context, message);
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0.0 : values.at(values.size() / 2);
}

std::unique_ptr<SdkSftp> connectedBackend(const TestSshd &server, quint16 port, const QString &user = QString())
{
    QJsonObject code = server.codeJson();
    QJsonObject userInfo = code.value(QStringLiteral("userInfo")).toObject();
    userInfo.insert(QStringLiteral("port"), QString::number(port));
    if (!user.isEmpty())
        userInfo.insert(QStringLiteral("username"), user);
    code.insert(QStringLiteral("userInfo"), userInfo);
    auto backend = std::make_unique<SdkSftp>();
    backend->parseAuthCode(QString::fromUtf8(QJsonDocument(code).toJson()));
    if (!backend->connectToServer()) {
        std::fprintf(stderr, "connect failed: %s\n", qPrintable(backend->lastError));
        return nullptr;
    }
    return backend;
}

struct Timing
{
    double ms = 0;
    int entries = 0;
};

Timing timedListing(SdkSftp *backend, const QString &folder)
{
    QElapsedTimer timer;
    timer.start();
    QList<FileEntry *> entries = backend->getFileInfo(folder, QString());
    Timing timing { timer.nsecsElapsed() / 1e6, entries.size() };
    qDeleteAll(entries);
    return timing;
}

// One run of OpenSSH's sftp client in batch mode with key authentication; lines counts the output lines.
Timing timedSftpClient(const TestSshd &server, quint16 port, const QString &command)
{
    QTemporaryFile batch;
    if (!batch.open())
        return {};
    batch.write(command.toUtf8() + '\n');
    batch.flush();

    QProcess sftp;
    sftp.setProcessChannelMode(QProcess::SeparateChannels);
    QElapsedTimer timer;
    timer.start();
    sftp.start(QStringLiteral("sftp"),
               { QStringLiteral("-q"), QStringLiteral("-b"), batch.fileName(), QStringLiteral("-i"),
                 server.clientKeyPath(), QStringLiteral("-o"), QStringLiteral("BatchMode=yes"), QStringLiteral("-o"),
                 QStringLiteral("StrictHostKeyChecking=no"), QStringLiteral("-o"),
                 QStringLiteral("UserKnownHostsFile=/dev/null"), QStringLiteral("-o"), QStringLiteral("LogLevel=ERROR"),
                 QStringLiteral("-P"), QString::number(port),
                 TestSshd::userName() + QLatin1Char('@') + TestSshd::host() });
    sftp.waitForFinished(600000);
    Timing timing { timer.nsecsElapsed() / 1e6, 0 };
    const QByteArray output = sftp.readAllStandardOutput();
    if (sftp.exitCode() != 0) {
        std::fprintf(stderr, "sftp failed: %s\n", sftp.readAllStandardError().constData());
        return {};
    }
    timing.entries = output.count('\n');
    return timing;
}

bool fillFolder(const TestSshd &server, const QString &folder, int count)
{
    if (!server.makeDir(folder))
        return false;
    for (int i = 0; i < count; ++i) {
        if (!server.writeFile(QStringLiteral("%1/file-%2.dat").arg(folder).arg(i, 5, 10, QLatin1Char('0')),
                              QByteArray(i % 4096, 'x')))
            return false;
    }
    return true;
}

double peakMemoryMb()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0;
}

double residentMb()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toDouble() * sysconf(_SC_PAGESIZE) / (1024.0 * 1024.0) : 0;
}

QString ms(double value)
{
    return QString::number(value, 'f', 1);
}

// Sign-in plus first listing of a fresh back end, and a repeated listing of the same folder on it.
struct BackendRun
{
    QList<double> signInAndList;
    QList<double> repeated;
    int rows = 0;
};

bool timeBackend(const TestSshd &server, quint16 port, const QString &folder, int repetitions, BackendRun *run)
{
    for (int i = 0; i < repetitions; ++i) {
        QElapsedTimer timer;
        timer.start();
        std::unique_ptr<SdkSftp> backend = connectedBackend(server, port);
        if (!backend)
            return false;
        const Timing first = timedListing(backend.get(), folder);
        run->signInAndList << timer.nsecsElapsed() / 1e6;
        run->repeated << timedListing(backend.get(), folder).ms;
        run->rows = first.entries;
    }
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(benchMessageHandler);
    QCoreApplication app(argc, argv);
    const int repetitions = argc > 1 ? qMax(1, QByteArray(argv[1]).toInt()) : 5;
    if (SdkSftp::init() != 0)
        return 1;

    TestSshd server;
    QString whyNot;
    if (!server.start(&whyNot)) {
        std::fprintf(stderr, "the test server cannot run: %s\n", qPrintable(whyNot));
        return 2;
    }
    for (int size : { 1000, 10000 }) {
        if (!fillFolder(server, QStringLiteral("n%1").arg(size), size)) {
            std::fprintf(stderr, "cannot fill the folder of %d entries\n", size);
            return 3;
        }
    }
    DelayRelay relay(server.port(), 10);
    if (!relay.start()) {
        std::fprintf(stderr, "the delaying relay cannot listen\n");
        return 3;
    }

    QTextStream out(stdout);
    out << "SFTP sign-in and folder listing against the loopback test server (OpenSSH sshd, internal-sftp),\n"
        << "next to OpenSSH's sftp client in batch mode (`ls -l`); median of " << repetitions
        << " runs, milliseconds; the back end writes its log file as in the product.\n\n";

    // 1,000 entries over an added round trip of 20 ms.
    {
        const QString folder = QStringLiteral("/user-01/n1000");
        QList<double> sftpWhole;
        int sftpLines = 0;
        for (int i = 0; i < repetitions; ++i) {
            const Timing whole = timedSftpClient(server, relay.port(), QStringLiteral("ls -l ") + folder);
            sftpWhole << whole.ms;
            sftpLines = whole.entries;
        }
        BackendRun run;
        if (!timeBackend(server, relay.port(), folder, repetitions, &run))
            return 4;
        const double ours = median(run.signInAndList);
        out << "1,000 entries, 20 ms added round trip (relay):\n"
            << "  back end sign-in + first listing " << ms(ours) << " (" << run.rows << " rows), repeated listing "
            << ms(median(run.repeated)) << '\n'
            << "  sftp whole run (connect + ls -l) " << ms(median(sftpWhole)) << " (" << sftpLines << " lines)\n"
            << "  ratio " << QString::number(ours / median(sftpWhole), 'f', 2) << "  (goal <= 1.5)\n"
            << "  peak memory so far " << ms(peakMemoryMb()) << " MB\n\n";
        out.flush();
    }

    // 10,000 entries on loopback.
    {
        const QString folder = QStringLiteral("/user-01/n10000");
        QList<double> sftpWhole;
        QList<double> sftpConnect;
        int sftpLines = 0;
        for (int i = 0; i < repetitions; ++i) {
            sftpConnect << timedSftpClient(server, server.port(), QStringLiteral("pwd")).ms;
            const Timing whole = timedSftpClient(server, server.port(), QStringLiteral("ls -l ") + folder);
            sftpWhole << whole.ms;
            sftpLines = whole.entries;
        }
        const double sftpListing = median(sftpWhole) - median(sftpConnect);
        for (bool withLog : { true, false }) {
            keepLog = withLog;
            BackendRun run;
            if (!timeBackend(server, server.port(), folder, repetitions, &run))
                return 4;
            const double first = median(run.signInAndList);
            const double repeated = median(run.repeated);
            out << "10,000 entries, loopback" << (withLog ? "" : ", log records dropped (for comparison)") << ":\n"
                << "  back end sign-in + first listing " << ms(first) << " (" << run.rows
                << " rows), repeated (cached) listing " << ms(repeated) << '\n'
                << "  sftp whole run " << ms(median(sftpWhole)) << " (" << sftpLines << " lines), connect only "
                << ms(median(sftpConnect)) << ", listing " << ms(sftpListing) << '\n'
                << "  sign-in + first listing / sftp whole run " << QString::number(first / median(sftpWhole), 'f', 2)
                << "  (goal <= 2)\n"
                << "  repeated listing / sftp listing " << QString::number(repeated / sftpListing, 'f', 2)
                << "  (goal <= 2)\n"
                << "  peak memory so far " << ms(peakMemoryMb()) << " MB\n\n";
            out.flush();
        }
        keepLog = true;
    }
    // A folder without end (the tests' scripted server): the read stops at the entry limit.
    {
        QElapsedTimer timer;
        timer.start();
        std::unique_ptr<SdkSftp> backend = connectedBackend(server, server.scriptedPort(), QStringLiteral("endless"));
        if (!backend)
            return 4;
        QList<FileEntry *> rows = backend->getFileInfo(QStringLiteral("/endless"), QString());
        out << "Endless folder (scripted server): " << rows.size() << " rows kept in " << ms(timer.nsecsElapsed() / 1e6)
            << " ms, lastError \"" << backend->lastError << "\"\n"
            << "  resident while they are held " << ms(residentMb()) << " MB, peak memory so far " << ms(peakMemoryMb())
            << " MB\n\n";
        out.flush();
        qDeleteAll(rows);
        backend.reset();
    }

    // One log record: the write path alone (split, format, open, append, close) and the whole macro.
    {
        const int records = 20000;
        const QString message
            = QStringLiteral("5 | 2026-01-01 00:00:00:000 | 0x7f0000000000 | sdksftp | readFolder | 420 | fileInfo: "
                             "\"-rw-r--r--    1 ombrivane-sftp ombrivane-sftp     1234 Nov 23 09:00 file-01234.dat\"");
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < records; ++i)
            VorLog::instance()->write(message);
        const double writeUs = timer.nsecsElapsed() / 1e3 / records;
        timer.restart();
        for (int i = 0; i < records; ++i)
            VOR_LOG(5, "fileInfo:", message);
        const double macroUs = timer.nsecsElapsed() / 1e3 / records;
        out << "Log record (" << VorLog::instance()->filePath() << "): write path " << QString::number(writeUs, 'f', 1)
            << " us, whole VOR_LOG record " << QString::number(macroUs, 'f', 1) << " us\n";
    }
    server.stop();
    SdkSftp::exit();
    return 0;
}
