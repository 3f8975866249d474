#include "scan.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>
#include <cstdio>

#include "protocol.h"

namespace {

// The requests a controller sends to each controller it scans.
const char *const ProbeParameters[] = {"system version", "system access", "system can_slave",
                                       "system hostname", "system model"};
constexpr int ProbeParameterCount = int(sizeof ProbeParameters / sizeof ProbeParameters[0]);

} // namespace

ScanEngine::ScanEngine(const QString &ownAddress, QObject *parent) : QObject(parent), m_ownAddress(ownAddress) {}

const ScanEngine::Probed *ScanEngine::find(const QString &ip) const
{
    const auto it = m_resultIndex.constFind(ip);
    return it == m_resultIndex.constEnd() ? nullptr : &m_result.at(*it);
}

void ScanEngine::start(bool full, const QStringList &targets, int minDurationMs)
{
    m_running = true;
    m_full = full;
    m_minElapsed = false;
    m_targets.clear();
    m_toProbe.clear();
    m_nextToProbe = 0;
    m_probes.clear();
    const int generation = ++m_generation;

    dropProber();
    m_prober = new QUdpSocket(this);
    if (!m_prober->bind(QHostAddress(m_ownAddress), 0))
        std::fprintf(stderr, "%s: cannot bind the probe socket: %s\n", qPrintable(m_ownAddress),
                     qPrintable(m_prober->errorString()));
    connect(m_prober, &QUdpSocket::readyRead, this, &ScanEngine::onReplies);
    for (const QString &ip : targets)
        addTarget(ip);

    QTimer::singleShot(minDurationMs, this, [this, generation] {
        if (generation != m_generation)
            return;
        m_minElapsed = true;
        tryFinish();
    });
    QTimer::singleShot(qMax(minDurationMs, ProbeTimeoutMs), this, [this, generation] {
        if (generation == m_generation && m_running)
            finish();
    });
}

void ScanEngine::addTarget(const QString &ip)
{
    if (!m_running || m_probes.contains(ip))
        return;
    m_targets << ip;
    m_probes[ip].ip = ip;
    m_toProbe << ip;
    if (m_toProbe.size() - m_nextToProbe == 1)
        scheduleProbes();
}

void ScanEngine::scheduleProbes()
{
    const int generation = m_generation;
    QTimer::singleShot(0, this, [this, generation] {
        if (generation == m_generation)
            sendQueuedProbes();
    });
}

void ScanEngine::sendQueuedProbes()
{
    for (int n = 0; n < ProbeBatch && m_nextToProbe < m_toProbe.size() && m_prober; ++n) {
        const QHostAddress to(m_toProbe.at(m_nextToProbe++));
        for (const char *p : ProbeParameters) {
            const QByteArray request = QByteArray(ControllerProtocol::ReadPrefix) + p + '\0';
            m_prober->writeDatagram(request, to, ControllerProtocol::Port);
        }
    }
    if (m_nextToProbe < m_toProbe.size())
        scheduleProbes();
}

void ScanEngine::onReplies()
{
    while (m_prober && m_prober->hasPendingDatagrams()) {
        const QNetworkDatagram d = m_prober->receiveDatagram(4096);
        const QString from = QHostAddress(d.senderAddress().toIPv4Address()).toString();
        std::string text, why;
        const auto probe = m_probes.find(from);
        if (probe == m_probes.end() || d.senderPort() != ControllerProtocol::Port
            || !SimProtocol::datagramText(d.data().constData(), size_t(d.data().size()), &text, &why))
            continue;
        // A reply to a read has the form of a write request.
        const SimProtocol::Request r = SimProtocol::parseRequest(text);
        if (r.kind == SimProtocol::Kind::Write)
            probe->values.insert(QString::fromStdString(r.name), QString::fromStdString(r.value));
    }
    tryFinish();
}

void ScanEngine::tryFinish()
{
    if (!m_running || !m_minElapsed || m_nextToProbe < m_toProbe.size())
        return;
    for (const Probed &p : qAsConst(m_probes))
        if (p.values.size() < ProbeParameterCount)
            return;
    finish();
}

void ScanEngine::finish()
{
    if (m_full) {
        m_result.clear();
        m_resultIndex.clear();
    }
    for (const QString &ip : qAsConst(m_targets)) {
        const Probed &p = m_probes[ip];
        if (!p.answered())
            continue;
        const auto existing = m_resultIndex.constFind(ip);
        if (existing != m_resultIndex.constEnd()) {
            m_result[*existing] = p;
        } else {
            m_resultIndex.insert(ip, m_result.size());
            m_result << p;
        }
    }
    stop();
}

void ScanEngine::stop()
{
    m_running = false;
    ++m_generation;
    dropProber();
}

void ScanEngine::dropProber()
{
    // May run inside the prober's own readyRead: delete it later.
    if (m_prober) {
        m_prober->disconnect(this);
        m_prober->deleteLater();
        m_prober = nullptr;
    }
}
