// All controllers of one scenario, each on its own loopback address, sharing
// the simulator's one thread.
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include "controller.h"
#include "scenario.h"

class SimLan : public QObject
{
    Q_OBJECT

public:
    SimLan(const Scenario &scenario, bool verbose = false, const SimLimits &limits = SimLimits());

    bool start(QString *error);
    void stop();
    // Takes every online controller marked "unplug_on_signal" offline;
    // returns how many went.
    int unplug();

    SimController *find(const QString &address) const { return m_byAddress.value(address); }
    // The first controller of the scenario with that hostname.
    SimController *findByHostname(const QString &hostname) const { return m_byHostname.value(hostname); }
    SimController *master() const;
    const QList<SimController *> &controllers() const { return m_controllers; }
    bool verbose() const { return m_verbose; }

private:
    QList<SimController *> m_controllers;
    QHash<QString, SimController *> m_byAddress;
    QHash<QString, SimController *> m_byHostname;
    bool m_verbose;
    SimLimits m_limits;
};
