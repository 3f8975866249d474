// One TCP connection of a host to a master: request lines in, one reply line
// out for each, in order. A late reply holds back the next request.
//
// Bounded: the socket and the session each buffer at most InputLimit bytes of
// requests (beyond that the peer's sends wait in the network), replies pile up to at most
// OutputLimit bytes before requests are read again, a line longer than the
// longest request is refused and the connection closed, and a connection that
// sends nothing for the idle time-out is closed. Lines are taken one by one
// from the buffer without moving what follows, so pipelined requests cost
// linear time, and
// at most LinesPerPass of them are answered before the event loop runs again.
#pragma once

#include <QObject>
#include <QTimer>

#include "controller.h"

class QTcpSocket;

class TcpSession : public QObject
{
public:
    static constexpr int InputLimit = 64 * 1024;
    static constexpr int OutputLimit = 64 * 1024;
    static constexpr int LinesPerPass = 64;

    TcpSession(QTcpSocket *socket, SimController *controller, const SimLimits &limits);

private:
    void process();
    void scheduleProcess();
    void answer(const std::string &line);
    void deliver(const Answer &a);
    void refuse(const char *reason);

    QTcpSocket *m_socket;
    SimController *m_controller;
    QTimer m_idle;
    QByteArray m_input; // requests taken from the socket, not yet answered from m_pos on
    int m_pos = 0;
    bool m_busy = false;      // a delayed reply is pending
    bool m_scheduled = false; // process() is queued
};
