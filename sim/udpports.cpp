// SPDX-License-Identifier: MIT
#include "udpports.h"

#include <QHostAddress>
#include <QSocketNotifier>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The longest datagram read; longer ones are cut (and then refused as
// requests, which are far shorter).
constexpr int MaxDatagram = 65536;
// Sockets served per pass of the event loop.
constexpr int EventsPerPass = 256;

} // namespace

UdpPorts::UdpPorts(QObject *parent) : QObject(parent), m_epoll(::epoll_create1(EPOLL_CLOEXEC))
{
    if (m_epoll < 0)
        return;
    m_notifier = new QSocketNotifier(m_epoll, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UdpPorts::onReadable);
}

UdpPorts::~UdpPorts()
{
    for (auto it = m_receivers.cbegin(); it != m_receivers.cend(); ++it)
        ::close(it.key());
    delete m_notifier;
    if (m_epoll >= 0)
        ::close(m_epoll);
}

int UdpPorts::open(const QString &address, quint16 port, Receiver receiver, QString *error)
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(QHostAddress(address).toIPv4Address());
    epoll_event e = {};
    e.events = EPOLLIN;
    e.data.fd = fd;
    if (m_epoll < 0 || fd < 0 || ::bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0
        || ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &e) != 0) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        if (fd >= 0)
            ::close(fd);
        return -1;
    }
    m_receivers.insert(fd, std::move(receiver));
    return fd;
}

void UdpPorts::close(int fd)
{
    if (m_receivers.remove(fd) == 0)
        return;
    ::epoll_ctl(m_epoll, EPOLL_CTL_DEL, fd, nullptr);
    ::close(fd);
}

void UdpPorts::send(int fd, const QByteArray &data, quint32 toIp, quint16 toPort)
{
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(toPort);
    to.sin_addr.s_addr = htonl(toIp);
    ::sendto(fd, data.constData(), size_t(data.size()), MSG_DONTWAIT, reinterpret_cast<sockaddr *>(&to), sizeof to);
}

void UdpPorts::onReadable()
{
    epoll_event events[EventsPerPass];
    const int n = ::epoll_wait(m_epoll, events, EventsPerPass, 0);
    for (int i = 0; i < n; ++i)
        drain(events[i].data.fd);
}

// A receiver may close sockets (its own included): each is looked up anew.
void UdpPorts::drain(int fd)
{
    static char buffer[MaxDatagram];
    for (int k = 0; k < DatagramsPerPass; ++k) {
        const auto it = m_receivers.constFind(fd);
        if (it == m_receivers.constEnd())
            return;
        sockaddr_in from = {};
        socklen_t fromSize = sizeof from;
        const ssize_t size =
            ::recvfrom(fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from), &fromSize);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return; // EAGAIN: drained; any other error: the next pass tries again
        UdpDatagram d;
        d.data = QByteArray(buffer, int(size));
        d.fromIp = ntohl(from.sin_addr.s_addr);
        d.fromPort = ntohs(from.sin_port);
        const Receiver receiver = *it; // the receiver may close fd and so drop itself
        receiver(fd, d);
    }
}
