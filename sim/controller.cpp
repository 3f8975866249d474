#include "controller.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>
#include <cstdio>

#include "lan.h"
#include "protocol.h"
#include "requests.h"
#include "tcpsession.h"

using ControllerProtocol::Port;

namespace {

// Datagrams answered per event-loop pass, so that a flood on one controller's
// port cannot starve the others or the TCP service.
constexpr int DatagramsPerPass = 64;

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

bool versionQualifies(const QString &version)
{
    unsigned ma = 0, mi = 0, pa = 0;
    const QByteArray v = version.toLatin1();
    const char *p = v.constData();
    if (*p == 'v')
        ++p;
    if (std::sscanf(p, "%u.%u.%u", &ma, &mi, &pa) != 3)
        return false;
    return ma > 2 || (ma == 2 && mi >= 6);
}

SimController::SimController(const ControllerConfig &config, SimLan *lan)
    : QObject(lan), m_config(config), m_lan(lan), m_faults(config.faults),
      m_cascade{config.connected, config.scanSlavesLan, config.wolSlaves, {}},
      m_scan([this](const QString &ip, const std::string &request, std::string *reply, int *delayMs) {
          return answerProbe(ip, request, reply, delayMs);
      }, this)
{
}

SimController::~SimController()
{
    goOffline();
}

bool SimController::start(const SimLimits &limits, QString *error)
{
    m_limits = limits;
    if (!m_config.online)
        return true;
    const QHostAddress addr(m_config.address);
    m_udp = new QUdpSocket(this);
    if (!m_udp->bind(addr, Port, QUdpSocket::DontShareAddress)) {
        *error = QStringLiteral("%1: UDP port %2: %3").arg(m_config.address).arg(Port).arg(m_udp->errorString());
        return false;
    }
    connect(m_udp, &QUdpSocket::readyRead, this, &SimController::onDatagrams);
    if (m_config.master) {
        m_tcp = new QTcpServer(this);
        if (!m_tcp->listen(addr, Port)) {
            *error = QStringLiteral("%1: TCP port %2: %3").arg(m_config.address).arg(Port).arg(m_tcp->errorString());
            return false;
        }
        connect(m_tcp, &QTcpServer::newConnection, this, &SimController::onNewConnection);
    }
    m_online = true;
    if (m_config.offlineAfterMs > 0)
        QTimer::singleShot(m_config.offlineAfterMs, this, &SimController::goOffline);
    return true;
}

void SimController::goOffline()
{
    m_online = false;
    m_scan.stop();
    delete m_udp;
    delete m_tcp; // closes the host's connections with it
}

// A probe of this controller's scan, answered by the target as it would
// answer the datagram: nothing from an offline target.
bool SimController::answerProbe(const QString &ip, const std::string &request, std::string *reply, int *delayMs)
{
    SimController *target = m_lan->find(ip);
    if (!target || !target->isOnline())
        return false;
    const Answer a = target->respond(request);
    target->logRequest("scan", request, a);
    if (!a.send || a.disconnect)
        return false;
    *reply = a.text;
    *delayMs = a.delayMs;
    return true;
}

bool SimController::eligible() const
{
    return m_config.access == QLatin1String("full") && versionQualifies(m_config.version)
           && m_config.canSlave == ControllerProtocol::Yes;
}

Answer SimController::respond(const std::string &requestText)
{
    Answer a;
    if (!m_faults.apply(requestText, &a))
        a.text = answerRequest(*this, SimProtocol::parseRequest(requestText));
    return a;
}

void SimController::logRequest(const char *channel, const std::string &request, const Answer &a) const
{
    if (!m_lan->verbose())
        return;
    const std::string reply = a.disconnect ? "(disconnect)" : a.send ? printable(a.text) : "(silent)";
    std::fprintf(stderr, "%s %s < %s\n%s %s > %s\n", qPrintable(address()), channel, printable(request).c_str(),
                 qPrintable(address()), channel, reply.c_str());
}

void SimController::logIgnored(const char *channel, const std::string &request, const char *why) const
{
    if (m_lan->verbose())
        std::fprintf(stderr, "%s %s < %s\n%s %s (%s)\n", qPrintable(address()), channel, printable(request).c_str(),
                     qPrintable(address()), channel, why);
}

// ---- UDP ----------------------------------------------------------------------

void SimController::onDatagrams()
{
    m_datagramsScheduled = false;
    for (int n = 0; n < DatagramsPerPass && m_udp && m_udp->hasPendingDatagrams(); ++n)
        answerDatagram(m_udp->receiveDatagram(65536));
    if (m_udp && m_udp->hasPendingDatagrams() && !m_datagramsScheduled) {
        m_datagramsScheduled = true;
        QTimer::singleShot(0, this, &SimController::onDatagrams);
    }
}

// Over UDP a controller answers read requests only. Replies, writes, commands
// and garbage get no answer: an answer to a reply could start two controllers
// answering each other for ever, and the cascade is changed over TCP alone.
void SimController::answerDatagram(const QNetworkDatagram &d)
{
    const QByteArray data = d.data();
    std::string text, why;
    if (!SimProtocol::datagramText(data.constData(), size_t(data.size()), &text, &why)) {
        logIgnored("udp", data.toStdString(), why.c_str());
        return;
    }
    if (d.senderPort() == Port && QHostAddress(d.senderAddress().toIPv4Address()) == QHostAddress(address())) {
        logIgnored("udp", text, "sent from this controller's own port: not answered");
        return;
    }
    if (!SimProtocol::isReadRequest(text)) {
        logIgnored("udp", text, "not a read request: not answered over UDP");
        return;
    }
    const Answer a = respond(text);
    logRequest("udp", text, a);
    if (!a.send || a.disconnect)
        return;
    QPointer<QUdpSocket> udp = m_udp;
    const QByteArray reply = QByteArray::fromStdString(a.text) + '\0';
    const QHostAddress to = d.senderAddress();
    const quint16 port = quint16(d.senderPort());
    auto deliver = [udp, reply, to, port] {
        if (udp)
            udp->writeDatagram(reply, to, port);
    };
    if (a.delayMs > 0)
        QTimer::singleShot(a.delayMs, this, deliver);
    else
        deliver();
}

// ---- TCP ----------------------------------------------------------------------

void SimController::onNewConnection()
{
    while (m_tcp && m_tcp->hasPendingConnections()) {
        QTcpSocket *socket = m_tcp->nextPendingConnection();
        if (m_sessions >= m_limits.maxConnections) {
            logIgnored("tcp", std::string(), "connection refused: too many connections");
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            socket->write(QByteArray::fromStdString(SimProtocol::errorReply("too many connections")) + '\n');
            socket->disconnectFromHost();
            continue;
        }
        ++m_sessions;
        auto *session = new TcpSession(socket, this, m_limits);
        connect(session, &QObject::destroyed, this, [this] { --m_sessions; });
    }
}
