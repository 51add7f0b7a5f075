#include "sdk/sdksftp.h"

#include "sdk/sdkknownhosts.h"
#include "sdk/sdksamples.h"

#include "app/platform.h"
#include "app/vorlog.h"

#include <QDate>
#include <QDateTime>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QTcpSocket>

#include <atomic>
#include <cstring>
#include <ctime>

Q_LOGGING_CATEGORY(lcSdkSftp, "sdk.sftp", QtWarningMsg)

namespace {

// Set once the SSH library has been ended for the process. The facade is a static object that may still
// hold a connected back end when the process ends; that back end must then not talk to its server any more.
std::atomic<bool> libraryEnded { false };

const char ShutdownDescription[] = "Normal Shutdown";
const int Sha1Length = 20;
const int GoodbyeTimeoutMs = 3000;

LIBSSH2_SFTP_ATTRIBUTES noAttributes()
{
    LIBSSH2_SFTP_ATTRIBUTES attributes;
    std::memset(&attributes, 0, sizeof attributes);
    return attributes;
}

// The local time of a file time. The offset comes from the C library's zone data already loaded, so a
// listing of thousands of entries does not look the zone up again for each of them.
QDateTime localFileTime(quint64 secondsSinceEpoch)
{
    const auto seconds = static_cast<std::time_t>(secondsSinceEpoch);
    std::tm local {};
    if (!Platform::localTime(seconds, &local))
        return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(secondsSinceEpoch));
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(secondsSinceEpoch), Qt::OffsetFromUTC,
                                         Platform::utcOffset(local, seconds));
}

} // namespace

int SdkSftp::init()
{
    const int rc = libssh2_init(0);
    if (rc == 0) {
        libraryEnded = false;
        return 0;
    }
    VOR_LOG(1, "libssh2_init", QStringLiteral("libssh2_init return %1").arg(rc));
    return rc;
}

void SdkSftp::exit()
{
    libraryEnded = true;
    libssh2_exit();
}

SdkSftp::SdkSftp(QObject *parent)
    : SdkObject(parent)
{
}

SdkSftp::~SdkSftp()
{
    disconnectFromServer();
    endSession(); // a session whose handshake failed is still allocated
    m_socket.close();
}

void SdkSftp::setSessionTimeout(int milliseconds)
{
    m_sessionTimeoutMs = milliseconds;
    if (m_session)
        libssh2_session_set_timeout(m_session, milliseconds);
}

void SdkSftp::setListingLimit(int entries)
{
    m_listingLimit = entries;
}

void SdkSftp::setError(const QString &text, const char *loggedBy, ErrorFlag flag)
{
    if (flag == ErrorFlag::Set)
        hasError = true;
    lastError = text;
    if (loggedBy)
        VorLog::record(qDebug(), 1, __FILE__, loggedBy, __LINE__, lastError);
}

bool SdkSftp::serverSilent(int rc, const char *operation)
{
    if (rc == LIBSSH2_ERROR_TIMEOUT && !m_serverSilent) {
        m_serverSilent = true;
        // Nothing more is waited for: whatever the library still reads (closing the folder, the goodbye)
        // fails at once instead of taking the time-out again.
        m_socket.stopReceiving();
    }
    if (m_serverSilent)
        setError(silentServerText(), operation);
    return m_serverSilent;
}

QString SdkSftp::silentServerText() const
{
    return tr("服务器已%1秒没有响应，连接已失效，请退出后重新登录！").arg(m_sessionTimeoutMs / 1000);
}

// ---- operations without effect in this back end

void SdkSftp::upload(const QString &) { }
void SdkSftp::uploadDir(const QString &) { }
void SdkSftp::download(int) { }
void SdkSftp::reservedOperation(int) { }
void SdkSftp::deleteTask(int) { }
void SdkSftp::deleteFile(const QString &) { }
void SdkSftp::continueTask(int) { }
void SdkSftp::pauseTask(int) { }

// This back end moves no data yet: its task list and download history are the shared sample rows.
QList<TaskInfo *> SdkSftp::refreshTask(int, int)
{
    return SdkSamples::tasks();
}

