#pragma once

#include <QtGlobal>

#include <atomic>
#include <thread>
#include <vector>

// A TCP relay on loopback that holds every chunk of bytes for a fixed time in each direction, so that a
// connection through it sees an added round trip of twice that time (bandwidth is not limited).
class DelayRelay
{
public:
    DelayRelay(quint16 targetPort, int oneWayDelayMs);
    ~DelayRelay();
    DelayRelay(const DelayRelay &) = delete;
    DelayRelay &operator=(const DelayRelay &) = delete;

    // Listens on a free loopback port; false when it cannot.
    bool start();
    quint16 port() const { return m_port; }

private:
    void acceptConnections();
    void relay(int client, int server) const;

    quint16 m_targetPort;
    int m_delayMs;
    int m_listener = -1;
    quint16 m_port = 0;
    std::atomic<bool> m_stop { false };
    std::thread m_acceptor;
    std::vector<std::thread> m_connections;
};
