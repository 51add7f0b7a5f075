#include "support/testsshd.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTcpServer>
#include <QThread>

#include <cerrno>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char TestBase[] = "/var/lib/ombrivane-test";

bool runTool(const QString &program, const QStringList &arguments, const QByteArray &input = QByteArray())
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// sshd refuses a folder that is not root-owned or that others can write to.
bool makeRootFolder(const char *path)
{
    return (::mkdir(path, 0755) == 0 || errno == EEXIST) && ::chown(path, 0, 0) == 0 && ::chmod(path, 0755) == 0;
}

bool ownByAccount(const QByteArray &path)
{
    const passwd *account = ::getpwnam(TestSshd::userName().toUtf8().constData());
    return account && ::lchown(path.constData(), account->pw_uid, account->pw_gid) == 0;
}

bool fail(QString *whyNot, const QString &why)
{
    *whyNot = why;
    return false;
}

} // namespace

TestSshd::~TestSshd()
{
    stop();
    if (!m_root.isEmpty())
        QDir(m_root).removeRecursively();
}

void TestSshd::stop()
{
    for (QProcess *process : { &m_process, &m_scripted }) {
        process->kill();
        process->waitForFinished();
    }
}

QString TestSshd::output()
{
    return QString::fromLocal8Bit(m_output += m_process.readAll());
}

bool TestSshd::start(QString *whyNot)
{
    if (::geteuid() != 0 || !QFileInfo::exists(QStringLiteral("/usr/sbin/sshd")) || !m_configDir.isValid())
        return fail(whyNot, QStringLiteral("needs root and /usr/sbin/sshd (Debian package openssh-server)"));
    // The known hosts the client records lie in a folder of this process (Qt's test locations are below the home
    // folder), never in the user's, and two suites run side by side never share one.
    static QTemporaryDir privateHome;
    qputenv("HOME", QFile::encodeName(privateHome.path()));
    QStandardPaths::setTestModeEnabled(true);
    if (!prepareAccount(whyNot) || !prepareKeys(whyNot) || !startScripted(whyNot))
        return false;
    // The free port is found by binding to port 0 and letting it go; another process may take it in
    // between, so a bind failure is tried again with a new port.
    for (int attempt = 0; attempt < 3; ++attempt) {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        m_port = probe.serverPort();
        probe.close();
        if (listen(whyNot) || !whyNot->contains(QLatin1String("Address already in use")))
            return whyNot->isEmpty();
    }
    return false;
}

bool TestSshd::prepareAccount(QString *whyNot)
{
    // /run/sshd is compiled into Debian's sshd; a machine that never booted with systemd has none.
    if (!makeRootFolder("/run/sshd") || !makeRootFolder(TestBase))
        return fail(whyNot, QStringLiteral("cannot create /run/sshd and %1 root-owned 0755").arg(TestBase));
    const QByteArray user = userName().toUtf8();
    if (!::getpwnam(user.constData()))
        runTool("useradd", { "-M", "-U", "-d", "/user-01", "-s", "/usr/sbin/nologin", userName() });
    // chpasswd may meet a lock held by another test run: try again a few times.
    bool passwordSet = false;
    for (int attempt = 0; attempt < 10 && !(passwordSet = runTool("chpasswd", {}, user + ':' + password() + '\n'));
         ++attempt)
        QThread::msleep(200);
    QByteArray root = QByteArray(TestBase) + "/sshd.XXXXXX";
    if (passwordSet && ::mkdtemp(root.data()) && ::chmod(root.constData(), 0755) == 0)
        m_root = QFile::decodeName(root);
    const QByteArray home = QFile::encodeName(homeOnDisk());
    if (m_root.isEmpty() || ::mkdir(home.constData(), 0755) != 0 || !ownByAccount(home))
        return fail(whyNot, QStringLiteral("cannot set up the test account %1 and its chroot").arg(userName()));
    return true;
}

bool TestSshd::prepareKeys(QString *whyNot) const
{
    // The account reads its authorized keys itself, so the folder and that file must be readable to it.
    const QString authorized = m_configDir.filePath(QStringLiteral("authorized_keys"));
    const QStringList newKey { "-q", "-t", "ed25519", "-N", "", "-f" };
    if (!runTool("ssh-keygen", newKey + QStringList { m_configDir.filePath(QStringLiteral("host_key")) })
        || !runTool("ssh-keygen", newKey + QStringList { clientKeyPath() })
        || !QFile::copy(clientKeyPath() + QStringLiteral(".pub"), authorized)
        || ::chmod(QFile::encodeName(authorized).constData(), 0644) != 0
        || ::chmod(QFile::encodeName(m_configDir.path()).constData(), 0755) != 0)
        return fail(whyNot, QStringLiteral("cannot make the host and client keys"));
    return true;
}

