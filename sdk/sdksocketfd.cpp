#include "sdk/sdksocketfd.h"

SdkSocketFd::~SdkSocketFd()
{
    close();
}

bool SdkSocketFd::duplicate(Platform::Socket socket)
{
    close();
    m_socket = Platform::duplicateSocket(socket);
    return isOpen();
}

void SdkSocketFd::shutdownTraffic()
{
    if (isOpen())
        Platform::stopTraffic(m_socket);
}

void SdkSocketFd::stopReceiving()
{
    if (isOpen())
        Platform::stopReceiving(m_socket);
}

void SdkSocketFd::close()
{
    if (!isOpen())
        return;
    Platform::closeSocket(m_socket);
    m_socket = Platform::NoSocket;
}
