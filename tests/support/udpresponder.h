// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <arpa/inet.h>
#include <atomic>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "ControllerProtocol.h"

// A request or reply text as a datagram carries it: with its zero byte.
inline QByteArray datagram(const QByteArray &text)
{
    return text + '\0';
}

// A controller's probe port (UDP ControllerProtocol::Port) on a loopback address of the test's
// own, answered from a thread (the probe blocks the GUI thread). Requests are
// keyed without their zero byte; a null reply means silence. With replyFrom,
// replies leave from that address instead, as from another host.
class UdpResponder
{
public:
    QHash<QByteArray, QByteArray> replies;

    bool start(const QByteArray &addr, const QByteArray &replyFrom = QByteArray())
    {
        m_fd = bound(addr, ControllerProtocol::Port);
        m_replyFd = replyFrom.isEmpty() ? m_fd : bound(replyFrom, 0);
        if (m_fd < 0 || m_replyFd < 0)
            return false;
        m_thread = std::thread([this] { run(); });
        return true;
    }
    ~UdpResponder()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        for (int fd : {m_replyFd == m_fd ? -1 : m_replyFd, m_fd})
            if (fd >= 0)
                ::close(fd);
    }
    QList<QByteArray> seen()
    {
        std::lock_guard<std::mutex> l(m_lock);
        return m_received;
    }

private:
    static int bound(const QByteArray &addr, quint16 port)
    {
        const int fd = ::socket(AF_INET, SOCK_DGRAM, 0), one = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        ::inet_pton(AF_INET, addr.constData(), &a.sin_addr);
        if (::bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0)
            return fd;
        ::close(fd);
        return -1;
    }
    void run()
    {
        while (!m_stop) {
            pollfd p{m_fd, POLLIN, 0};
            char buf[2048];
            sockaddr_in from{};
            socklen_t fl = sizeof from;
            const ssize_t n = ::poll(&p, 1, 20) > 0 ? ::recvfrom(m_fd, buf, sizeof buf, 0, reinterpret_cast<sockaddr *>(&from), &fl) : -1;
            if (n < 0)
                continue;
            const QByteArray req(buf, int(n));
            {
                std::lock_guard<std::mutex> l(m_lock);
                m_received << req;
            }
            const QByteArray reply = replies.value(req.endsWith('\0') ? req.left(req.size() - 1) : req);
            if (!reply.isNull())
                ::sendto(m_replyFd, reply.constData(), size_t(reply.size()), 0, reinterpret_cast<sockaddr *>(&from), fl);
        }
    }

    int m_fd = -1, m_replyFd = -1;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
    std::mutex m_lock;
    QList<QByteArray> m_received;
};
