#include "support/testsshd.h"

#include <QHostAddress>
#include <QStandardPaths>
#include <QTcpSocket>

// Under Wine the server, its account and its disk are on the Linux side: testsshdhost started this
// program with the port where it answers in OMBRIVANE_TEST_SSHD_HOST, and every call asks there.

namespace {

quint16 hostPort()
{
    return static_cast<quint16>(qEnvironmentVariableIntValue("OMBRIVANE_TEST_SSHD_HOST"));
}

// One line of base64 fields each way.
QByteArray ask(const QByteArrayList &request)
{
    QByteArrayList fields;
    for (const QByteArray &field : request)
        fields << field.toBase64();
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, hostPort());
    if (!socket.waitForConnected(10000))
        return QByteArray();
    socket.write(fields.join(' ') + '\n');
    while (!socket.canReadLine() && socket.waitForReadyRead(30000)) { }
    return QByteArray::fromBase64(socket.readLine().trimmed());
}

} // namespace

TestSshd::~TestSshd() = default;

bool TestSshd::start(QString *whyNot)
{
    QStandardPaths::setTestModeEnabled(true); // the known hosts stay out of the user's configuration
    m_port = hostPort() != 0 ? ask({ "port" }).toUShort() : 0;
    if (m_port == 0)
        *whyNot = QStringLiteral("no server from the Linux side (tests/support/testsshdhost runs this program)");
    return m_port != 0;
}

void TestSshd::stop()
{
    ask({ "stop" });
}

QString TestSshd::output()
{
    return QString::fromUtf8(ask({ "output" }));
}

bool TestSshd::makeDir(const QString &relative) const
{
    return ask({ "makeDir", relative.toUtf8() }) == "1";
}

bool TestSshd::writeFile(const QString &relative, const QByteArray &content) const
{
    return ask({ "writeFile", relative.toUtf8(), content }) == "1";
}

bool TestSshd::makeLink(const QString &target, const QString &relative) const
{
    return ask({ "makeLink", target.toUtf8(), relative.toUtf8() }) == "1";
}

unsigned TestSshd::modeOf(const QString &relative) const
{
    return ask({ "modeOf", relative.toUtf8() }).toUInt();
}

quint16 TestSshd::startScripted(const QString &mode)
{
    return ask({ "startScripted", mode.toUtf8() }).toUShort();
}
