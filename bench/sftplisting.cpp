// Prints how long the SFTP back end takes to list a folder of 1,000 and of 10,000 entries on the test
// server, cold (one stat per entry) and warm (stat cache filled), next to OpenSSH's own sftp client doing
// `ls -l` of the same folder on the same server in the same run.
//
// Needs root (the test server creates an account and a chroot). Usage: bench_sftplisting [repetitions]

#include "app/vorlog.h"
#include "model/fileentry.h"
#include "sdk/sdksftp.h"
#include "support/testsshd.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryFile>
#include <QTextStream>

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

std::unique_ptr<SdkSftp> connectedBackend(const TestSshd &server)
{
    auto backend = std::make_unique<SdkSftp>();
    backend->parseAuthCode(QString::fromUtf8(QJsonDocument(server.codeJson()).toJson()));
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
Timing timedSftpClient(const TestSshd &server, const QString &command)
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
                 QStringLiteral("-P"), QString::number(server.port()),
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

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(benchMessageHandler);
    QCoreApplication app(argc, argv);
    const int repetitions = argc > 1 ? qMax(1, QByteArray(argv[1]).toInt()) : 3;
    if (SdkSftp::init() != 0)
        return 1;

    TestSshd server;
    QString whyNot;
    if (!server.start(&whyNot)) {
        std::fprintf(stderr, "the test server cannot run: %s\n", qPrintable(whyNot));
        return 2;
    }
    const QList<int> sizes { 1000, 10000 };
    for (int size : sizes) {
        if (!fillFolder(server, QStringLiteral("n%1").arg(size), size)) {
            std::fprintf(stderr, "cannot fill the folder of %d entries\n", size);
            return 3;
        }
    }

    QTextStream out(stdout);
    out << "SFTP folder listing on the loopback test server (OpenSSH sshd, internal-sftp), median of " << repetitions
        << " runs, milliseconds\n";
    out << "Back end: cold = fresh session, one stat per entry; warm = same session again, stat cache filled.\n";
    out << "sftp ls -l = OpenSSH's sftp client in batch mode: median whole run minus median run with only `pwd`.\n\n";
    out << qSetFieldWidth(9) << "entries" << qSetFieldWidth(0) << " | log  | " << qSetFieldWidth(10) << "cold"
        << "warm"
        << "sftp ls"
        << "cold/sftp"
        << "warm/sftp" << qSetFieldWidth(0) << '\n';

    for (int size : sizes) {
        const QString folder = QStringLiteral("/user-01/n%1").arg(size);

        QList<double> sftpWhole;
        QList<double> sftpConnect;
        int sftpLines = 0;
        for (int i = 0; i < repetitions; ++i) {
            sftpConnect << timedSftpClient(server, QStringLiteral("pwd")).ms;
            const Timing listing = timedSftpClient(server, QStringLiteral("ls -l ") + folder);
            sftpWhole << listing.ms;
            sftpLines = listing.entries;
        }
        const double sftpMs = median(sftpWhole) - median(sftpConnect);
        out << qSetFieldWidth(9) << size << qSetFieldWidth(0) << " | sftp client: whole run "
            << QString::number(median(sftpWhole), 'f', 1) << ", connect only "
            << QString::number(median(sftpConnect), 'f', 1) << ", listing " << QString::number(sftpMs, 'f', 1) << '\n';

        for (bool withLog : { true, false }) {
            keepLog = withLog;
            QList<double> cold;
            QList<double> warm;
            int listed = 0;
            for (int i = 0; i < repetitions; ++i) {
                std::unique_ptr<SdkSftp> backend = connectedBackend(server);
                if (!backend)
                    return 4;
                const Timing first = timedListing(backend.get(), folder);
                const Timing second = timedListing(backend.get(), folder);
                cold << first.ms;
                warm << second.ms;
                listed = first.entries;
            }
            const double coldMs = median(cold);
            const double warmMs = median(warm);
            out << qSetFieldWidth(9) << size << qSetFieldWidth(0) << (withLog ? " | file | " : " | off  | ")
                << qSetFieldWidth(10) << QString::number(coldMs, 'f', 1) << QString::number(warmMs, 'f', 1)
                << QString::number(sftpMs, 'f', 1) << QString::number(coldMs / sftpMs, 'f', 1)
                << QString::number(warmMs / sftpMs, 'f', 1) << qSetFieldWidth(0) << "   (listed " << listed
                << " rows, sftp printed " << sftpLines << " lines)\n";
            out.flush();
        }
    }
    keepLog = true;
    server.stop();
    SdkSftp::exit();
    return 0;
}