QList<DownloadInfo *> SdkSftp::refreshDown(const QString &)
{
    return SdkSamples::downloads();
}

void SdkSftp::setServerState(const ServerState &newState)
{
    if (newState == state)
        return;
    VOR_LOG(5, " SdkSftp Change server state ", static_cast<int>(state), " to ", static_cast<int>(newState));
    applyServerState(newState);
}

// ---- authorization code

void SdkSftp::parseAuthCode(const QString &json)
{
    const QJsonObject object = parseCodeJson(json);
    m_projectName = object.value(QStringLiteral("project")).toString();

    const QJsonValue userInfo = object.value(QStringLiteral("userInfo"));
    if (!userInfo.isObject())
        return;
    const QJsonObject info = userInfo.toObject();
    const qint64 expireMs = info.value(QStringLiteral("expireTime")).toString().toLongLong(nullptr, 10);
    m_validDays = static_cast<int>(QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(expireMs).date()));
    m_userName = info.value(QStringLiteral("username")).toString();
    m_host = info.value(QStringLiteral("host")).toString();
    m_password = info.value(QStringLiteral("password")).toString();
    m_homePath = QStringLiteral("/user-01");
    // The port travels as text; a JSON number reads as no text and so as port 0.
    m_port = info.value(QStringLiteral("port")).toString().toUInt(nullptr, 10);
}

void SdkSftp::loadSampleSettings()
{
    m_userName = QStringLiteral("user-01");
    m_password.clear();
    m_port = 22;
    m_host = QStringLiteral("127.0.0.1");
    m_homePath = QStringLiteral("/user-01");
}

// ---- session

