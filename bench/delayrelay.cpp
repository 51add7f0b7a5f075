#include "delayrelay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <deque>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

int connectTo(quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        if (fd >= 0)
            ::close(fd);
        return -1;
    }
    return fd;
}

void noDelay(int fd)
{
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool writeAll(int fd, const std::string &data)
{
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

} // namespace

DelayRelay::DelayRelay(quint16 targetPort, int oneWayDelayMs)
    : m_targetPort(targetPort)
    , m_delayMs(oneWayDelayMs)
{
}

DelayRelay::~DelayRelay()
{
    m_stop = true;
    if (m_acceptor.joinable())
        m_acceptor.join();
    for (std::thread &connection : m_connections)
        connection.join();
    if (m_listener >= 0)
        ::close(m_listener);
}

bool DelayRelay::start()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listener < 0 || ::bind(m_listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || ::listen(m_listener, 16) != 0
        || ::getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &length) != 0)
        return false;
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptConnections(); });
    return true;
}

void DelayRelay::acceptConnections()
{
    while (!m_stop) {
        pollfd listener { m_listener, POLLIN, 0 };
        if (::poll(&listener, 1, 100) <= 0)
            continue;
        const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            continue;
        const int server = connectTo(m_targetPort);
        if (server < 0) {
            ::close(client);
            continue;
        }
        noDelay(client);
        noDelay(server);
        m_connections.emplace_back([this, client, server] { relay(client, server); });
    }
}

void DelayRelay::relay(int client, int server) const
{
    struct Chunk
    {
        Clock::time_point due;
        std::string data;
    };
    const int from[2] = { client, server };
    const int to[2] = { server, client };
    std::deque<Chunk> held[2];
    bool reading[2] = { true, true };
    bool writing[2] = { true, true };
    const auto delay = std::chrono::milliseconds(m_delayMs);
    char buffer[65536];

    while (!m_stop && (writing[0] || writing[1])) {
        int timeoutMs = 100;
        for (const auto &queue : held) {
            if (!queue.empty()) {
                const auto wait
                    = std::chrono::duration_cast<std::chrono::milliseconds>(queue.front().due - Clock::now());
                timeoutMs = qBound(0, static_cast<int>(wait.count()) + 1, timeoutMs);
            }
        }
        pollfd fds[2] = { { client, static_cast<short>(reading[0] ? POLLIN : 0), 0 },
                          { server, static_cast<short>(reading[1] ? POLLIN : 0), 0 } };
        ::poll(fds, 2, timeoutMs);
        for (int side = 0; side < 2; ++side) {
            if (!reading[side] || !(fds[side].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            const ssize_t n = ::read(from[side], buffer, sizeof buffer);
            if (n <= 0)
                reading[side] = false;
            else
                held[side].push_back({ Clock::now() + delay, std::string(buffer, static_cast<size_t>(n)) });
        }
        const auto now = Clock::now();
        for (int side = 0; side < 2; ++side) {
            while (!held[side].empty() && held[side].front().due <= now) {
                if (!writeAll(to[side], held[side].front().data))
                    reading[side] = false;
                held[side].pop_front();
            }
            if (!reading[side] && held[side].empty() && writing[side]) {
                ::shutdown(to[side], SHUT_WR);
                writing[side] = false;
            }
        }
    }
    ::close(client);
    ::close(server);
}
