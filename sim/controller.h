// One simulated controller: answers the controller protocol on UDP port
// ControllerProtocol::Port of its own loopback address (read requests only);
// the master also serves the host over TCP on the same port. The request
// answers are in requests.cpp, the TCP sessions in tcpsession.cpp, the scan
// in scan.cpp and fault injection in faults.cpp.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <string>

#include "faults.h"
#include "scan.h"
#include "scenario.h"

class QNetworkDatagram;
class QTcpServer;
class QUdpSocket;
class SimLan;

// Bounds of the master's TCP service.
struct SimLimits
{
    // A connection that sends nothing for this long is closed.
    int idleTimeoutMs = 300000;
    // Connections served at once; a further one is answered with a refusal
    // line and closed.
    int maxConnections = 32;
};

// The cascade state a controller keeps (what the host sees of the master's).
struct CascadeState
{
    QStringList connected;   // addresses of the connected slaves
    QString scanLan;         // "yes"/"no"
    QString wol;             // "yes"/"no"
    QStringList handEntered; // controllers entered with add_scanned_slave
};

class SimController : public QObject
{
    Q_OBJECT

public:
    SimController(const ControllerConfig &config, SimLan *lan);
    ~SimController() override;

    // Binds the sockets (if online) and arms the go-offline timer.
    bool start(const SimLimits &limits, QString *error);
    void goOffline();

    bool isOnline() const { return m_online; }
    const ControllerConfig &config() const { return m_config; }
    QString address() const { return m_config.address; }
    // Whether this controller could serve as a slave: full access, system
    // version 2.6 or later, can_slave "yes" (online state not included).
    bool eligible() const;

    SimLan *lan() const { return m_lan; }
    CascadeState &cascade() { return m_cascade; }
    ScanEngine &scanner() { return m_scan; }

    // The answer to one request text (already taken out of its framing):
    // an injected fault, or the usual answer.
    Answer respond(const std::string &requestText);

    // Verbose log of one request and what was done with it.
    void logRequest(const char *channel, const std::string &request, const Answer &a) const;
    void logIgnored(const char *channel, const std::string &request, const char *why) const;

private:
    bool answerProbe(const QString &ip, const std::string &request, std::string *reply, int *delayMs);
    void onDatagrams();
    void answerDatagram(const QNetworkDatagram &d);
    void onNewConnection();

    ControllerConfig m_config;
    SimLan *m_lan;
    bool m_online = false;
    bool m_datagramsScheduled = false;
    SimLimits m_limits;
    QPointer<QUdpSocket> m_udp;
    QPointer<QTcpServer> m_tcp;
    int m_sessions = 0; // open TCP sessions
    FaultInjector m_faults;
    CascadeState m_cascade;
    ScanEngine m_scan;
};

// "2.7.1" or "v2.7.1" is 2.6 or later.
bool versionQualifies(const QString &version);