bool SdkSftp::openTcpConnection()
{
    // The socket only opens the connection: libssh2 works on a private copy of its descriptor, and the
    // socket object goes at once, so that no notifier of it can read SSH bytes and nothing stays bound to
    // this thread. Closing the socket closes only its own descriptor, not the connection.
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy); // the descriptor must lead straight to the server
    socket.connectToHost(m_host, static_cast<quint16>(m_port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    if (!socket.waitForConnected(ConnectTimeoutMs))
        return false;
    return m_socket.duplicate(socket.socketDescriptor());
}

bool SdkSftp::connectToServer()
{
    // Whatever an earlier attempt on this object left is released first.
    disconnectFromServer();
    endSession();
    m_socket.close();
    m_serverSilent = false;

    if (!openTcpConnection())
        return false; // a refused or timed-out connection keeps the earlier error text

    m_session = libssh2_session_init_ex(nullptr, nullptr, nullptr, this);
    if (!m_session) {
        setError(QStringLiteral("Ssh2 session initialize failed!"), __FUNCTION__);
        return false;
    }
    libssh2_session_set_blocking(m_session, 1);
    libssh2_session_set_timeout(m_session, m_sessionTimeoutMs);

    const int rc = libssh2_session_handshake(m_session, static_cast<libssh2_socket_t>(m_socket.get()));
    if (rc != 0) {
        setError(QStringLiteral("Failure establishing SSH session: %1").arg(rc), __FUNCTION__, ErrorFlag::Keep);
        return false; // the session and the connection stay until the object goes
    }

    QByteArray rawFingerprint;
    const QString fingerprint = hostKeyFingerprint(&rawFingerprint);
    VOR_LOG(5, "Fingerprint:", fingerprint, rawFingerprint);
    if (!hostKeyTrusted())
        return false;

    const QByteArray methods = authenticationMethods();
    VOR_LOG(5, "Authentication methods:", methods.constData());
    if (!methods.contains("password")) {
        setError(QStringLiteral("sftp server not support userauth password!"), __FUNCTION__, ErrorFlag::Keep);
        endSession();
        m_socket.close();
        return false;
    }

    const QByteArray user = m_userName.toUtf8();
    const QByteArray password = m_password.toUtf8();
    if (libssh2_userauth_password_ex(m_session, user.constData(), static_cast<unsigned int>(user.size()),
                                     password.constData(), static_cast<unsigned int>(password.size()), nullptr)
        != 0) {
        setError(QStringLiteral("Authentication by password failed!"), __FUNCTION__, ErrorFlag::Keep);
        endSession();
        m_socket.close();
        return false;
    }
    VOR_LOG(5, "\tAuthentication by password succeeded.");

    VOR_LOG(5, "call libssh2_sftp_init()!");
    m_sftp = libssh2_sftp_init(m_session);
    if (m_sftp)
        return true;
    setError(QStringLiteral("Unable to init SFTP session"), __FUNCTION__, ErrorFlag::Keep);
    endSession();
    m_socket.close();
    return false;
}

QString SdkSftp::hostKeyFingerprint(QByteArray *raw) const
{
    const char *hash = libssh2_hostkey_hash(m_session, LIBSSH2_HOSTKEY_HASH_SHA1);
    if (!hash)
        return QString();
    // The raw hash as a terminated byte string (it ends at its first zero byte); the log shows it escaped,
    // since its bytes may hold line breaks, next to the usual hex form.
    *raw = QByteArray(hash, static_cast<int>(qstrnlen(hash, Sha1Length)));
    const QByteArray whole(hash, Sha1Length);
    return QString::fromLatin1(whole.toHex(':'));
}

bool SdkSftp::hostKeyTrusted()
{
    { // the list belongs to the session and goes before it
        SdkKnownHosts knownHosts(m_session);
        VOR_LOG(5, "Fingerprint:", knownHosts.sha256Fingerprint());
        if (knownHosts.check(m_host, static_cast<quint16>(m_port)) != SdkKnownHosts::Verdict::Changed)
            return true;
        setError(knownHosts.changedKeyExplanation(), __FUNCTION__, ErrorFlag::Keep);
    }
    // Not a word more to a server that may be an impostor, not even a goodbye.
    m_socket.shutdownTraffic();
    endSession();
    m_socket.close();
    return false;
}

QByteArray SdkSftp::authenticationMethods()
{
    const QByteArray user = m_userName.toUtf8();
    const char *list = libssh2_userauth_list(m_session, user.constData(), static_cast<unsigned int>(user.size()));
    return QByteArray(list);
}

void SdkSftp::disconnectFromServer()
{
    if (!m_sftp)
        return;
    shutdownSftp();
    endSession();
}

void SdkSftp::shutdownSftp()
{
    if (!m_sftp)
        return;
    prepareGoodbye();
    if (libssh2_sftp_shutdown(m_sftp) != 0) {
        // The server left the close unanswered and the library kept the handle: finish without the server.
        m_socket.shutdownTraffic();
        libssh2_sftp_shutdown(m_sftp);
    }
    m_sftp = nullptr;
}

void SdkSftp::endSession()
{
    if (!m_session)
        return;
    prepareGoodbye();
    if (!libraryEnded)
        libssh2_session_disconnect_ex(m_session, SSH_DISCONNECT_BY_APPLICATION, ShutdownDescription, "");
    if (libssh2_session_free(m_session) != 0) {
        m_socket.shutdownTraffic();
        libssh2_session_free(m_session);
    }
    m_session = nullptr;
}

void SdkSftp::prepareGoodbye()
{
    // Once the library has been ended (the process is going), nothing more is said to the server: what
    // the tear-down still sends then fails locally.
    if (libraryEnded || m_serverSilent)
        m_socket.shutdownTraffic();
    // A server that no longer answers is not waited for the full time-out at every step of the goodbye.
    if (m_session)
        libssh2_session_set_timeout(m_session, qMin(m_sessionTimeoutMs, GoodbyeTimeoutMs));
}

// ---- listing

QList<FileEntry *> SdkSftp::getFileInfo(const QString &path, const QString &name)
{
    Q_UNUSED(name) // this back end always lists the whole folder
    QList<FileEntry *> entries;
    if (serverSilent(0, __FUNCTION__))
        return entries;
    if (m_session)
        libssh2_session_set_blocking(m_session, 1);

    const QByteArray folderPath = path.toUtf8();
    LIBSSH2_SFTP_HANDLE *folder = m_sftp
        ? libssh2_sftp_open_ex(m_sftp, folderPath.constData(), static_cast<unsigned int>(folderPath.size()), 0, 0,
                               LIBSSH2_SFTP_OPENDIR)
        : nullptr;
    if (!folder) {
        VOR_LOG(1, "Unable to open dir with SFTP\n");
        if (m_session)
            serverSilent(libssh2_session_last_errno(m_session), __FUNCTION__);
        return entries;
    }

    bool cutShort = false;
    const QList<ListedRow> rows = readFolder(folder, path, &cutShort);
    entries.reserve(rows.size());
    for (const ListedRow &row : rows) {
        // A failed stat keeps the line's byte count.
        fillEntryDetails(row.entry, path, row.attributesStandForStat ? &row.attributes : nullptr);
        row.entry->link = row.entry->name;
        entries << row.entry;
    }

    const int rc = libssh2_sftp_close_handle(folder);
    // A silence met while reading outlasts what the details of the rows read before it set.
    if (serverSilent(rc, nullptr))
        return entries;
    if (rc < 0)
        setError(QStringLiteral("libssh2_sftp_close_handle occurs error:%1").arg(rc), __FUNCTION__);
    else if (cutShort)
        setError(tr("文件夹内容超过%1项，只显示了前%1项！").arg(m_listingLimit), __FUNCTION__);
    return entries;
}

QList<SdkSftp::ListedRow> SdkSftp::readFolder(LIBSSH2_SFTP_HANDLE *folder, const QString &path, bool *cutShort)
{
    QList<ListedRow> rows;
    const QByteArray folderBytes = path.toUtf8() + '/';
    QByteArray name(ListingBufferSize, '\0');
    QByteArray longEntry(ListingBufferSize, '\0');
    int read = 0;
    for (;;) {
        ListedEntry one;
        const int rc = libssh2_sftp_readdir_ex(folder, name.data(), static_cast<size_t>(name.size()), longEntry.data(),
                                               static_cast<size_t>(longEntry.size()), &one.attributes);
        if (rc <= 0) {
            // The end of the folder and a failed read both end the listing: the entries read so far are
            // what the folder shows.
            if (rc < 0) {
                VOR_LOG(1, "libssh2_sftp_readdir_ex", rc);
                serverSilent(rc, __FUNCTION__);
            }
            break;
        }
        if (read == m_listingLimit) {
            *cutShort = true; // an entry beyond the limit came
            break;
        }
        ++read;
        one.name = QByteArray(name.constData(), rc);
        one.longEntry
            = QByteArray(longEntry.constData(), static_cast<int>(qstrnlen(longEntry.constData(), longEntry.size())));
        echoListedEntry(one);
        const QString line = QString::fromUtf8(one.longEntry);
        VOR_LOG(5, "fileInfo:", line);
        const QStringList parts = splitLongEntry(line);
        VOR_LOG(5, "fileList:", parts);

        ListedRow row;
        row.entry = entryFromListing(one, parts, rows.size());
        if (!row.entry)
            continue;
        row.attributes = one.attributes;
        row.attributesStandForStat = attributesStandForStat(one, *row.entry, folderBytes);
        rows << row;
    }
    return rows;
}

bool SdkSftp::attributesStandForStat(const ListedEntry &listed, const FileEntry &entry, const QByteArray &folder)
{
    // The stat follows links, so only a non-link's own attributes answer it; and only when the stat would
    // name this entry: the row's name may be cut at a blank, and the stat's path encoding may differ.
    const LIBSSH2_SFTP_ATTRIBUTES &attributes = listed.attributes;
    if (!(attributes.flags & LIBSSH2_SFTP_ATTR_PERMISSIONS) || LIBSSH2_SFTP_S_ISLNK(attributes.permissions))
        return false;
    const QString fullPath = QString::fromUtf8(folder) + entry.name;
    return encodedPath(fullPath) == folder + listed.name;
}

void SdkSftp::echoListedEntry(const ListedEntry &listed)
{
    // An echo of the entry in the manner of `ls -l`, for whoever watches the debug output. These are plain
    // debug lines, not log records, so the log's handler leaves them out: a folder of thousands of entries
    // costs no file writes for them.
    if (!listed.longEntry.isEmpty()) {
        qDebug("%s", listed.longEntry.constData());
        return;
    }
    // No long line from the server: describe the attribute block instead.
    const LIBSSH2_SFTP_ATTRIBUTES &attributes = listed.attributes;
    const char *permissions = (attributes.flags & LIBSSH2_SFTP_ATTR_PERMISSIONS) ? "--fix----- " : "---------- ";
    const auto size = static_cast<unsigned long long>(attributes.filesize);
    if (attributes.flags & LIBSSH2_SFTP_ATTR_UIDGID)
        qDebug("%s%4lu %4lu %8llu mem:%s", permissions, attributes.uid, attributes.gid, size, listed.name.constData());
    else
        qDebug("%s   -    - %8llu mem:%s", permissions, size, listed.name.constData());
}

QStringList SdkSftp::splitLongEntry(const QString &longEntry)
{
    // Split at every run of white space, keeping the empty parts at either end.
    QStringList parts;
    parts.reserve(10);
    const QChar *const begin = longEntry.constData();
    const int size = longEntry.size();
    int start = 0;
    int i = 0;
    while (i < size) {
        if (!begin[i].isSpace()) {
            ++i;
            continue;
        }
        parts << longEntry.mid(start, i - start);
        while (i < size && begin[i].isSpace())
            ++i;
        start = i;
    }
    parts << longEntry.mid(start);
    return parts;
}

FileEntry *SdkSftp::entryFromListing(const ListedEntry &listed, const QStringList &parts, int id)
{
    // Name, kind and byte count come from the columns of the long line ("perms links user group size
    // month day time name"), so a name with blanks shows its first word only.
    const bool nineColumns = parts.size() > 8 && !parts.at(8).isEmpty();
    const LIBSSH2_SFTP_ATTRIBUTES &attributes = listed.attributes;

    QString name;
    bool isDir = false;
    QString size;
    if (nineColumns) {
        name = parts.at(8);
        isDir = parts.at(0).startsWith(QLatin1Char('d'));
        size = parts.at(4);
    } else {
        // A line of another shape names nothing usable: take the entry's own name and attributes.
        name = QString::fromUtf8(listed.name);
        isDir = (attributes.flags & LIBSSH2_SFTP_ATTR_PERMISSIONS) ? LIBSSH2_SFTP_S_ISDIR(attributes.permissions)
                                                                   : parts.at(0).startsWith(QLatin1Char('d'));
        if (attributes.flags & LIBSSH2_SFTP_ATTR_SIZE)
            size = QString::number(attributes.filesize);
    }
    if (name.isEmpty() || name == QLatin1String("."))
        return nullptr;

    auto *entry = new FileEntry;
    entry->id = id;
    entry->name = name;
    entry->isDir = isDir;
    entry->storageClass = tr("标准存储");
    entry->size = size;
    return entry;
}

bool SdkSftp::fillEntryDetails(FileEntry *entry, const QString &folder, const LIBSSH2_SFTP_ATTRIBUTES *listed)
{
    const LIBSSH2_SFTP_ATTRIBUTES attributes
        = getFileInfoFromSftpServer(folder + QLatin1Char('/') + entry->name, listed);
    if (hasError)
        return false;
    if (attributes.flags != 0) {
        entry->size = QStringLiteral("%1 KB").arg(attributes.filesize >> 10);
        entry->modified = localFileTime(attributes.mtime);
    }
    return true;
}

LIBSSH2_SFTP_ATTRIBUTES SdkSftp::getFileInfoFromSftpServer(const QString &fullPath,
                                                           const LIBSSH2_SFTP_ATTRIBUTES *listed)
{
    // Sizes and times are fetched once per path for the life of the session.
    const auto cached = m_entryCache.constFind(fullPath);
    if (cached != m_entryCache.constEnd())
        return cached.value();
    // The folder read's own attributes of a non-link are the stat's answer, without its round trip.
    if (listed) {
        hasError = false;
        m_entryCache.insert(fullPath, *listed);
        return *listed;
    }
    if (serverSilent(0, __FUNCTION__))
        return noAttributes();

    LIBSSH2_SFTP_ATTRIBUTES attributes = noAttributes();
    const QByteArray encoded = encodedPath(fullPath);
    const int rc = m_sftp ? libssh2_sftp_stat_ex(m_sftp, encoded.constData(), static_cast<unsigned int>(encoded.size()),
                                                 LIBSSH2_SFTP_STAT, &attributes)
                          : LIBSSH2_ERROR_BAD_USE;
    if (rc >= 0) {
        hasError = false;
        m_entryCache.insert(fullPath, attributes);
        return attributes;
    }
    if (serverSilent(rc, __FUNCTION__))
        return noAttributes();

    setError(QStringLiteral("SFTP unlink error: %1").arg(rc));
    const unsigned long status = m_sftp ? libssh2_sftp_last_error(m_sftp) : 0;
    if (status == LIBSSH2_FX_NO_SUCH_FILE)
        VOR_LOG(1, "No such file or directory:", fullPath);
    else
        VOR_LOG(1, QStringLiteral("SFTP last error:%1").arg(status));
    return noAttributes();
}

// ---- folder operations

QByteArray SdkSftp::encodedPath(const QString &path)
{
    // The length sent is the count of characters, not of encoded bytes, so a path whose encoding is longer
    // than its characters (a Chinese name, say) reaches the server cut short. The cut never reads past the
    // encoded bytes.
    return path.toLocal8Bit().left(path.size());
}

void SdkSftp::createDir(const QString &path)
{
    if (serverSilent(0, __FUNCTION__))
        return;
    const QByteArray encoded = encodedPath(path);
    int rc = LIBSSH2_ERROR_BAD_USE;
    do {
        if (m_sftp)
            rc = libssh2_sftp_mkdir_ex(m_sftp, encoded.constData(), static_cast<unsigned int>(encoded.size()),
                                       m_dirMode);
    } while (rc == LIBSSH2_ERROR_EAGAIN);
    if (rc < 0 && !serverSilent(rc, __FUNCTION__))
        setError(QStringLiteral("SFTP mkdir(%1) error:(%2)").arg(path, QString::number(rc)), __FUNCTION__);
    // Success leaves hasError alone: an earlier failure of the session still reads as one.
}

void SdkSftp::rename(const QString &oldPath, const QString &newPath)
{
    if (serverSilent(0, nullptr))
        return;
    const QByteArray from = encodedPath(oldPath);
    const QByteArray to = encodedPath(newPath);
    const int rc = m_sftp
        ? libssh2_sftp_rename_ex(m_sftp, from.constData(), static_cast<unsigned int>(from.size()), to.constData(),
                                 static_cast<unsigned int>(to.size()), LIBSSH2_SFTP_RENAME_OVERWRITE)
        : LIBSSH2_ERROR_BAD_USE;
    if (rc >= 0) {
        hasError = false;
        return;
    }
    if (serverSilent(rc, nullptr))
        return;
    QString text
        = QStringLiteral("rename oldFile:%1 to newFile:%2 occur error:%3").arg(oldPath, newPath, QString::number(rc));
    // Servers of SFTP version 3 carry no overwrite flag and refuse an existing target.
    if (rc == LIBSSH2_ERROR_SFTP_PROTOCOL && targetExists(to))
        text += tr("\n新名称“%1”已存在：服务器不能用改名覆盖已有的文件或文件夹，请换一个名称，或先删除已有的那一项。")
                    .arg(newPath.section(QLatin1Char('/'), -1));
    setError(text);
}

bool SdkSftp::targetExists(const QByteArray &encodedPath)
{
    LIBSSH2_SFTP_ATTRIBUTES attributes = noAttributes();
    const int rc = libssh2_sftp_stat_ex(m_sftp, encodedPath.constData(), static_cast<unsigned int>(encodedPath.size()),
                                        LIBSSH2_SFTP_LSTAT, &attributes);
    serverSilent(rc, nullptr);
    return rc >= 0;
}
