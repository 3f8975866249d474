// SPDX-License-Identifier: MIT
#include "lan.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>
#include <cstdio>

SimLan::SimLan(const Scenario &scenario, bool verbose, const SimLimits &limits)
    : m_scenario(scenario), m_verbose(verbose), m_limits(limits)
{
    for (const ControllerConfig &c : qAsConst(m_scenario.controllers))
        add(c);
}

// The controllers go first: they close their sockets in the epoll set.
SimLan::~SimLan()
{
    clear();
}

SimController *SimLan::add(const ControllerConfig &config)
{
    const SimController::Setup setup{
        *this, m_udp,
        [this](const QString &ip, const std::string &request, std::string *reply, int *delayMs) {
            return probe(ip, request, reply, delayMs);
        },
        m_limits, m_scenario.seed, m_verbose};
    auto *controller = new SimController(config, setup, this);
    m_controllers << controller;
    m_byAddress.insert(config.address, controller);
    return controller;
}

void SimLan::clear()
{
    delete m_timeline;
    m_timeline = nullptr;
    qDeleteAll(m_controllers);
    m_controllers.clear();
    m_byAddress.clear();
}

bool SimLan::start(QString *error)
{
    if (!m_udp.isValid()) {
        *error = QStringLiteral("no epoll set for the UDP sockets");
        return false;
    }
    for (SimController *c : qAsConst(m_controllers))
        if (!c->start(error))
            return false;
    playTimeline();
    return true;
}

void SimLan::stop()
{
    delete m_timeline;
    m_timeline = nullptr;
    for (SimController *c : qAsConst(m_controllers))
        c->goOffline();
}

bool SimLan::reset(QString *error)
{
    clear();
    for (const ControllerConfig &c : qAsConst(m_scenario.controllers))
        add(c);
    return start(error);
}

void SimLan::playTimeline()
{
    m_timeline = new QObject(this);
    for (const Event &e : qAsConst(m_scenario.events)) {
        QTimer::singleShot(e.atMs, m_timeline, [this, e] {
            QString error;
            if (apply(e, &error))
                std::printf("cascade-sim: at %d ms: %s %s\n", e.atMs, qPrintable(e.address),
                            e.kind == Event::Kind::Join    ? "joined"
                            : e.kind == Event::Kind::Leave ? "left"
                                                           : QJsonDocument(e.set).toJson(QJsonDocument::Compact)
                                                                 .constData());
            else
                std::printf("cascade-sim: at %d ms: %s\n", e.atMs, qPrintable(error));
            std::fflush(stdout);
        });
    }
}

bool SimLan::apply(const Event &e, QString *error)
{
    SimController *c = m_byAddress.value(e.address);
    switch (e.kind) {
    case Event::Kind::Set:
        return set(e.address, e.set, error);
    case Event::Kind::Join:
        if (c) {
            *error = QStringLiteral("%1 is on the LAN already").arg(e.address);
            return false;
        }
        return add(e.join)->start(error);
    case Event::Kind::Leave:
        if (!c) {
            *error = QStringLiteral("%1 is not on the LAN").arg(e.address);
            return false;
        }
        m_controllers.removeOne(c);
        m_byAddress.remove(e.address);
        c->goOffline();
        c->deleteLater();
        return true;
    }
    return false;
}

bool SimLan::set(const QString &address, const QJsonObject &fields, QString *error)
{
    SimController *c = m_byAddress.value(address);
    if (!c) {
        *error = QStringLiteral("no controller at %1").arg(address);
        return false;
    }
    return c->change(fields, error);
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

QJsonObject SimLan::status() const
{
    QJsonArray list;
    for (const SimController *controller : m_controllers) {
        const ControllerConfig &c = controller->config();
        const CascadeState &cascade = controller->cascade();
        list.append(QJsonObject{
            {"address", c.address}, {"hostname", c.hostname}, {"master", c.master}, {"online", c.online},
            {"model", c.model}, {"protocol", c.protocol}, {"version", c.version}, {"access", c.access},
            {"can_slave", c.canSlave}, {"scan_visible", c.scanVisible}, {"config_changeable", c.configChangeable},
            {"scan_slaves_lan", cascade.scanLan}, {"wol_slaves", cascade.wol},
            {"connected", QJsonArray::fromStringList(cascade.connected)}});
    }
    return QJsonObject{{"controllers", list}};
}

SimController *SimLan::master() const
{
    for (SimController *c : m_controllers)
        if (c->config().master)
            return c;
    return nullptr;
}

int SimLan::onlineCount() const
{
    int n = 0;
    for (const SimController *c : m_controllers)
        n += c->isOnline() ? 1 : 0;
    return n;
}

const ControllerConfig *SimLan::find(const QString &address) const
{
    const SimController *c = m_byAddress.value(address);
    return c ? &c->config() : nullptr;
}

const ControllerConfig *SimLan::findByHostname(const QString &hostname) const
{
    for (const SimController *c : m_controllers)
        if (c->config().hostname == hostname)
            return &c->config();
    return nullptr;
}

QStringList SimLan::scanReach(const QString &scanner) const
{
    QStringList targets;
    for (const SimController *c : m_controllers)
        if (c->address() != scanner && c->config().scanVisible)
            targets << c->address();
    return targets;
}

// A probe of a scan, answered by the target as it would answer the datagram:
// nothing from an offline target.
bool SimLan::probe(const QString &ip, const std::string &request, std::string *reply, int *delayMs)
{
    SimController *target = m_byAddress.value(ip);
    if (!target || !target->isOnline())
        return false;
    const Answer a = target->respond("scan", request);
    if (!a.send || a.disconnect)
        return false;
    *reply = a.text;
    *delayMs = a.delayMs;
    return true;
}
