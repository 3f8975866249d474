// SPDX-License-Identifier: MIT
#include "tcpsession.h"

#include <QPointer>
#include <QTcpSocket>

#include "protocol.h"

using ControllerProtocol::MaxRequestLength;

TcpSession::TcpSession(QTcpSocket *socket, Respond respond, Note note, const SimLimits &limits)
    : QObject(socket), m_socket(socket), m_respond(std::move(respond)), m_note(std::move(note))
{
    socket->setReadBufferSize(InputLimit);
    m_idle.setSingleShot(true);
    m_idle.setInterval(limits.idleTimeoutMs);
    connect(&m_idle, &QTimer::timeout, this, [this] {
        m_note("connection idle: closed");
        m_socket->abort();
    });
    m_idle.start();
    connect(socket, &QTcpSocket::readyRead, this, [this] {
        m_idle.start();
        process();
    });
    // Replies drained: requests held back by OutputLimit may go on.
    connect(socket, &QTcpSocket::bytesWritten, this, [this] { scheduleProcess(); });
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
}

void TcpSession::scheduleProcess()
{
    if (m_scheduled)
        return;
    m_scheduled = true;
    QTimer::singleShot(0, this, [this] { process(); });
}

// Lines are cut out of m_input by moving m_pos; the buffer is compacted only
// when no line end is left in it, when at most one unfinished request
// remains. Refills ask the socket for more than its buffer holds, which
// makes it read from the network again once its buffer was full.
void TcpSession::process()
{
    m_scheduled = false;
    for (int lines = 0; lines < LinesPerPass;) {
        if (m_busy || m_socket->state() != QAbstractSocket::ConnectedState || m_socket->bytesToWrite() > OutputLimit)
            return;
        const int end = m_input.indexOf('\n', m_pos);
        if (end < 0) {
            m_input.remove(0, m_pos);
            m_pos = 0;
            // No line end within the longest request and its "\r\n": it never fits.
            if (m_input.size() > int(MaxRequestLength) + 2) {
                refuse("request too long");
                return;
            }
            const QByteArray more = m_socket->read(InputLimit - m_input.size());
            if (more.isEmpty())
                return; // readyRead brings more
            m_input += more;
            continue;
        }
        int len = end - m_pos;
        if (len > 0 && m_input.at(end - 1) == '\r')
            --len;
        const std::string line(m_input.constData() + m_pos, size_t(len));
        m_pos = end + 1;
        answer(line);
        ++lines;
    }
    scheduleProcess(); // more may wait: go on after the event loop has run
}

void TcpSession::answer(const std::string &line)
{
    const Answer a = m_respond(line);
    if (a.delayMs <= 0) {
        deliver(a);
        return;
    }
    m_busy = true;
    QTimer::singleShot(a.delayMs, this, [this, a] {
        m_busy = false;
        deliver(a);
        scheduleProcess();
    });
}

void TcpSession::deliver(const Answer &a)
{
    if (a.disconnect) {
        m_socket->abort();
        m_socket->deleteLater();
        return;
    }
    if (a.send) {
        m_socket->write(QByteArray::fromStdString(a.text) + '\n');
        m_socket->flush();
    }
    m_idle.start();
}

void TcpSession::refuse(const char *reason)
{
    m_socket->write(QByteArray::fromStdString(SimProtocol::errorReply(reason)) + '\n');
    m_socket->disconnectFromHost();
}
