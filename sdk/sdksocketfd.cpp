#include "sdk/sdksocketfd.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

SdkSocketFd::~SdkSocketFd()
{
    close();
}

bool SdkSocketFd::duplicate(long long descriptor)
{
    close();
    if (descriptor < 0)
        return false;
    // Close-on-exec: a child process must not inherit the connection and keep it alive.
    m_fd = ::fcntl(static_cast<int>(descriptor), F_DUPFD_CLOEXEC, 0);
    return m_fd >= 0;
}

void SdkSocketFd::shutdownTraffic()
{
    if (m_fd >= 0)
        ::shutdown(m_fd, SHUT_RDWR);
}

void SdkSocketFd::stopReceiving()
{
    if (m_fd >= 0)
        ::shutdown(m_fd, SHUT_RD);
}

void SdkSocketFd::close()
{
    if (m_fd < 0)
        return;
    ::close(m_fd);
    m_fd = -1;
}
