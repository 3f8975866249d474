// SPDX-License-Identifier: MIT
#include "scan.h"

#include <QTimer>

#include "protocol.h"

namespace {

// The requests a controller sends to each controller it scans.
const char *const ProbeParameters[] = {"system version", "system access", "system can_slave",
                                       "system hostname", "system model"};
constexpr int ProbeParameterCount = int(sizeof ProbeParameters / sizeof ProbeParameters[0]);

} // namespace

ScanEngine::ScanEngine(ProbeFunction probe, QObject *parent) : QObject(parent), m_probe(std::move(probe)) {}

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
    m_timedOut = false;
    m_toProbe.clear();
    m_nextToProbe = 0;
    m_probes.clear();
    const int generation = ++m_generation;

    for (const QString &ip : targets)
        addTarget(ip);

    QTimer::singleShot(minDurationMs, this, [this, generation] {
        if (generation != m_generation)
            return;
        m_minElapsed = true;
        tryFinish();
    });
    // Silent targets are left out then, but never one that was not probed
    // yet: a slow machine may take that long to hand out the probes.
    QTimer::singleShot(qMax(minDurationMs, ProbeTimeoutMs), this, [this, generation] {
        if (generation != m_generation || !m_running)
            return;
        m_timedOut = true;
        if (m_nextToProbe >= m_toProbe.size())
            finish();
    });
}

void ScanEngine::addTarget(const QString &ip)
{
    if (!m_running || m_probes.contains(ip))
        return;
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
    const int generation = m_generation;
    for (int n = 0; n < ProbeBatch && m_nextToProbe < m_toProbe.size() && m_running; ++n) {
        const QString ip = m_toProbe.at(m_nextToProbe++);
        for (const char *p : ProbeParameters) {
            const std::string request = std::string(ControllerProtocol::ReadPrefix) + p;
            std::string reply;
            int delayMs = 0;
            if (!m_probe || !m_probe(ip, request, &reply, &delayMs))
                continue;
            if (delayMs <= 0) {
                onReply(ip, reply);
            } else {
                QTimer::singleShot(delayMs, this, [this, generation, ip, reply] {
                    if (generation == m_generation)
                        onReply(ip, reply);
                });
            }
        }
    }
    if (!m_running)
        return; // the last reply ended the scan
    if (m_nextToProbe < m_toProbe.size())
        scheduleProbes();
    else if (m_timedOut)
        finish();
    else
        tryFinish();
}

void ScanEngine::onReply(const QString &ip, const std::string &reply)
{
    const auto probe = m_probes.find(ip);
    if (probe == m_probes.end())
        return;
    // A reply to a read has the form of a write request. Replies are checked
    // as a datagram's would be: a fault may send anything.
    const std::string datagram = reply + '\0';
    std::string text, why;
    if (!SimProtocol::datagramText(datagram.data(), datagram.size(), &text, &why))
        return;
    const SimProtocol::Request r = SimProtocol::parseRequest(text);
    if (r.kind == SimProtocol::Kind::Write)
        probe->values.insert(QString::fromStdString(r.name), QString::fromStdString(r.value));
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
    for (const QString &ip : qAsConst(m_toProbe)) {
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
}
