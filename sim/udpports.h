// SPDX-License-Identifier: MIT
// The UDP sockets of every controller in one epoll set, watched by a single
// socket notifier: the event loop polls one descriptor however many
// controllers the LAN has, so a datagram costs the same at 4,096 controllers
// as at 12.
//
// The set is level-triggered and every socket non-blocking: a pass hands at
// most DatagramsPerPass datagrams of one socket to its receiver, and what is
// left makes the set readable again for the next pass. A flood on one port
// neither starves the others nor leaves datagrams unread.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <functional>

class QSocketNotifier;

struct UdpDatagram
{
    QByteArray data;
    quint32 fromIp = 0; // IPv4, host order
    quint16 fromPort = 0;
};

class UdpPorts : public QObject
{
public:
    static constexpr int DatagramsPerPass = 64;

    using Receiver = std::function<void(int fd, const UdpDatagram &d)>;

    explicit UdpPorts(QObject *parent = nullptr);
    ~UdpPorts() override;

    bool isValid() const { return m_epoll >= 0; }
    // Binds a socket to address:port and hands its datagrams to receiver.
    // The descriptor, or -1 with the reason in *error.
    int open(const QString &address, quint16 port, Receiver receiver, QString *error);
    void close(int fd);
    // Sends without waiting; a datagram the socket cannot take now is lost,
    // as on a LAN.
    static void send(int fd, const QByteArray &data, quint32 toIp, quint16 toPort);

private:
    void onReadable();
    void drain(int fd);

    int m_epoll = -1;
    QSocketNotifier *m_notifier = nullptr;
    QHash<int, Receiver> m_receivers;
};
