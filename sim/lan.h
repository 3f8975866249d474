// SPDX-License-Identifier: MIT
// All controllers of one scenario, each on its own loopback address, sharing
// the simulator's one thread and one epoll set for their UDP sockets. The
// LAN also plays the scenario's timeline and takes the changes of the
// control socket.
#pragma once

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>
#include <string>

#include "controller.h"
#include "directory.h"
#include "scenario.h"
#include "tcpsession.h"
#include "udpports.h"

class SimLan : public QObject, public LanDirectory
{
public:
    SimLan(const Scenario &scenario, bool verbose = false, const SimLimits &limits = SimLimits());
    ~SimLan() override;

    // Binds every controller's sockets and starts the timeline.
    bool start(QString *error);
    void stop();
    // Back to the scenario: every controller as at start (the host's
    // connections closed), the timeline played again from its beginning.
    bool reset(QString *error);
    // Takes every online controller marked "unplug_on_signal" offline;
    // returns how many went.
    int unplug();
    // Changes fields of the controller at address (as an event's "set").
    bool set(const QString &address, const QJsonObject &fields, QString *error);
    bool apply(const Event &event, QString *error);
    // The LAN as it is now: {"controllers": [{"address": ..., ...}, ...]}.
    QJsonObject status() const;

    SimController *master() const;
    int size() const { return m_controllers.size(); }
    int onlineCount() const;

    const ControllerConfig *find(const QString &address) const override;
    const ControllerConfig *findByHostname(const QString &hostname) const override;
    QStringList scanReach(const QString &scanner) const override;

private:
    SimController *add(const ControllerConfig &config);
    void clear();
    void playTimeline();
    bool probe(const QString &ip, const std::string &request, std::string *reply, int *delayMs);

    Scenario m_scenario;
    bool m_verbose;
    SimLimits m_limits;
    UdpPorts m_udp;
    QList<SimController *> m_controllers;
    QHash<QString, SimController *> m_byAddress;
    QObject *m_timeline = nullptr; // parent of the pending event timers
};
