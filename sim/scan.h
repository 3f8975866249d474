// SPDX-License-Identifier: MIT
// The scan engine of one simulated controller: probes other controllers and
// keeps the result of the last scan.
//
// Every target is a controller of the same simulated LAN, so a probe is
// handed to the target directly (ProbeFunction) instead of going through
// UDP: the target answers it exactly as it would a datagram (its faults and
// delays included, nothing when it is offline), but no reply can be lost to
// a full receive buffer, however many controllers the LAN has. Targets are
// probed ProbeBatch at a time per event-loop pass, so that the scan command
// is answered at once and TCP service goes on during a large scan.
//
// A scan counts as running (count() is -1) until its minimum duration has
// passed and every target has answered; it ends at the latest after the
// minimum duration or ProbeTimeoutMs, whichever is longer (silent targets are
// left out). A full scan replaces the result with the targets that answered;
// a partial one (a single hand-entered controller) adds or refreshes entries.
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <string>

class ScanEngine : public QObject
{
    Q_OBJECT

public:
    // How long a probe waits for the replies of a controller that is silent.
    static constexpr int ProbeTimeoutMs = 500;
    // Targets probed per event-loop pass.
    static constexpr int ProbeBatch = 256;

    // Hands one probe request to the controller at ip. True when that
    // controller answers, with its reply text and how much later it comes.
    using ProbeFunction =
        std::function<bool(const QString &ip, const std::string &request, std::string *reply, int *delayMs)>;

    // What one target answered to the probe.
    struct Probed
    {
        QString ip;
        QHash<QString, QString> values; // "system version" -> "v2.7.1", ...
        bool answered() const { return values.contains(QStringLiteral("system version")); }
    };

    ScanEngine(ProbeFunction probe, QObject *parent);

    void start(bool full, const QStringList &targets, int minDurationMs);
    // Probes ip as part of the running scan.
    void addTarget(const QString &ip);
    // Abandons a running scan (the controller went offline); the last result stays.
    void stop();

    bool isRunning() const { return m_running; }
    // Entries of the last result; -1 while a scan runs.
    int count() const { return m_running ? -1 : m_result.size(); }
    const Probed &entry(int index) const { return m_result.at(index); }
    const Probed *find(const QString &ip) const;

private:
    void sendQueuedProbes();
    void scheduleProbes();
    void onReply(const QString &ip, const std::string &reply);
    void tryFinish();
    void finish();

    ProbeFunction m_probe;
    QList<Probed> m_result;
    QHash<QString, int> m_resultIndex; // ip -> index in m_result

    bool m_running = false;
    bool m_full = false;
    bool m_minElapsed = false;
    bool m_timedOut = false;   // the probe time-out passed while probes were still to go
    int m_generation = 0;      // bumped whenever a scan starts or ends: stale timers do nothing
    QStringList m_toProbe;     // every target, in the order they were given
    int m_nextToProbe = 0;     // index into m_toProbe of the first not yet probed
    QHash<QString, Probed> m_probes;
};
