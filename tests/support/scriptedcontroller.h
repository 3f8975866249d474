// SPDX-License-Identifier: MIT
// Controllers played by the test itself over loopback TCP: a listener that
// never accepts, and a scripted controller in a thread of its own.
#pragma once

#include <QByteArray>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>

namespace TcpPeer {

inline sockaddr_in ipv4(const char *address, unsigned short port)
{
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = inet_addr(address);
    return a;
}

// A listening socket on address:port with the given backlog; -1 if it
// cannot bind.
inline int listeningSocket(const char *address, unsigned short port, int backlog)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in a = ipv4(address, port);
    if (::bind(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a) != 0 || ::listen(fd, backlog) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

inline int connectNonBlocking(const char *address, unsigned short port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    const sockaddr_in a = ipv4(address, port);
    ::connect(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a);
    return fd;
}

// Reads one line (without "\n") within timeoutMs; empty on time-out or close.
inline QByteArray readLine(int fd, int timeoutMs)
{
    QByteArray line;
    char c = 0;
    pollfd p = {fd, POLLIN, 0};
    while (::poll(&p, 1, timeoutMs) == 1 && ::read(fd, &c, 1) == 1) {
        if (c == '\n')
            return line;
        line += c;
    }
    return QByteArray();
}

// A controller that never answers a connect: a listener whose accept queue
// is full, so that later connects get no answer at all. Closed on every path
// out of a test, failed checks included.
struct SilentController
{
    int listener;
    int fillers[4];
    SilentController(const char *address, unsigned short port)
        : listener(listeningSocket(address, port, 0))
    {
        for (int &f : fillers)
            f = connectNonBlocking(address, port);
    }
    ~SilentController()
    {
        for (int f : fillers)
            ::close(f);
        if (listener >= 0)
            ::close(listener);
    }
};

// A scripted controller: answers the first request of the first connection
// with "korvane ok", and once more when sendStray() is called; then refuses
// the first request of the next connection.
class ScriptedController
{
public:
    ScriptedController(const char *address, unsigned short port)
        : m_listener(listeningSocket(address, port, 4))
    {
        if (m_listener >= 0)
            m_thread = std::thread([this] { serve(); });
    }
    ~ScriptedController()
    {
        if (m_thread.joinable())
            m_thread.join();
        if (m_listener >= 0)
            ::close(m_listener);
    }
    bool listening() const { return m_listener >= 0; }
    // Sends the stray line; false if it was not sent within 10 s.
    bool sendStray()
    {
        m_sendStray.set_value();
        return m_straySent.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }

private:
    // Accepts the next connection within 5 s; -1 if none comes.
    int accept()
    {
        pollfd p = {m_listener, POLLIN, 0};
        return ::poll(&p, 1, 5000) == 1 ? ::accept(m_listener, nullptr, nullptr) : -1;
    }

    void serve()
    {
        const int first = accept();
        if (!readLine(first, 5000).isEmpty() && ::write(first, "korvane ok\n", 11) == 11) {
            m_sendStray.get_future().wait_for(std::chrono::seconds(5));
            (void)!::write(first, "korvane ok\n", 11);
        }
        m_straySent.set_value();
        const int next = accept();
        if (!readLine(next, 5000).isEmpty())
            (void)!::write(next, "korvane error refused\n", 22);
        for (int fd : {first, next})
            if (fd >= 0)
                ::close(fd);
    }

    int m_listener;
    std::promise<void> m_sendStray, m_straySent;
    std::thread m_thread;
};

} // namespace TcpPeer
