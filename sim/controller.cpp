#include "controller.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>
#include <QtGlobal>
#include <cstdio>

#include "protocol.h"

using SimProtocol::errorReply;
using SimProtocol::okReply;

namespace {

const QString Yes = QStringLiteral("yes");
const QString No = QStringLiteral("no");

// The probe requests a controller sends to each controller it scans.
const char *const ProbeParameters[] = {"system version", "system access", "system can_slave",
                                       "system hostname", "system model"};

std::string str(const QString &s)
{
    return s.toStdString();
}

// "2.7.1" or "v2.7.1" is 2.6 or later.
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

bool isYesNo(const QString &v)
{
    return v == Yes || v == No;
}

} // namespace

// One TCP connection of the host to the master: request lines in, one reply
// line out for each, in order. A late reply holds back the next request.
class TcpSession : public QObject
{
public:
    TcpSession(QTcpSocket *socket, SimController *controller)
        : QObject(socket), m_socket(socket), m_controller(controller)
    {
        connect(socket, &QTcpSocket::readyRead, this, [this] { processNext(); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }

private:
    void processNext()
    {
        if (m_busy)
            return;
        m_buffer += m_socket->readAll();
        const int end = m_buffer.indexOf('\n');
        if (end < 0) {
            if (m_buffer.size() > int(SimProtocol::MaxRequestLength) + 2) {
                // A line that never ends: answer once and hang up.
                m_socket->write(QByteArray::fromStdString(errorReply("request too long")) + '\n');
                m_socket->disconnectFromHost();
                m_buffer.clear();
            }
            return;
        }
        QByteArray line = m_buffer.left(end);
        m_buffer.remove(0, end + 1);
        if (line.endsWith('\r'))
            line.chop(1);
        const SimController::Answer a = m_controller->respond(line.toStdString());
        if (m_controller->m_lan->verbose())
            std::fprintf(stderr, "%s tcp < %s\n%s tcp > %s\n", qPrintable(m_controller->address()),
                         line.constData(), qPrintable(m_controller->address()),
                         a.disconnect ? "(disconnect)" : a.send ? a.text.c_str() : "(silent)");
        m_busy = true;
        QPointer<QTcpSocket> socket = m_socket;
        auto deliver = [this, socket, a] {
            if (!socket)
                return;
            if (a.disconnect) {
                socket->abort();
                socket->deleteLater();
                return;
            }
            if (a.send)
                socket->write(QByteArray::fromStdString(a.text) + '\n');
            m_busy = false;
            if (m_buffer.contains('\n') || socket->bytesAvailable() > 0)
                QTimer::singleShot(0, this, [this] { processNext(); });
        };
        if (a.delayMs > 0)
            QTimer::singleShot(a.delayMs, this, deliver);
        else
            deliver();
    }

    QTcpSocket *m_socket;
    SimController *m_controller;
    QByteArray m_buffer;
    bool m_busy = false;
};

// ---- SimController ----------------------------------------------------------

SimController::SimController(const ControllerConfig &config, SimLan *lan)
    : QObject(lan), m_config(config), m_lan(lan), m_connected(config.connected),
      m_scanLan(config.scanSlavesLan), m_wol(config.wolSlaves)
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
    const QHostAddress addr(m_config.address);
    m_udp = new QUdpSocket(this);
    if (!m_udp->bind(addr, SimProtocol::Port, QUdpSocket::DontShareAddress)) {
        *error = QStringLiteral("%1: UDP port %2: %3")
                     .arg(m_config.address).arg(SimProtocol::Port).arg(m_udp->errorString());
        return false;
    }
    connect(m_udp, &QUdpSocket::readyRead, this, &SimController::onDatagrams);
    if (m_config.master) {
        m_tcp = new QTcpServer(this);
        if (!m_tcp->listen(addr, SimProtocol::Port)) {
            *error = QStringLiteral("%1: TCP port %2: %3")
                         .arg(m_config.address).arg(SimProtocol::Port).arg(m_tcp->errorString());
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
    m_scanning = false;
    ++m_scanGeneration;
    dropProber();
    delete m_udp;
    delete m_tcp; // closes the host's connections with it
}

bool SimController::eligible() const
{
    return m_config.access == QLatin1String("full") && versionQualifies(m_config.version)
           && m_config.canSlave == Yes;
}

void SimController::onDatagrams()
{
    while (m_udp && m_udp->hasPendingDatagrams()) {
        const QNetworkDatagram d = m_udp->receiveDatagram(65536);
        const QByteArray data = d.data();
        std::string text, why;
        Answer a;
        if (SimProtocol::datagramText(data.constData(), size_t(data.size()), &text, &why))
            a = respond(text);
        else
            a.text = errorReply(why);
        if (m_lan->verbose())
            std::fprintf(stderr, "%s udp < %s\n%s udp > %s\n", qPrintable(address()), text.c_str(),
                         qPrintable(address()), a.send && !a.disconnect ? a.text.c_str() : "(silent)");
        if (!a.send || a.disconnect)
            continue;
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
}

void SimController::onNewConnection()
{
    while (m_tcp && m_tcp->hasPendingConnections())
        new TcpSession(m_tcp->nextPendingConnection(), this);
}

const Fault *SimController::takeFault(const std::string &requestText)
{
    const QString request = QString::fromStdString(requestText);
    for (int i = 0; i < m_config.faults.size(); ++i) {
        const Fault &f = m_config.faults.at(i);
        if (!request.startsWith(f.match))
            continue;
        if (f.times > 0 && m_faultUses.value(i) >= f.times)
            continue;
        ++m_faultUses[i];
        return &f;
    }
    return nullptr;
}

SimController::Answer SimController::respond(const std::string &requestText)
{
    Answer a;
    const Fault *f = takeFault(requestText);
    if (f) {
        a.delayMs = f->delayMs;
        switch (f->action) {
        case Fault::Action::Error:
            a.text = errorReply(f->text.isEmpty() ? std::string("injected fault") : str(f->text));
            return a;
        case Fault::Action::Reply:
            a.text = str(f->text);
            return a;
        case Fault::Action::Silent:
            a.send = false;
            return a;
        case Fault::Action::Disconnect:
            a.disconnect = true;
            return a;
        case Fault::Action::Normal:
            break;
        }
    }
    const SimProtocol::Request r = SimProtocol::parseRequest(requestText);
    const QString name = QString::fromStdString(r.name);
    switch (r.kind) {
    case SimProtocol::Kind::Read:
        a.text = answerRead(name);
        break;
    case SimProtocol::Kind::Write:
        a.text = answerWrite(name, QString::fromStdString(r.value));
        break;
    case SimProtocol::Kind::Command:
        a.text = answerCommand(name);
        break;
    case SimProtocol::Kind::Invalid:
        a.text = errorReply(r.error);
        break;
    }
    return a;
}

std::string SimController::answerRead(const QString &name)
{
    const QString group = name.section(QLatin1Char(' '), 0, 0);
    const QString param = name.section(QLatin1Char(' '), 0, 1);
    const QString arg = name.section(QLatin1Char(' '), 2);
    auto value = [&name](const QString &v) { return SimProtocol::valueReply(str(name), str(v)); };
    auto noArg = [&arg] { return arg.isEmpty(); };

    if (noArg()) {
        if (name == QLatin1String("system version"))
            return value(QLatin1Char('v') + m_config.version);
        if (name == QLatin1String("system access"))
            return value(m_config.access);
        if (name == QLatin1String("system can_slave"))
            return value(m_config.canSlave);
        if (name == QLatin1String("system hostname"))
            return value(m_config.hostname);
        if (name == QLatin1String("system model"))
            return value(m_config.model);
        if (name == QLatin1String("system protocol"))
            return value(m_config.protocol);
        if (name == QLatin1String("config is_changeable"))
            return value(m_config.configChangeable);
        if (name == QLatin1String("cascade available"))
            return value(m_config.cascadeAvailable);
        if (name == QLatin1String("cascade scan_slaves_lan"))
            return value(m_scanLan);
        if (name == QLatin1String("cascade wol_slaves"))
            return value(m_wol);
        if (name == QLatin1String("cascade number_of_connected_slaves"))
            return value(QString::number(m_connected.size()));
        if (name == QLatin1String("cascade number_of_scanned_slaves"))
            return value(QString::number(scannedCount()));
    }
    if (param == QLatin1String("cascade connected_slave") || param == QLatin1String("cascade scanned_slave")) {
        const bool connected = param == QLatin1String("cascade connected_slave");
        int index = 0;
        const int count = connected ? m_connected.size() : scannedCount();
        if (!SimProtocol::parseIndex(str(arg), &index) || index > count)
            return errorReply("no such entry: " + str(arg));
        return value(connected ? m_connected.at(index - 1) : m_scanned.at(index - 1).ip);
    }
    if (param == QLatin1String("cascade connected_slave_available")) {
        const SimController *c = m_lan->find(arg);
        return value(m_connected.contains(arg) && c && c->isOnline() ? Yes : No);
    }
    if (param == QLatin1String("system hostname_slave")) {
        const SimController *c = m_lan->find(arg);
        if (!c)
            return errorReply("unknown controller " + str(arg));
        return value(c->config().hostname);
    }
    if (param == QLatin1String("cascade scanned_slave_controller")
        || param == QLatin1String("cascade scanned_slave_available")) {
        if (!m_scanning) {
            for (const Probed &p : m_scanned) {
                if (p.ip != arg)
                    continue;
                if (param == QLatin1String("cascade scanned_slave_available"))
                    return value(scannedAvailable(p));
                return value(QStringLiteral("%1 %2 %3")
                                 .arg(p.values.value(QStringLiteral("system hostname")),
                                      p.values.value(QStringLiteral("system model")),
                                      p.values.value(QStringLiteral("system version"))));
            }
        }
        return errorReply("not in the scan result: " + str(arg));
    }
    Q_UNUSED(group);
    return errorReply("unknown parameter " + str(name));
}

std::string SimController::answerWrite(const QString &name, const QString &value)
{
    QString *target = nullptr;
    if (name == QLatin1String("cascade scan_slaves_lan"))
        target = &m_scanLan;
    else if (name == QLatin1String("cascade wol_slaves"))
        target = &m_wol;
    if (!target)
        return errorReply("parameter cannot be written: " + str(name));
    if (!isYesNo(value))
        return errorReply("value must be yes or no: " + str(value));
    if (m_config.configChangeable == No)
        return errorReply("configuration is locked");
    *target = value;
    return okReply();
}

std::string SimController::answerCommand(const QString &command)
{
    const QString verb = command.section(QLatin1Char(' '), 0, 1);
    const QString arg = command.section(QLatin1Char(' '), 2);

    if (command == QLatin1String("cascade scan_slaves")) {
        if (m_config.cascadeAvailable != Yes)
            return errorReply("cascade not available");
        if (m_scanning)
            return okReply(); // the running scan goes on
        QStringList targets;
        if (m_scanLan == Yes)
            for (const SimController *c : m_lan->controllers())
                if (c != this && c->config().scanVisible)
                    targets << c->address();
        for (const QString &ip : qAsConst(m_handEntered))
            if (!targets.contains(ip))
                targets << ip;
        startScan(true, targets, m_scanLan == Yes ? m_config.scanDurationMs : 0);
        return okReply();
    }
    if (arg.isEmpty() || arg.contains(QLatin1Char(' ')))
        return errorReply("unknown command " + str(command));

    if (verb == QLatin1String("cascade add_scanned_slave")) {
        // A hostname is looked up among the controllers this one knows.
        const SimController *c = m_lan->find(arg);
        if (!c)
            c = m_lan->findByHostname(arg);
        if (!c)
            return errorReply("unknown controller " + str(arg));
        if (c == this)
            return errorReply("a controller cannot be its own slave");
        if (!m_handEntered.contains(c->address()))
            m_handEntered << c->address();
        if (m_scanning)
            probe(c->address());
        else
            startScan(false, QStringList() << c->address(), 0);
        return okReply();
    }
    if (verb == QLatin1String("cascade add_slave") || verb == QLatin1String("cascade sub_slave")) {
        if (m_config.configChangeable == No)
            return errorReply("configuration is locked");
        if (verb == QLatin1String("cascade sub_slave")) {
            if (!m_connected.removeOne(arg))
                return errorReply("not a connected slave: " + str(arg));
            return okReply();
        }
        const SimController *c = m_lan->find(arg);
        if (!c || !c->isOnline())
            return errorReply("controller not reachable: " + str(arg));
        if (c == this || m_connected.contains(arg))
            return errorReply("already connected: " + str(arg));
        if (!c->eligible())
            return errorReply("controller cannot become a slave: " + str(arg));
        m_connected << arg;
        return okReply();
    }
    return errorReply("unknown command " + str(command));
}

// ---- Scanning ----------------------------------------------------------------
//
// A scan probes each target over UDP from this controller's own address, as a
// real controller would, and counts as running ("cascade
// number_of_scanned_slaves" is -1) until its minimum duration has passed and
// every target has answered; it ends at the latest after the minimum duration
// or ProbeTimeoutMs, whichever is longer (silent targets are left out). A full scan replaces the result with the controllers that
// answered; a single probe (add_scanned_slave) adds or refreshes one entry.

void SimController::startScan(bool full, const QStringList &targets, int minDurationMs)
{
    m_scanning = true;
    m_fullScan = full;
    m_minElapsed = false;
    m_targets.clear();
    m_toProbe.clear();
    m_probes.clear();
    const int generation = ++m_scanGeneration;

    dropProber();
    m_prober = new QUdpSocket(this);
    if (!m_prober->bind(QHostAddress(m_config.address), 0))
        std::fprintf(stderr, "%s: cannot bind the probe socket: %s\n", qPrintable(address()),
                     qPrintable(m_prober->errorString()));
    connect(m_prober, &QUdpSocket::readyRead, this, &SimController::onProbeReplies);
    for (const QString &ip : targets)
        probe(ip);

    QTimer::singleShot(minDurationMs, this, [this, generation] {
        if (generation != m_scanGeneration)
            return;
        m_minElapsed = true;
        tryFinishScan();
    });
    QTimer::singleShot(qMax(minDurationMs, ProbeTimeoutMs), this, [this, generation] {
        if (generation == m_scanGeneration && m_scanning)
            finishScan();
    });
}

void SimController::probe(const QString &ip)
{
    if (!m_targets.contains(ip))
        m_targets << ip;
    m_probes[ip].ip = ip;
    if (m_toProbe.contains(ip))
        return;
    m_toProbe << ip;
    if (m_toProbe.size() == 1) {
        const int generation = m_scanGeneration;
        QTimer::singleShot(0, this, [this, generation] {
            if (generation == m_scanGeneration)
                sendQueuedProbes();
        });
    }
}

void SimController::sendQueuedProbes()
{
    for (int n = 0; n < ProbeBatch && !m_toProbe.isEmpty() && m_prober; ++n) {
        const QString ip = m_toProbe.takeFirst();
        for (const char *p : ProbeParameters) {
            const QByteArray request = QByteArray("korvane get ") + p + '\0';
            m_prober->writeDatagram(request, QHostAddress(ip), SimProtocol::Port);
        }
    }
    if (m_toProbe.isEmpty())
        return;
    const int generation = m_scanGeneration;
    QTimer::singleShot(0, this, [this, generation] {
        if (generation == m_scanGeneration)
            sendQueuedProbes();
    });
}

void SimController::onProbeReplies()
{
    while (m_prober && m_prober->hasPendingDatagrams()) {
        const QNetworkDatagram d = m_prober->receiveDatagram(4096);
        const QString from = QHostAddress(d.senderAddress().toIPv4Address()).toString();
        std::string text, why;
        if (!m_probes.contains(from)
            || !SimProtocol::datagramText(d.data().constData(), size_t(d.data().size()), &text, &why))
            continue;
        const SimProtocol::Request r = SimProtocol::parseRequest(text);
        if (r.kind == SimProtocol::Kind::Write)
            m_probes[from].values.insert(QString::fromStdString(r.name), QString::fromStdString(r.value));
    }
    tryFinishScan();
}

void SimController::tryFinishScan()
{
    if (!m_scanning || !m_minElapsed || !m_toProbe.isEmpty())
        return;
    for (const Probed &p : qAsConst(m_probes))
        if (p.values.size() < int(sizeof(ProbeParameters) / sizeof(ProbeParameters[0])))
            return;
    finishScan();
}

void SimController::finishScan()
{
    if (m_fullScan)
        m_scanned.clear();
    for (const QString &ip : qAsConst(m_targets)) {
        const Probed &p = m_probes[ip];
        int existing = -1;
        for (int i = 0; i < m_scanned.size(); ++i)
            if (m_scanned.at(i).ip == ip)
                existing = i;
        if (!p.answered())
            continue;
        if (existing >= 0)
            m_scanned[existing] = p;
        else
            m_scanned << p;
    }
    m_scanning = false;
    ++m_scanGeneration;
    dropProber();
}

void SimController::dropProber()
{
    // May run inside the prober's own readyRead: delete it later.
    if (m_prober) {
        m_prober->disconnect(this);
        m_prober->deleteLater();
        m_prober = nullptr;
    }
}

QString SimController::scannedAvailable(const Probed &p) const
{
    const bool ok = p.values.value(QStringLiteral("system access")) == QLatin1String("full")
                    && versionQualifies(p.values.value(QStringLiteral("system version")))
                    && p.values.value(QStringLiteral("system can_slave")) == Yes
                    && !m_connected.contains(p.ip);
    return ok ? Yes : No;
}

// ---- SimLan -------------------------------------------------------------------

SimLan::SimLan(const Scenario &scenario, bool verbose) : m_verbose(verbose)
{
    for (const ControllerConfig &c : scenario.controllers)
        m_controllers << new SimController(c, this);
}

bool SimLan::start(QString *error)
{
    for (SimController *c : qAsConst(m_controllers))
        if (!c->start(error))
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

SimController *SimLan::find(const QString &address) const
{
    for (SimController *c : m_controllers)
        if (c->address() == address)
            return c;
    return nullptr;
}

SimController *SimLan::findByHostname(const QString &hostname) const
{
    for (SimController *c : m_controllers)
        if (c->config().hostname == hostname)
            return c;
    return nullptr;
}

SimController *SimLan::master() const
{
    for (SimController *c : m_controllers)
        if (c->config().master)
            return c;
    return nullptr;
}
