#pragma once

// Owns one socket descriptor and closes it exactly once. The SSH session runs on such a private copy of a
// connected socket, so that no Qt object (and no thread) stays tied to the connection.
class SdkSocketFd
{
public:
    SdkSocketFd() = default;
    ~SdkSocketFd();
    SdkSocketFd(const SdkSocketFd &) = delete;
    SdkSocketFd &operator=(const SdkSocketFd &) = delete;

    // Closes any descriptor held and takes a close-on-exec duplicate of descriptor. False when the
    // duplicate cannot be made.
    bool duplicate(long long descriptor);
    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    // Stops all traffic in both directions while keeping the descriptor, so that whatever is still
    // written to it fails at once instead of reaching the peer.
    void shutdownTraffic();
    // Ends receiving only: every later read sees the end of the stream at once, while writes still go.
    void stopReceiving();
    void close();

private:
    int m_fd = -1;
};
