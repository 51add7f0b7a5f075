#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QDateTime>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A private OpenSSH server for the SFTP tests: Debian's sshd on a free loopback port, its internal SFTP server
// with no umask (the modes asked for show unmasked), a chroot under /var/lib/ombrivane-test (sshd wants every
// folder above it root's alone) whose /user-01 belongs to a test account that logs in by password (OpenSSH's
// own client by key); beside it the scripted server (tests/sdk/scriptedsftpserver.py) that plays what OpenSSH
// never does, as its user name asks. It needs root; start() says why when it cannot run. Under Wine the
// servers are on the Linux side: testsshdhost starts them and answers testsshd_win.cpp's questions.
class TestSshd
{
public:
    TestSshd() = default;
    ~TestSshd();
    TestSshd(const TestSshd &) = delete;
    TestSshd &operator=(const TestSshd &) = delete;

    // Starts both servers and waits until they listen. False, with the reason, when they cannot run here.
    bool start(QString *whyNot);
    // Ends the listeners; sessions still open end with their clients.
    void stop();

    static QString host() { return QStringLiteral("127.0.0.1"); }
    quint16 port() const { return m_port; }
    quint16 scriptedPort() const { return m_scriptedPort; }
    static QString userName() { return QStringLiteral("ombrivane-sftp"); }
    static QByteArray password() { return QByteArrayLiteral("Ombrivane-Test-01"); }
    QString homeOnDisk() const { return m_root + QStringLiteral("/user-01"); }
    // A private key that the test account accepts, for OpenSSH's sftp client.
    QString clientKeyPath() const { return m_configDir.filePath(QStringLiteral("client_key")); }
    // What sshd logged so far (its sessions log there too).
    QString output();

    // Made under /user-01 on the server's disk and owned by the test account, as if it had made them.
    bool makeDir(const QString &relative) const;
    // With a modification time, the file is last read a year after it was last changed.
    bool writeFile(const QString &relative, const QByteArray &content, const QDateTime &modified = {}) const;
    bool makeLink(const QString &target, const QString &relative) const;
    // The type and mode bits of an entry under /user-01 on the server's disk (st_mode); 0 when it is missing.
    unsigned modeOf(const QString &relative) const;

    // The JSON of an SFTP authorization code for this server and the test account.
    QJsonObject codeJson() const;
    // The two base64 layers around a JSON document, with an arbitrary six-character prefix inside.
    static QString authCode(const QJsonObject &json);

    // Set by CI: a server that cannot run is then a failure instead of a skipped test.
    static bool required() { return qEnvironmentVariableIntValue("OMBRIVANE_REQUIRE_SSHD") == 1; }

    // One request of the Windows side, a method name and its arguments, and the answer to send back.
    QByteArray answer(const QByteArrayList &request);

private:
    bool prepareAccount(QString *whyNot);
    bool prepareKeys(QString *whyNot) const;
    bool startScripted(QString *whyNot);
    bool listen(QString *whyNot);

    QTemporaryDir m_configDir;
    QString m_root;
    quint16 m_port = 0, m_scriptedPort = 0;
    QProcess m_process, m_scripted;
    QByteArray m_output;
};
