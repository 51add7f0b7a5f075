// testsshdhost COMMAND [ARGUMENT...]: runs a Windows build of the SFTP test under Wine against this machine's
// test servers, answering its questions about them on a loopback port (testsshd_win.cpp); ends with its code.

#include "support/testsshd.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList command = app.arguments().mid(1);
    TestSshd server;
    QTcpServer questions;
    QString whyNot;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (command.isEmpty())
        return 2;
    if (server.start(&whyNot) && questions.listen(QHostAddress::LocalHost))
        environment.insert(
            "OMBRIVANE_TEST_SSHD",
            QStringLiteral("%1 %2 %3").arg(questions.serverPort()).arg(server.port()).arg(server.scriptedPort()));
    else
        std::fprintf(stderr, "testsshdhost: no servers: %s\n", qPrintable(whyNot));

    QObject::connect(&questions, &QTcpServer::newConnection, [&] {
        QTcpSocket *client = questions.nextPendingConnection();
        QObject::connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        QObject::connect(client, &QTcpSocket::readyRead, client, [&server, client] {
            if (!client->canReadLine())
                return;
            QByteArrayList request = client->readLine().trimmed().split(' ');
            for (QByteArray &field : request)
                field = QByteArray::fromBase64(field);
            client->write(server.answer(request).toBase64() + '\n');
            client->disconnectFromHost();
        });
    });

    QProcess test;
    test.setProcessChannelMode(QProcess::ForwardedChannels);
    test.setProcessEnvironment(environment);
    QObject::connect(
        &test, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &app,
        [&app](int code, QProcess::ExitStatus status) { app.exit(status == QProcess::NormalExit ? code : 1); });
    test.start(command.takeFirst(), command);
    return test.waitForStarted() ? app.exec() : 2;
}
