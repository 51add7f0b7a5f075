#include "app/platform.h"

#include <QFile>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Platform {

Socket duplicateSocket(Socket socket)
{
    if (socket < 0)
        return NoSocket;
    const int copy = ::fcntl(static_cast<int>(socket), F_DUPFD_CLOEXEC, 0);
    return copy < 0 ? NoSocket : copy;
}

void stopReceiving(Socket socket)
{
    ::shutdown(static_cast<int>(socket), SHUT_RD);
}

void stopTraffic(Socket socket)
{
    ::shutdown(static_cast<int>(socket), SHUT_RDWR);
}

void closeSocket(Socket socket)
{
    ::close(static_cast<int>(socket));
}

QByteArray nativePath(const QString &path)
{
    return QFile::encodeName(path);
}

bool appendToFile(const QByteArray &nativePath, const char *data, qint64 size)
{
    const int fd = ::open(nativePath.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    while (size > 0) {
        const ssize_t written = ::write(fd, data, static_cast<size_t>(size));
        if (written <= 0)
            break;
        data += written;
        size -= written;
    }
    ::close(fd);
    return size == 0;
}

void reloadTimeZone()
{
    ::tzset();
}

bool localTime(std::time_t seconds, std::tm *local)
{
    return ::localtime_r(&seconds, local) != nullptr;
}

int utcOffset(const std::tm &local, std::time_t)
{
    return static_cast<int>(local.tm_gmtoff);
}

} // namespace Platform
