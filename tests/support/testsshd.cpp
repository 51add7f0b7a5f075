#include "support/testsshd.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QSet>
#include <QStandardPaths>
#include <QTcpServer>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char SshdPath[] = "/usr/sbin/sshd";
const char TestBase[] = "/var/lib/ombrivane-test";
// Compiled into Debian's sshd; a machine that never booted with systemd has no /run/sshd.
const char PrivilegeSeparationDir[] = "/run/sshd";
const int ToolTimeoutMs = 30000;
const int ListenTimeoutMs = 15000;

struct ToolResult
{
    bool ok = false;
    int exitCode = -1;
    QByteArray output;
};

ToolResult runTool(const QString &program, const QStringList &arguments, const QByteArray &input = QByteArray())
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    ToolResult result;
    if (!process.waitForStarted(ToolTimeoutMs)) {
        result.output = process.errorString().toUtf8();
        return result;
    }
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(ToolTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.output = "time-out";
        return result;
    }
    result.output = process.readAll();
    result.exitCode = process.exitCode();
    result.ok = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return result;
}

struct ProcessState
{
    pid_t parent = 0;
    char state = '?';
    QByteArray command;
};

// Every process of the machine with its parent, read from /proc.
QHash<pid_t, ProcessState> processTable()
{
    QHash<pid_t, ProcessState> table;
    DIR *proc = ::opendir("/proc");
    if (!proc)
        return table;
    while (dirent *item = ::readdir(proc)) {
        bool isNumber = false;
        const pid_t pid = QByteArray(item->d_name).toInt(&isNumber);
        if (!isNumber)
            continue;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = stat.readAll();
        // "pid (command) state ppid ...": the command may hold blanks and brackets, so read after the last ')'.
        const int close = text.lastIndexOf(')');
        if (close < 0)
            continue;
        const QList<QByteArray> fields = text.mid(close + 2).split(' ');
        if (fields.size() < 2 || fields.at(0).isEmpty())
            continue;
        const int open = text.indexOf('(');
        table.insert(
            pid,
            { static_cast<pid_t>(fields.at(1).toInt()), fields.at(0).at(0), text.mid(open + 1, close - open - 1) });
    }
    ::closedir(proc);
    return table;
}

QSet<pid_t> descendantsOf(pid_t root, const QHash<pid_t, ProcessState> &table)
{
    QSet<pid_t> found;
    QList<pid_t> queue { root };
    while (!queue.isEmpty()) {
        const pid_t parent = queue.takeFirst();
        for (auto it = table.constBegin(); it != table.constEnd(); ++it) {
            if (it.value().parent == parent && !found.contains(it.key())) {
                found.insert(it.key());
                queue << it.key();
            }
        }
    }
    return found;
}

// Session processes whose parent ended came to this process (a child subreaper); once they have ended
// too, reap them, or they would stay behind as zombies.
void reapAdoptedSessions()
{
    const pid_t self = ::getpid();
    const QHash<pid_t, ProcessState> table = processTable();
    for (auto it = table.constBegin(); it != table.constEnd(); ++it) {
        if (it.value().parent == self && it.value().state == 'Z' && it.value().command == "sshd")
            ::waitpid(it.key(), nullptr, WNOHANG);
    }
}

// Stops a process tree from the top down until no new process turns up; returns every process stopped.
QSet<pid_t> stopTree(pid_t root)
{
    QSet<pid_t> frozen;
    for (;;) {
        QSet<pid_t> tree = descendantsOf(root, processTable());
        tree.insert(root);
        tree.subtract(frozen);
        if (tree.isEmpty())
            return frozen;
        for (pid_t pid : qAsConst(tree))
            ::kill(pid, SIGSTOP);
        frozen.unite(tree);
    }
}

int removeEntry(const char *path, const struct stat *, int, struct FTW *)
{
    return ::remove(path);
}

// The client under test records each server's key in the user's configuration. Tests keep theirs in a
// folder of their own process (Qt's test locations lie below the home folder), never in the user's, and
// two suites run side by side never meet in one known-hosts file.
void keepKnownHostsPrivate()
{
    static QTemporaryDir home;
    static const bool moved = home.isValid() && qputenv("HOME", QFile::encodeName(home.path()));
    Q_UNUSED(moved)
    QStandardPaths::setTestModeEnabled(true);
}

} // namespace

