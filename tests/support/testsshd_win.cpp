#include "support/testsshd.h"

#include <QHostAddress>
#include <QStandardPaths>
#include <QTcpSocket>

// Under Wine the servers, the account and its disk are on the Linux side: testsshdhost started this
// program with OMBRIVANE_TEST_SSHD set to the port where it answers questions and the two servers' ports.

namespace {

quint16 handedPort(int which)
{
    return qEnvironmentVariable("OMBRIVANE_TEST_SSHD").section(QLatin1Char(' '), which, which).toUShort();
}

// One line of base64 fields each way.
QByteArray ask(const QByteArrayList &request)
{
    QByteArrayList fields;
    for (const QByteArray &field : request)
        fields << field.toBase64();
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, handedPort(0));
    socket.write(fields.join(' ') + '\n');
    while (!socket.canReadLine() && socket.waitForReadyRead(30000)) { }
    return QByteArray::fromBase64(socket.readLine().trimmed());
}

} // namespace

TestSshd::~TestSshd() = default;

bool TestSshd::start(QString *whyNot)
{
    QStandardPaths::setTestModeEnabled(true); // the known hosts stay out of the user's configuration
    m_port = handedPort(1);
    m_scriptedPort = handedPort(2);
    *whyNot = QStringLiteral("no servers from the Linux side (tests/support/testsshdhost runs this program)");
    return m_port != 0 && m_scriptedPort != 0;
}

void TestSshd::stop() { } // testsshdhost ends the servers with the test

QString TestSshd::output()
{
    return QString::fromUtf8(ask({ "output" }));
}

bool TestSshd::makeDir(const QString &relative) const
{
    return ask({ "makeDir", relative.toUtf8() }) == "1";
}

bool TestSshd::writeFile(const QString &relative, const QByteArray &content, const QDateTime &modified) const
{
    const QByteArray time = modified.isValid() ? QByteArray::number(modified.toMSecsSinceEpoch()) : QByteArray();
    return ask({ "writeFile", relative.toUtf8(), content, time }) == "1";
}

bool TestSshd::makeLink(const QString &target, const QString &relative) const
{
    return ask({ "makeLink", target.toUtf8(), relative.toUtf8() }) == "1";
}

unsigned TestSshd::modeOf(const QString &relative) const
{
    return ask({ "modeOf", relative.toUtf8() }).toUInt();
}
