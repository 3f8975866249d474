// SPDX-License-Identifier: MIT
#include "controller.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <cstdio>

#include "protocol.h"

using ControllerProtocol::Port;

namespace {

// Request texts in the verbose log: printable ASCII as it is, every other
// byte as \xNN, at most 600 bytes.
std::string printable(const std::string &text)
{
    std::string out;
    for (unsigned char c : text.substr(0, 600)) {
        if (c >= 0x20 && c <= 0x7e && c != '\\') {
            out += char(c);
        } else {
            char hex[5];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        }
    }
    return text.size() > 600 ? out + "..." : out;
}

} // namespace

SimController::SimController(const ControllerConfig &config, const Setup &setup, QObject *parent)
    : QObject(parent), m_config(config), m_setup(setup), m_faults(config.faults),
      m_cascade{config.connected, config.scanSlavesLan, config.wolSlaves, {}}, m_scan(setup.probe, this),
      m_dice(setup.seed, config.address)
{
}

SimController::~SimController()
{
    goOffline();
}

bool SimController::start(QString *error)
{
    if (!m_config.online)
        return true;
    m_config.online = false;
    if (!bind(error))
        return false;
    if (m_config.offlineAfterMs > 0)
        QTimer::singleShot(m_config.offlineAfterMs, this, &SimController::goOffline);
    return true;
}

bool SimController::bind(QString *error)
{
    QString why;
    m_udpFd = m_setup.udp.open(m_config.address, Port,
                               [this](int, const UdpDatagram &d) { onDatagram(d); }, &why);
    if (m_udpFd < 0) {
        *error = QStringLiteral("%1: UDP port %2: %3").arg(m_config.address).arg(Port).arg(why);
        return false;
    }
    if (m_config.master) {
        m_tcp = new QTcpServer(this);
        if (!m_tcp->listen(QHostAddress(m_config.address), Port)) {
            *error = QStringLiteral("%1: TCP port %2: %3").arg(m_config.address).arg(Port).arg(m_tcp->errorString());
            goOffline();
            return false;
        }
        connect(m_tcp, &QTcpServer::newConnection, this, &SimController::onNewConnection);
    }
    m_config.online = true;
    return true;
}

void SimController::goOffline()
{
    m_config.online = false;
    m_scan.stop();
    if (m_udpFd >= 0)
        m_setup.udp.close(m_udpFd);
    m_udpFd = -1;
    ++m_udpGeneration;
    delete m_tcp; // closes the host's connections with it
}

bool SimController::change(const QJsonObject &fields, QString *error)
{
    ControllerConfig next = m_config;
    if (!applySettings(fields, &next, error))
        return false;
    const bool wasOnline = m_config.online;
    m_config = next;
    m_config.online = wasOnline;
    if (next.online && !wasOnline)
        return bind(error);
    if (!next.online && wasOnline)
        goOffline();
    return true;
}

Answer SimController::respond(const char *channel, const std::string &requestText)
{
    Answer a;
    if (!m_faults.apply(requestText, &a)) {
        RequestContext context{m_config, m_cascade, m_scan, m_setup.lan};
        a.text = answerRequest(context, SimProtocol::parseRequest(requestText));
    }
    const Conditions &c = m_config.conditions;
    const bool tcp = channel[0] == 't';
    if (!tcp && m_dice.losesDatagram(c)) {
        logIgnored(channel, requestText, "lost to the LAN's UDP loss");
        a.send = false;
        return a;
    }
    a.delayMs += m_dice.latencyMs(c) + (tcp ? m_dice.stallMs(c) : 0);
    logRequest(channel, requestText, a);
    return a;
}

void SimController::logRequest(const char *channel, const std::string &request, const Answer &a) const
{
    if (!m_setup.verbose)
        return;
    const std::string reply = a.disconnect ? "(disconnect)" : a.send ? printable(a.text) : "(silent)";
    std::fprintf(stderr, "%s %s < %s\n%s %s > %s\n", qPrintable(address()), channel, printable(request).c_str(),
                 qPrintable(address()), channel, reply.c_str());
}

void SimController::logIgnored(const char *channel, const std::string &request, const char *why) const
{
    if (m_setup.verbose)
        std::fprintf(stderr, "%s %s < %s\n%s %s (%s)\n", qPrintable(address()), channel, printable(request).c_str(),
                     qPrintable(address()), channel, why);
}

// ---- UDP ----------------------------------------------------------------------

// Over UDP a controller answers read requests only. Replies, writes, commands
// and garbage get no answer: an answer to a reply could start two controllers
// answering each other for ever, and the cascade is changed over TCP alone.
void SimController::onDatagram(const UdpDatagram &d)
{
    std::string text, why;
    if (!SimProtocol::datagramText(d.data.constData(), size_t(d.data.size()), &text, &why)) {
        logIgnored("udp", d.data.toStdString(), why.c_str());
        return;
    }
    if (d.fromPort == Port && QHostAddress(d.fromIp) == QHostAddress(address())) {
        logIgnored("udp", text, "sent from this controller's own port: not answered");
        return;
    }
    if (!SimProtocol::isReadRequest(text)) {
        logIgnored("udp", text, "not a read request: not answered over UDP");
        return;
    }
    const Answer a = respond("udp", text);
    if (!a.send || a.disconnect)
        return;
    const QByteArray reply = QByteArray::fromStdString(a.text) + '\0';
    if (a.delayMs <= 0) {
        UdpPorts::send(m_udpFd, reply, d.fromIp, d.fromPort);
        return;
    }
    const int generation = m_udpGeneration;
    QTimer::singleShot(a.delayMs, this, [this, generation, reply, d] {
        if (generation == m_udpGeneration && m_udpFd >= 0)
            UdpPorts::send(m_udpFd, reply, d.fromIp, d.fromPort);
    });
}

// ---- TCP ----------------------------------------------------------------------

void SimController::onNewConnection()
{
    while (m_tcp && m_tcp->hasPendingConnections()) {
        QTcpSocket *socket = m_tcp->nextPendingConnection();
        if (m_sessions >= m_setup.limits.maxConnections) {
            logIgnored("tcp", std::string(), "connection refused: too many connections");
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            socket->write(QByteArray::fromStdString(SimProtocol::errorReply("too many connections")) + '\n');
            socket->disconnectFromHost();
            continue;
        }
        ++m_sessions;
        auto *session = new TcpSession(
            socket, [this](const std::string &line) { return respond("tcp", line); },
            [this](const char *what) { logIgnored("tcp", std::string(), what); }, m_setup.limits);
        connect(session, &QObject::destroyed, this, [this] { --m_sessions; });
    }
}
