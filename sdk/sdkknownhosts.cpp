#include "sdk/sdkknownhosts.h"

#include "app/vorlog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const quint16 DefaultSshPort = 22;
const int Sha256Length = 32;
// Room for one line of the file, enough for the largest key OpenSSH makes (RSA of 16384 bits, under 3 KiB).
const int InitialLineCapacity = 4096;

// The known-hosts key type of a host key type; 0 when the file has no name for it.
int knownHostKeyType(int hostKeyType)
{
    switch (hostKeyType) {
    case LIBSSH2_HOSTKEY_TYPE_RSA:
        return LIBSSH2_KNOWNHOST_KEY_SSHRSA;
    case LIBSSH2_HOSTKEY_TYPE_DSS:
        return LIBSSH2_KNOWNHOST_KEY_SSHDSS;
    case LIBSSH2_HOSTKEY_TYPE_ECDSA_256:
        return LIBSSH2_KNOWNHOST_KEY_ECDSA_256;
    case LIBSSH2_HOSTKEY_TYPE_ECDSA_384:
        return LIBSSH2_KNOWNHOST_KEY_ECDSA_384;
    case LIBSSH2_HOSTKEY_TYPE_ECDSA_521:
        return LIBSSH2_KNOWNHOST_KEY_ECDSA_521;
    case LIBSSH2_HOSTKEY_TYPE_ED25519:
        return LIBSSH2_KNOWNHOST_KEY_ED25519;
    default:
        return 0;
    }
}

// The host as OpenSSH names it in the file: the port in the name unless it is the standard one.
QByteArray entryName(const QString &host, quint16 port)
{
    const QByteArray name = host.toUtf8();
    return port == DefaultSshPort ? name : '[' + name + "]:" + QByteArray::number(port);
}

} // namespace

SdkKnownHosts::SdkKnownHosts(LIBSSH2_SESSION *session, const QString &filePath)
    : m_session(session)
    , m_hosts(libssh2_knownhost_init(session))
    , m_filePath(filePath)
{
}

SdkKnownHosts::~SdkKnownHosts()
{
    if (m_hosts)
        libssh2_knownhost_free(m_hosts);
}

QString SdkKnownHosts::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + QStringLiteral("/known_hosts");
}

SdkKnownHosts::Verdict SdkKnownHosts::check(const QString &host, quint16 port)
{
    size_t keyLength = 0;
    int hostKeyType = LIBSSH2_HOSTKEY_TYPE_UNKNOWN;
    const char *key = libssh2_session_hostkey(m_session, &keyLength, &hostKeyType);
    if (!m_hosts || !key) {
        VOR_LOG(1, "no host key to check for", host);
        return Verdict::Unknown;
    }
    if (!readFile())
        return Verdict::Unknown; // nothing written either: a file we cannot read is not overwritten

    // Any recorded key of this host counts, whatever its type: a server that suddenly shows a key of
    // another type is as suspect as one that shows another key. The server is looked up under the one name
    // OpenSSH gives it; with a port, libssh2 would also take the bare host's entry, which belongs to the
    // server on port 22, for this one's.
    const QByteArray name = entryName(host, port);
    const int found = libssh2_knownhost_checkp(m_hosts, name.constData(), -1, key, keyLength,
                                               LIBSSH2_KNOWNHOST_TYPE_PLAIN | LIBSSH2_KNOWNHOST_KEYENC_RAW, nullptr);
    switch (found) {
    case LIBSSH2_KNOWNHOST_CHECK_MATCH:
        return Verdict::Known;
    case LIBSSH2_KNOWNHOST_CHECK_MISMATCH:
        return Verdict::Changed;
    case LIBSSH2_KNOWNHOST_CHECK_NOTFOUND:
        record(name, key, keyLength, knownHostKeyType(hostKeyType));
        return Verdict::Unknown;
    default:
        VOR_LOG(1, "host key check failed", found);
        return Verdict::Unknown;
    }
}

