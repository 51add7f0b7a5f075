#pragma once

#include "app/platform.h"

// Owns one socket handle and closes it exactly once. The SSH session runs on such a private copy of a
// connected socket, so that no Qt object (and no thread) stays tied to the connection.
class SdkSocketFd
{
public:
    SdkSocketFd() = default;
    ~SdkSocketFd();
    SdkSocketFd(const SdkSocketFd &) = delete;
    SdkSocketFd &operator=(const SdkSocketFd &) = delete;

    // Closes any handle held and takes a duplicate of socket that child processes do not inherit. False
    // when the duplicate cannot be made.
    bool duplicate(Platform::Socket socket);
    Platform::Socket get() const { return m_socket; }
    bool isOpen() const { return m_socket != Platform::NoSocket; }
    // Stops all traffic in both directions while keeping the handle, so that whatever is still written to
    // it fails at once instead of reaching the peer.
    void shutdownTraffic();
    // Ends receiving only: every later read fails at once, while writes still go.
    void stopReceiving();
    void close();

private:
    Platform::Socket m_socket = Platform::NoSocket;
};
