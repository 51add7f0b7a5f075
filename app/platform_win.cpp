#include "app/platform.h"

#include <winsock2.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

namespace Platform {

Socket duplicateSocket(Socket socket)
{
    WSAPROTOCOL_INFOW info;
    if (socket == NoSocket || ::WSADuplicateSocketW(static_cast<SOCKET>(socket), ::GetCurrentProcessId(), &info) != 0)
        return NoSocket;
    const SOCKET copy = ::WSASocketW(FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO, &info, 0,
                                     WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    return copy == INVALID_SOCKET ? NoSocket : static_cast<Socket>(copy);
}

void stopReceiving(Socket socket)
{
    ::shutdown(static_cast<SOCKET>(socket), SD_RECEIVE);
}

void stopTraffic(Socket socket)
{
    ::shutdown(static_cast<SOCKET>(socket), SD_BOTH);
}

void closeSocket(Socket socket)
{
    ::closesocket(static_cast<SOCKET>(socket));
}

QByteArray nativePath(const QString &path)
{
    // UTF-16 with its terminating zero, as the wide-character calls take it.
    return QByteArray(reinterpret_cast<const char *>(path.utf16()), (path.size() + 1) * int(sizeof(wchar_t)));
}

bool appendToFile(const QByteArray &nativePath, const char *data, qint64 size)
{
    const auto *path = reinterpret_cast<const wchar_t *>(nativePath.constData());
    const int fd = ::_wopen(path, _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    if (fd < 0)
        return false;
    while (size > 0) {
        const int written = ::_write(fd, data, static_cast<unsigned>(qMin<qint64>(size, 1 << 30)));
        if (written <= 0)
            break;
        data += written;
        size -= written;
    }
    ::_close(fd);
    return size == 0;
}

void reloadTimeZone()
{
    ::_tzset();
}

bool localTime(std::time_t seconds, std::tm *local)
{
    return ::localtime_s(local, &seconds) == 0;
}

int utcOffset(const std::tm &local, std::time_t seconds)
{
    // The local fields read as if they were UTC, less the moment itself.
    std::tm fields = local;
    return static_cast<int>(::_mkgmtime(&fields) - seconds);
}

} // namespace Platform
