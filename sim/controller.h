// SPDX-License-Identifier: MIT
// One simulated controller: answers the controller protocol on UDP port
// ControllerProtocol::Port of its own loopback address (read requests only);
// the master also serves the host over TCP on the same port. The request
// answers are in requests.cpp, the TCP sessions in tcpsession.cpp, the scan
// in scan.cpp, fault injection in faults.cpp and the LAN conditions in
// conditions.h. What it knows of the other controllers comes through a
// LanDirectory, and its scan probes them through a probe function.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <string>

#include "conditions.h"
#include "directory.h"
#include "faults.h"
#include "requests.h"
#include "scan.h"
#include "scenario.h"
#include "tcpsession.h"
#include "udpports.h"

class QTcpServer;

class SimController : public QObject
{
    Q_OBJECT

public:
    struct Setup
    {
        const LanDirectory &lan;
        UdpPorts &udp;
        ScanEngine::ProbeFunction probe;
        SimLimits limits;
        quint32 seed = 0;
        bool verbose = false;
    };

    SimController(const ControllerConfig &config, const Setup &setup, QObject *parent);
    ~SimController() override;

    // Binds the sockets (if online) and arms the go-offline timer.
    bool start(QString *error);
    void goOffline();
    // Changes the fields of `fields` (as an event's "set" does); going
    // online binds the sockets again, going offline closes them.
    bool change(const QJsonObject &fields, QString *error);

    bool isOnline() const { return m_config.online; }
    const ControllerConfig &config() const { return m_config; }
    QString address() const { return m_config.address; }
    const CascadeState &cascade() const { return m_cascade; }

    // The answer to one request text (already taken out of its framing):
    // an injected fault, or the usual answer; logged with its channel.
    Answer respond(const char *channel, const std::string &requestText);

private:
    bool bind(QString *error);
    void onDatagram(const UdpDatagram &d);
    void onNewConnection();
    void logRequest(const char *channel, const std::string &request, const Answer &a) const;
    void logIgnored(const char *channel, const std::string &request, const char *why) const;

    ControllerConfig m_config;
    Setup m_setup;
    int m_udpFd = -1;
    int m_udpGeneration = 0; // bumped whenever the UDP socket closes: late replies are dropped
    QPointer<QTcpServer> m_tcp;
    int m_sessions = 0; // open TCP sessions
    FaultInjector m_faults;
    CascadeState m_cascade;
    ScanEngine m_scan;
    ConditionDice m_dice;
};
