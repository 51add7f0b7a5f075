#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A private OpenSSH server for the SFTP tests: Debian's sshd in the foreground on a free loopback port,
// with its own host key and configuration, the internal SFTP server only, and a chroot whose /user-01
// belongs to a test account that logs in by password (or, for OpenSSH's own client, by key).
//
// sshd insists that every folder above a chroot is root-owned and writable by root only, so the chroot
// lives under /var/lib/ombrivane-test rather than under /tmp. Creating the account and running sshd need
// root; start() says why when the server cannot run.
class TestSshd
{
public:
    struct Options
    {
        // false: the server offers no password method (public key and keyboard-interactive only).
        bool passwordAuthentication = true;
    };

    explicit TestSshd(const Options &options);
    TestSshd();
    ~TestSshd();
    TestSshd(const TestSshd &) = delete;
    TestSshd &operator=(const TestSshd &) = delete;

    // Starts the server and waits until it listens. False, with the reason, when it cannot run here.
    bool start(QString *whyNot);
    // Ends the listener and every session process under it: their connections drop.
    void stop();
    // Stops the listener and every session process without ending them: connections stay open but the
    // server says nothing more until stop().
    void freeze();
    bool isRunning() const;
    // Ends the server and starts it again on the same port with a host key of its own: to the client,
    // another machine answering in its place. The output starts afresh.
    bool restartWithNewHostKey(QString *whyNot);
    // Processes below the listener: one group per open connection.
    int sessionProcessCount() const;

    static QString host() { return QStringLiteral("127.0.0.1"); }
    quint16 port() const { return m_port; }
    static QString userName() { return QStringLiteral("ombrivane-sftp"); }
    static QString password() { return QStringLiteral("Ombrivane-Test-01"); }
    QString rootOnDisk() const { return m_root; }
    QString homeOnDisk() const { return m_root + QStringLiteral("/user-01"); }
    // The public key blob that the host key's fingerprint is taken of.
    QByteArray hostKeyBlob() const;
    // A private key that the test account accepts, for OpenSSH's sftp client.
    QString clientKeyPath() const;
    QString output();

    // Made under /user-01 on the server's disk and owned by the test account, as if it had made them.
    bool makeDir(const QString &relative) const;
    bool writeFile(const QString &relative, const QByteArray &content) const;
    bool writeFileRaw(const QByteArray &relative, const QByteArray &content) const;
    // The names in a folder under /user-01, as the bytes the file system holds.
    QList<QByteArray> rawNames(const QString &relative) const;

    // The JSON of an SFTP authorization code for this server and the test account.
    QJsonObject codeJson() const;
    // The two base64 layers around a JSON document, with an arbitrary six-character prefix inside.
    static QString authCode(const QJsonObject &json);

    // Set by CI: a server that cannot run is then a failure instead of a skipped test.
    static bool required();

private:
    bool preparePrivilegeSeparation(QString *whyNot) const;
    bool prepareAccount(QString *whyNot) const;
    bool prepareRoot(QString *whyNot);
    bool prepareKeys(QString *whyNot);
    bool copySharedHostKey(QString *whyNot) const;
    bool writeConfig(QString *whyNot) const;
    bool launch(QString *whyNot);
    bool listen(QString *whyNot);
    bool ownByAccount(const QByteArray &path) const;

    Options m_options;
    QTemporaryDir m_configDir;
    QString m_root;
    quint16 m_port = 0;
    QProcess m_process;
    QByteArray m_output;
};

// Starts a TestSshd, or skips the test (fails it when the server is required) with the reason.
#define TESTSSHD_START(server)                                                                                         \
    do {                                                                                                               \
        QString whyNot_;                                                                                               \
        if (!(server).start(&whyNot_)) {                                                                               \
            if (TestSshd::required())                                                                                  \
                QFAIL(qPrintable(QStringLiteral("OMBRIVANE_REQUIRE_SSHD=1 but sshd cannot run: ") + whyNot_));         \
            QSKIP(qPrintable(QStringLiteral("sshd cannot run: ") + whyNot_));                                          \
        }                                                                                                              \
    } while (false)