bool SdkKnownHosts::readFile()
{
    // Qt opens the file and libssh2 reads it line by line: libssh2's own reader opens the path in the
    // system's 8-bit code page, which on Windows cannot name every user's folder.
    QFile file(m_filePath);
    if (!file.exists())
        return true; // no server recorded yet
    int rc = file.open(QIODevice::ReadOnly | QIODevice::Text) ? 0 : LIBSSH2_ERROR_FILE;
    while (rc == 0 && !file.atEnd()) {
        const QByteArray line = file.readLine();
        rc = libssh2_knownhost_readline(m_hosts, line.constData(), static_cast<size_t>(line.size()),
                                        LIBSSH2_KNOWNHOST_FILE_OPENSSH);
    }
    if (rc == 0)
        return true;
    VOR_LOG(1, "cannot read the known hosts, the host key counts as unknown:", m_filePath, rc);
    return false;
}

void SdkKnownHosts::record(const QByteArray &name, const char *key, size_t keyLength, int keyType)
{
    if (keyType == 0
        || libssh2_knownhost_addc(m_hosts, name.constData(), nullptr, key, keyLength, nullptr, 0,
                                  LIBSSH2_KNOWNHOST_TYPE_PLAIN | LIBSSH2_KNOWNHOST_KEYENC_RAW | keyType, nullptr)
            != 0) {
        VOR_LOG(1, "host key of", name.constData(), "cannot be recorded");
        return;
    }
    if (writeFile())
        VOR_LOG(3, "new host", name.constData(), "trusted, key recorded in", m_filePath, sha256Fingerprint());
}

bool SdkKnownHosts::writeFile()
{
    // The folder and the file are the user's alone. The list replaces the file only once it is written
    // whole, so that a failed write never leaves half a list.
    const QString folder = QFileInfo(m_filePath).absolutePath();
    const std::optional<QByteArray> contents = fileContents();
    QSaveFile file(m_filePath);
    const bool written = QDir().mkpath(folder)
        && QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner)
        && file.open(QIODevice::WriteOnly) && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && contents && file.write(*contents) == contents->size() && file.commit();
    if (!written)
        VOR_LOG(1, "cannot write the known hosts, the host key is not recorded:", m_filePath);
    return written;
}

std::optional<QByteArray> SdkKnownHosts::fileContents() const
{
    QByteArray contents;
    QByteArray line(InitialLineCapacity, Qt::Uninitialized);
    const auto writeLine = [this, &line](libssh2_knownhost *entry, size_t *length) {
        return libssh2_knownhost_writeline(m_hosts, entry, line.data(), static_cast<size_t>(line.size()), length,
                                           LIBSSH2_KNOWNHOST_FILE_OPENSSH);
    };
    libssh2_knownhost *entry = nullptr;
    while (libssh2_knownhost_get(m_hosts, &entry, entry) == 0) {
        size_t length = 0;
        int rc = writeLine(entry, &length);
        if (rc == LIBSSH2_ERROR_BUFFER_TOO_SMALL) { // a long comment; length is the line without its zero
            line.resize(static_cast<int>(length) + 1);
            rc = writeLine(entry, &length);
        }
        if (rc != 0)
            return std::nullopt; // a list without that host would drop its key from the file
        contents.append(line.constData(), static_cast<int>(length));
    }
    return contents;
}

QString SdkKnownHosts::sha256Fingerprint() const
{
    const char *hash = libssh2_hostkey_hash(m_session, LIBSSH2_HOSTKEY_HASH_SHA256);
    if (!hash)
        return QString();
    return QStringLiteral("SHA256:")
        + QString::fromLatin1(QByteArray(hash, Sha256Length).toBase64(QByteArray::OmitTrailingEquals));
}

QString SdkKnownHosts::changedKeyExplanation() const
{
    return QStringLiteral("服务器的身份已改变：它出示的主机密钥与上次登录时记录的不同，可能有人在冒充该服务器，"
                          "因此没有向它发送密码。新的密钥指纹：%1。旧的密钥记录在文件 %2 中；如果确认服务器确实更换了"
                          "密钥，请从该文件中删除这台服务器的那一行后重新登录。")
        .arg(sha256Fingerprint(), QDir::toNativeSeparators(m_filePath));
}