bool TestSshd::startScripted(QString *whyNot)
{
    m_scripted.start(QStringLiteral("/usr/bin/python3"), { QStringLiteral(SCRIPTED_SFTP_SERVER) });
    // It prints its port once it listens.
    m_scriptedPort = m_scripted.waitForReadyRead(20000) ? m_scripted.readLine().trimmed().toUShort() : 0;
    if (m_scriptedPort == 0)
        return fail(whyNot, QStringLiteral("the scripted server does not start: ") + m_scripted.readAllStandardError());
    return true;
}

bool TestSshd::listen(QString *whyNot)
{
    const QString config = m_configDir.filePath(QStringLiteral("sshd_config"));
    QFile file(config);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(
        QStringLiteral("Port %1\nListenAddress 127.0.0.1\nHostKey %2\nPidFile none\nUseDNS no\n"
                       "AllowUsers %3\nChrootDirectory %4\nMaxStartups 100\nAuthorizedKeysFile %5\nStrictModes no\n"
                       // Without PAM, sshd checks the password against the shadow file itself.
                       "UsePAM no\nPasswordAuthentication yes\nKbdInteractiveAuthentication no\n"
                       "Subsystem sftp internal-sftp -u 0000\nForceCommand internal-sftp -u 0000\n")
            .arg(m_port)
            .arg(m_configDir.filePath(QStringLiteral("host_key")), userName(), m_root,
                 m_configDir.filePath(QStringLiteral("authorized_keys")))
            .toUtf8());
    file.close();
    m_output.clear();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QStringLiteral("/usr/sbin/sshd"), { "-D", "-e", "-f", config });
    // sshd announces its listening socket once it accepts connections.
    QDeadlineTimer deadline(15000);
    while (!m_output.contains("Server listening on") && m_process.waitForStarted() && !deadline.hasExpired()) {
        m_process.waitForReadyRead(100);
        m_output += m_process.readAll();
    }
    whyNot->clear();
    if (m_output.contains("Server listening on"))
        return true;
    m_process.kill();
    m_process.waitForFinished();
    m_output += m_process.readAll();
    return fail(whyNot, QStringLiteral("sshd did not listen on port %1: %2").arg(m_port).arg(QString(m_output)));
}

bool TestSshd::makeDir(const QString &relative) const
{
    const QByteArray path = QFile::encodeName(homeOnDisk() + QLatin1Char('/') + relative);
    return ::mkdir(path.constData(), 0755) == 0 && ownByAccount(path);
}

bool TestSshd::writeFile(const QString &relative, const QByteArray &content, const QDateTime &modified) const
{
    QFile file(homeOnDisk() + QLatin1Char('/') + relative);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size()
        && file.flush() && ownByAccount(QFile::encodeName(file.fileName()))
        && (!modified.isValid()
            || (file.setFileTime(modified, QFileDevice::FileModificationTime)
                && file.setFileTime(modified.addYears(1), QFileDevice::FileAccessTime)));
}

bool TestSshd::makeLink(const QString &target, const QString &relative) const
{
    return QFile::link(target, homeOnDisk() + QLatin1Char('/') + relative);
}

unsigned TestSshd::modeOf(const QString &relative) const
{
    struct stat info = {};
    const QByteArray path = QFile::encodeName(homeOnDisk() + QLatin1Char('/') + relative);
    return ::stat(path.constData(), &info) == 0 ? info.st_mode : 0;
}

QByteArray TestSshd::answer(const QByteArrayList &request)
{
    const QString first = QString::fromUtf8(request.value(1)), second = QString::fromUtf8(request.value(2));
    const QByteArray method = request.value(0);
    if (method == "output")
        return output().toUtf8();
    if (method == "makeDir")
        return QByteArray::number(makeDir(first));
    if (method == "writeFile")
        return QByteArray::number(writeFile(
            first, request.value(2),
            request.value(3).isEmpty() ? QDateTime()
                                       : QDateTime::fromMSecsSinceEpoch(request.value(3).toLongLong(), Qt::UTC)));
    if (method == "makeLink")
        return QByteArray::number(makeLink(first, second));
    if (method == "modeOf")
        return QByteArray::number(modeOf(first));
    return QByteArray();
}
