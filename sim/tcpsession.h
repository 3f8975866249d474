// SPDX-License-Identifier: MIT
// One TCP connection of a host to a master: request lines in, one reply line
// out for each, in order. A late reply holds back the next request.
//
// Bounded: the socket and the session each buffer at most InputLimit bytes of
// requests (beyond that the peer's sends wait in the network), replies pile up to at most
// OutputLimit bytes before requests are read again, a line longer than the
// longest request is refused and the connection closed, and a connection that
// sends nothing for the idle time-out is closed. Every reply is flushed to
// the network at once, so that a client's FIN right after its request (which
// makes the socket close) cannot discard it. Lines are taken one by one
// from the buffer without moving what follows, so pipelined requests cost
// linear time, and
// at most LinesPerPass of them are answered before the event loop runs again.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <string>

#include "faults.h"

class QTcpSocket;

// Bounds of the master's TCP service.
struct SimLimits
{
    // A connection that sends nothing for this long is closed.
    int idleTimeoutMs = 300000;
    // Connections served at once; a further one is answered with a refusal
    // line and closed.
    int maxConnections = 32;
};

class TcpSession : public QObject
{
public:
    static constexpr int InputLimit = 64 * 1024;
    static constexpr int OutputLimit = 64 * 1024;
    static constexpr int LinesPerPass = 64;

    // The answer to one request line (logged by the responder).
    using Respond = std::function<Answer(const std::string &line)>;
    // Logs what the session did without an answer (e.g. closed an idle connection).
    using Note = std::function<void(const char *what)>;

    TcpSession(QTcpSocket *socket, Respond respond, Note note, const SimLimits &limits);

private:
    void process();
    void scheduleProcess();
    void answer(const std::string &line);
    void deliver(const Answer &a);
    void refuse(const char *reason);

    QTcpSocket *m_socket;
    Respond m_respond;
    Note m_note;
    QTimer m_idle;
    QByteArray m_input; // requests taken from the socket, not yet answered from m_pos on
    int m_pos = 0;
    bool m_busy = false;      // a delayed reply is pending
    bool m_scheduled = false; // process() is queued
};
