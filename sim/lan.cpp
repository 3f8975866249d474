#include "lan.h"

SimLan::SimLan(const Scenario &scenario, bool verbose, const SimLimits &limits)
    : m_verbose(verbose), m_limits(limits)
{
    for (const ControllerConfig &c : scenario.controllers) {
        auto *controller = new SimController(c, this);
        m_controllers << controller;
        m_byAddress.insert(c.address, controller);
        if (!m_byHostname.contains(c.hostname))
            m_byHostname.insert(c.hostname, controller);
    }
}

bool SimLan::start(QString *error)
{
    for (SimController *c : qAsConst(m_controllers))
        if (!c->start(m_limits, error))
            return false;
    return true;
}

int SimLan::unplug()
{
    int n = 0;
    for (SimController *c : qAsConst(m_controllers)) {
        if (c->config().unplugOnSignal && c->isOnline()) {
            c->goOffline();
            ++n;
        }
    }
    return n;
}

void SimLan::stop()
{
    for (SimController *c : qAsConst(m_controllers))
        c->goOffline();
}

SimController *SimLan::master() const
{
    for (SimController *c : m_controllers)
        if (c->config().master)
            return c;
    return nullptr;
}
