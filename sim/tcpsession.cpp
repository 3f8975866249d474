#include "tcpsession.h"

#include <QPointer>
#include <QTcpSocket>

#include "protocol.h"

using ControllerProtocol::MaxRequestLength;

TcpSession::TcpSession(QTcpSocket *socket, SimController *controller, const SimLimits &limits)
    : QObject(socket), m_socket(socket), m_controller(controller)
{
    socket->setReadBufferSize(InputLimit);
    m_idle.setSingleShot(true);
    m_idle.setInterval(limits.idleTimeoutMs);
    connect(&m_idle, &QTimer::timeout, this, [this] {
        m_controller->logIgnored("tcp", std::string(), "connection idle: closed");
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

void TcpSession::process()
{
    m_scheduled = false;
    for (int n = 0; n < LinesPerPass; ++n) {
        if (m_busy || m_socket->state() != QAbstractSocket::ConnectedState
            || m_socket->bytesToWrite() > OutputLimit)
            return;
        if (!m_socket->canReadLine()) {
            // No line end within the longest request and its "\r\n": it never fits.
            if (m_socket->bytesAvailable() > qint64(MaxRequestLength) + 2)
                refuse("request too long");
            return;
        }
        char line[MaxRequestLength + 3 + 1]; // the text, "\r\n" and one byte more to see it is too long
        qint64 len = m_socket->readLine(line, sizeof line);
        if (len <= 0 || line[len - 1] != '\n') {
            refuse("request too long");
            return;
        }
        --len;
        if (len > 0 && line[len - 1] == '\r')
            --len;
        answer(std::string(line, size_t(len)));
    }
    scheduleProcess(); // more may wait: go on after the event loop has run
}

void TcpSession::answer(const std::string &line)
{
    const Answer a = m_controller->respond(line);
    m_controller->logRequest("tcp", line, a);
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
    if (a.send)
        m_socket->write(QByteArray::fromStdString(a.text) + '\n');
    m_idle.start();
}

void TcpSession::refuse(const char *reason)
{
    m_socket->write(QByteArray::fromStdString(SimProtocol::errorReply(reason)) + '\n');
    m_socket->disconnectFromHost();
}