TestSshd::TestSshd(const Options &options)
    : m_options(options)
{
}

TestSshd::TestSshd()
    : TestSshd(Options())
{
}

TestSshd::~TestSshd()
{
    stop();
    // Removed byte by byte: some tests leave names that are not valid text.
    if (!m_root.isEmpty())
        ::nftw(QFile::encodeName(m_root).constData(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

bool TestSshd::required()
{
    return qEnvironmentVariableIntValue("OMBRIVANE_REQUIRE_SSHD") == 1;
}

bool TestSshd::start(QString *whyNot)
{
    if (::geteuid() != 0) {
        *whyNot = QStringLiteral("the test server needs root (test account, chroot, sshd)");
        return false;
    }
    if (!QFileInfo(QLatin1String(SshdPath)).isExecutable()) {
        *whyNot = QStringLiteral("%1 is not installed (Debian package openssh-server)").arg(QLatin1String(SshdPath));
        return false;
    }
    if (!m_configDir.isValid()) {
        *whyNot = QStringLiteral("no temporary folder for the configuration");
        return false;
    }
    keepKnownHostsPrivate();
    // Session processes orphaned by stop() come back to this process, which reaps them.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    return preparePrivilegeSeparation(whyNot) && prepareAccount(whyNot) && prepareRoot(whyNot) && prepareKeys(whyNot)
        && launch(whyNot);
}

bool TestSshd::preparePrivilegeSeparation(QString *whyNot) const
{
    // sshd refuses a folder that is not root-owned or that others can write to.
    if ((::mkdir(PrivilegeSeparationDir, 0755) != 0 && errno != EEXIST) || ::chown(PrivilegeSeparationDir, 0, 0) != 0
        || ::chmod(PrivilegeSeparationDir, 0755) != 0) {
        *whyNot = QStringLiteral("cannot create %1 (root-owned, mode 0755) that sshd needs: %2")
                      .arg(QLatin1String(PrivilegeSeparationDir), QString::fromLocal8Bit(::strerror(errno)));
        return false;
    }
    return true;
}

bool TestSshd::prepareAccount(QString *whyNot) const
{
    const QByteArray user = userName().toUtf8();
    if (!::getpwnam(user.constData())) {
        const ToolResult added
            = runTool(QStringLiteral("useradd"),
                      { QStringLiteral("-M"), QStringLiteral("-U"), QStringLiteral("-d"), QStringLiteral("/user-01"),
                        QStringLiteral("-s"), QStringLiteral("/usr/sbin/nologin"), userName() });
        if (!added.ok && !::getpwnam(user.constData())) {
            *whyNot = QStringLiteral("useradd failed: %1").arg(QString::fromLocal8Bit(added.output));
            return false;
        }
    }
    // chpasswd may meet a lock held by another test run: try again a few times.
    ToolResult changed;
    for (int attempt = 0; attempt < 10 && !changed.ok; ++attempt) {
        if (attempt > 0)
            QThread::msleep(200);
        changed = runTool(QStringLiteral("chpasswd"), {}, user + ':' + password().toUtf8() + '\n');
    }
    if (!changed.ok)
        *whyNot = QStringLiteral("chpasswd failed: %1").arg(QString::fromLocal8Bit(changed.output));
    return changed.ok;
}

bool TestSshd::prepareRoot(QString *whyNot)
{
    if (::mkdir(TestBase, 0755) != 0 && errno != EEXIST) {
        *whyNot = QStringLiteral("cannot create %1").arg(QLatin1String(TestBase));
        return false;
    }
    // A chroot's parents must belong to root and be writable by root alone.
    if (::chown(TestBase, 0, 0) != 0 || ::chmod(TestBase, 0755) != 0) {
        *whyNot = QStringLiteral("cannot make %1 root-owned 0755").arg(QLatin1String(TestBase));
        return false;
    }
    QByteArray pattern = QByteArray(TestBase) + "/sshd.XXXXXX";
    if (!::mkdtemp(pattern.data()) || ::chmod(pattern.constData(), 0755) != 0) {
        *whyNot = QStringLiteral("cannot create the chroot under %1").arg(QLatin1String(TestBase));
        return false;
    }
    m_root = QFile::decodeName(pattern);
    const QByteArray home = QFile::encodeName(homeOnDisk());
    if (::mkdir(home.constData(), 0755) != 0 || !ownByAccount(home)) {
        *whyNot = QStringLiteral("cannot create %1 for the test account").arg(homeOnDisk());
        return false;
    }
    return true;
}

bool TestSshd::prepareKeys(QString *whyNot)
{
    const QString dir = m_configDir.path();
    const ToolResult made
        = runTool(QStringLiteral("ssh-keygen"),
                  { QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("ed25519"), QStringLiteral("-N"),
                    QString(), QStringLiteral("-C"), QStringLiteral("client_key"), QStringLiteral("-f"),
                    dir + QStringLiteral("/client_key") });
    if (!made.ok) {
        *whyNot = QStringLiteral("ssh-keygen failed: %1").arg(QString::fromLocal8Bit(made.output));
        return false;
    }
    if (!copySharedHostKey(whyNot))
        return false;
    // The account reads its authorized keys itself, so the folder and that file must be readable to it.
    const QString authorized = dir + QStringLiteral("/authorized_keys");
    if (!QFile::copy(dir + QStringLiteral("/client_key.pub"), authorized)
        || ::chmod(QFile::encodeName(authorized).constData(), 0644) != 0
        || ::chmod(QFile::encodeName(dir).constData(), 0755) != 0) {
        *whyNot = QStringLiteral("cannot set up the authorized keys");
        return false;
    }
    return true;
}

bool TestSshd::copySharedHostKey(QString *whyNot) const
{
    // Every test server of this machine shows the same host key, so that a port used again by a later
    // server never looks like a changed server to the known hosts the client keeps. Made once, under a
    // temporary name and linked into place, so that servers starting together all get the same whole key.
    const QString shared = QLatin1String(TestBase) + QStringLiteral("/host_key");
    if (!QFileInfo::exists(shared)) {
        const QString made = shared + QStringLiteral(".%1").arg(::getpid());
        QFile::remove(made);
        QFile::remove(made + QStringLiteral(".pub"));
        const ToolResult keygen = runTool(QStringLiteral("ssh-keygen"),
                                          { QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("ed25519"),
                                            QStringLiteral("-N"), QString(), QStringLiteral("-f"), made });
        const bool linked = keygen.ok
            && (::link(QFile::encodeName(made).constData(), QFile::encodeName(shared).constData()) == 0
                || errno == EEXIST);
        QFile::remove(made);
        QFile::remove(made + QStringLiteral(".pub"));
        if (!linked) {
            *whyNot = QStringLiteral("cannot make the shared host key: %1").arg(QString::fromLocal8Bit(keygen.output));
            return false;
        }
    }
    const QString key = m_configDir.path() + QStringLiteral("/host_key");
    const ToolResult publicKey
        = runTool(QStringLiteral("ssh-keygen"), { QStringLiteral("-y"), QStringLiteral("-f"), shared });
    QFile publicFile(key + QStringLiteral(".pub"));
    if (!QFile::copy(shared, key) || !publicKey.ok || !publicFile.open(QIODevice::WriteOnly)
        || publicFile.write(publicKey.output) != publicKey.output.size()) {
        *whyNot = QStringLiteral("cannot copy the shared host key: %1").arg(QString::fromLocal8Bit(publicKey.output));
        return false;
    }
    return true;
}

bool TestSshd::writeConfig(QString *whyNot) const
{
    const QString dir = m_configDir.path();
    QStringList lines {
        QStringLiteral("Port %1").arg(m_port),
        QStringLiteral("ListenAddress 127.0.0.1"),
        QStringLiteral("HostKey %1/host_key").arg(dir),
        QStringLiteral("PidFile none"),
        QStringLiteral("UseDNS no"),
        QStringLiteral("PermitRootLogin no"),
        QStringLiteral("AllowUsers %1").arg(userName()),
        QStringLiteral("PubkeyAuthentication yes"),
        QStringLiteral("AuthorizedKeysFile %1/authorized_keys").arg(dir),
        QStringLiteral("StrictModes no"),
        // No umask of the server's own: the modes the client asks for arrive unmasked and can be checked.
        QStringLiteral("Subsystem sftp internal-sftp -u 0000"),
        QStringLiteral("ForceCommand internal-sftp -u 0000"),
        QStringLiteral("ChrootDirectory %1").arg(m_root),
        QStringLiteral("MaxStartups 100"),
    };
    if (m_options.passwordAuthentication) {
        // Without PAM, sshd checks the password against the shadow file itself.
        lines << QStringLiteral("UsePAM no") << QStringLiteral("PasswordAuthentication yes")
              << QStringLiteral("KbdInteractiveAuthentication no");
    } else {
        lines << QStringLiteral("UsePAM yes") << QStringLiteral("PasswordAuthentication no")
              << QStringLiteral("KbdInteractiveAuthentication yes");
    }
    QFile file(dir + QStringLiteral("/sshd_config"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        *whyNot = QStringLiteral("cannot write the sshd configuration");
        return false;
    }
    file.write(lines.join(QLatin1Char('\n')).toUtf8() + '\n');
    return true;
}

bool TestSshd::launch(QString *whyNot)
{
    // The free port is found by binding to port 0 and letting it go; another process may take it in
    // between, so a bind failure is tried again with a new port.
    for (int attempt = 0; attempt < 3; ++attempt) {
        QTcpServer probe;
        if (!probe.listen(QHostAddress::LocalHost, 0)) {
            *whyNot = QStringLiteral("no free loopback port");
            return false;
        }
        m_port = probe.serverPort();
        probe.close();
        if (listen(whyNot))
            return true;
        if (!whyNot->contains(QLatin1String("Address already in use")))
            return false;
    }
    return false;
}

bool TestSshd::listen(QString *whyNot)
{
    if (!writeConfig(whyNot))
        return false;
    m_output.clear();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QLatin1String(SshdPath),
                    { QStringLiteral("-D"), QStringLiteral("-e"), QStringLiteral("-f"),
                      m_configDir.path() + QStringLiteral("/sshd_config") });
    if (!m_process.waitForStarted(ToolTimeoutMs)) {
        *whyNot = QStringLiteral("sshd did not start: %1").arg(m_process.errorString());
        return false;
    }
    // sshd announces its listening socket once it accepts connections.
    QDeadlineTimer deadline(ListenTimeoutMs);
    while (!m_output.contains("Server listening on") && m_process.state() == QProcess::Running
           && !deadline.hasExpired()) {
        m_process.waitForReadyRead(100);
        m_output += m_process.readAll();
    }
    if (m_output.contains("Server listening on"))
        return true;
    m_output += m_process.readAll();
    stop();
    *whyNot = QStringLiteral("sshd did not listen on port %1: %2").arg(m_port).arg(QString::fromLocal8Bit(m_output));
    return false;
}

bool TestSshd::restartWithNewHostKey(QString *whyNot)
{
    stop();
    const QString key = m_configDir.path() + QStringLiteral("/host_key");
    QFile::remove(key);
    QFile::remove(key + QStringLiteral(".pub"));
    const ToolResult made = runTool(QStringLiteral("ssh-keygen"),
                                    { QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("ed25519"),
                                      QStringLiteral("-N"), QString(), QStringLiteral("-f"), key });
    if (!made.ok) {
        *whyNot = QStringLiteral("ssh-keygen failed: %1").arg(QString::fromLocal8Bit(made.output));
        return false;
    }
    return listen(whyNot);
}

bool TestSshd::isRunning() const
{
    return m_process.state() == QProcess::Running;
}

void TestSshd::freeze()
{
    if (m_process.state() == QProcess::Running)
        stopTree(static_cast<pid_t>(m_process.processId()));
}

void TestSshd::stop()
{
    reapAdoptedSessions();
    if (m_process.state() == QProcess::NotRunning)
        return;
    const pid_t listener = static_cast<pid_t>(m_process.processId());

    // Freeze the whole tree first, so that no session starts or ends unseen while it is taken down.
    QSet<pid_t> frozen = stopTree(listener);
    for (pid_t pid : qAsConst(frozen))
        ::kill(pid, SIGKILL);
    m_process.waitForFinished(ToolTimeoutMs);
    m_output += m_process.readAll();

    // The sessions were orphaned to this process: reap them.
    frozen.remove(listener);
    QDeadlineTimer deadline(5000);
    while (!frozen.isEmpty() && !deadline.hasExpired()) {
        for (auto it = frozen.begin(); it != frozen.end();) {
            const pid_t done = ::waitpid(*it, nullptr, WNOHANG);
            if (done == *it || (done < 0 && errno == ECHILD && !processTable().contains(*it)))
                it = frozen.erase(it);
            else
                ++it;
        }
        if (!frozen.isEmpty())
            QThread::msleep(10);
    }
    reapAdoptedSessions();
}

int TestSshd::sessionProcessCount() const
{
    reapAdoptedSessions();
    if (m_process.state() != QProcess::Running)
        return 0;
    const QHash<pid_t, ProcessState> table = processTable();
    int count = 0;
    for (pid_t pid : descendantsOf(static_cast<pid_t>(m_process.processId()), table))
        count += table.value(pid).state != 'Z' ? 1 : 0;
    return count;
}

QString TestSshd::output()
{
    m_output += m_process.readAll();
    return QString::fromLocal8Bit(m_output);
}

QByteArray TestSshd::hostKeyBlob() const
{
    QFile file(m_configDir.path() + QStringLiteral("/host_key.pub"));
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    const QList<QByteArray> fields = file.readAll().simplified().split(' ');
    return fields.size() > 1 ? QByteArray::fromBase64(fields.at(1)) : QByteArray();
}

QString TestSshd::clientKeyPath() const
{
    return m_configDir.path() + QStringLiteral("/client_key");
}

bool TestSshd::ownByAccount(const QByteArray &path) const
{
    const passwd *account = ::getpwnam(userName().toUtf8().constData());
    return account && ::lchown(path.constData(), account->pw_uid, account->pw_gid) == 0;
}

bool TestSshd::makeDir(const QString &relative) const
{
    const QByteArray path = QFile::encodeName(homeOnDisk() + QLatin1Char('/') + relative);
    return ::mkdir(path.constData(), 0755) == 0 && ownByAccount(path);
}

bool TestSshd::writeFile(const QString &relative, const QByteArray &content) const
{
    return writeFileRaw(relative.toUtf8(), content);
}

bool TestSshd::writeFileRaw(const QByteArray &relative, const QByteArray &content) const
{
    const QByteArray path = QFile::encodeName(homeOnDisk()) + '/' + relative;
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, content.constData(), static_cast<size_t>(content.size())) == content.size();
    ::close(fd);
    return written && ownByAccount(path);
}

QList<QByteArray> TestSshd::rawNames(const QString &relative) const
{
    QList<QByteArray> names;
    const QByteArray path = QFile::encodeName(homeOnDisk() + QLatin1Char('/') + relative);
    DIR *dir = ::opendir(path.constData());
    if (!dir)
        return names;
    while (dirent *item = ::readdir(dir)) {
        const QByteArray name(item->d_name);
        if (name != "." && name != "..")
            names << name;
    }
    ::closedir(dir);
    return names;
}

QJsonObject TestSshd::codeJson() const
{
    const qint64 expire = QDateTime::currentDateTime().addDays(7).toMSecsSinceEpoch();
    QJsonObject userInfo { { QStringLiteral("host"), host() },
                           { QStringLiteral("port"), QString::number(m_port) },
                           { QStringLiteral("username"), userName() },
                           { QStringLiteral("password"), password() },
                           { QStringLiteral("expireTime"), QString::number(expire) } };
    return QJsonObject { { QStringLiteral("storage"), QStringLiteral("sftp") },
                         { QStringLiteral("project"), QStringLiteral("ombrivane-test") },
                         { QStringLiteral("userInfo"), userInfo } };
}

QString TestSshd::authCode(const QJsonObject &json)
{
    const QByteArray inner = QJsonDocument(json).toJson(QJsonDocument::Compact).toBase64();
    return QString::fromLatin1(QByteArray("k3P#q9" + inner).toBase64());
}
