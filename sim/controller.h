// Simulated controllers: each answers the controller protocol on UDP port
// 50105 of its own loopback address; the master also serves the host over
// TCP on the same port. A SimLan holds all controllers of one scenario.
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <string>

#include "scenario.h"

class QTcpServer;
class QTcpSocket;
class QUdpSocket;
class SimLan;

class SimController : public QObject
{
    Q_OBJECT

public:
    // How long a probe waits for the replies of a controller that is silent.
    static constexpr int ProbeTimeoutMs = 500;
    // Targets probed per event-loop pass. All controllers share one thread,
    // so the replies of a pass queue up on the probe socket until the next
    // pass; small passes keep them within its receive buffer.
    static constexpr int ProbeBatch = 16;

    SimController(const ControllerConfig &config, SimLan *lan);
    ~SimController() override;

    // Binds the sockets (if online) and arms the go-offline timer.
    bool start(QString *error);
    void goOffline();

    bool isOnline() const { return m_online; }
    const ControllerConfig &config() const { return m_config; }
    QString address() const { return m_config.address; }
    // Whether this controller could serve as a slave: full access, system
    // version 2.6 or later, can_slave "yes" (online state not included).
    bool eligible() const;

    // What to do with one request text (already taken out of its framing).
    struct Answer
    {
        std::string text;        // reply line without terminator
        bool send = true;        // false: stay silent
        bool disconnect = false; // TCP: close the connection instead
        int delayMs = 0;
    };
    Answer respond(const std::string &requestText);

private slots:
    void onDatagrams();
    void onNewConnection();
    void onProbeReplies();

private:
    friend class TcpSession;

    // Result of probing one controller over UDP.
    struct Probed
    {
        QString ip;
        QHash<QString, QString> values; // "system version" -> "v2.7.1", ...
        bool answered() const { return values.contains(QStringLiteral("system version")); }
    };

    std::string answerRead(const QString &name);
    std::string answerWrite(const QString &name, const QString &value);
    std::string answerCommand(const QString &command);
    const Fault *takeFault(const std::string &requestText);

    void startScan(bool full, const QStringList &targets, int minDurationMs);
    void probe(const QString &ip);
    void sendQueuedProbes();
    void tryFinishScan();
    void finishScan();
    void dropProber();
    QString scannedAvailable(const Probed &p) const;
    int scannedCount() const { return m_scanning ? -1 : m_scanned.size(); }

    ControllerConfig m_config;
    SimLan *m_lan;
    bool m_online = false;
    QPointer<QUdpSocket> m_udp;
    QPointer<QTcpServer> m_tcp;
    QHash<int, int> m_faultUses; // fault index -> times fired

    // Cascade state.
    QStringList m_connected;
    QString m_scanLan;
    QString m_wol;
    QStringList m_handEntered; // controllers entered with add_scanned_slave
    QList<Probed> m_scanned;   // the last scan result

    // The running scan.
    bool m_scanning = false;
    bool m_fullScan = false;
    bool m_minElapsed = false;
    int m_scanGeneration = 0;
    QStringList m_targets;
    QStringList m_toProbe; // targets whose requests are not sent yet
    QHash<QString, Probed> m_probes;
    QPointer<QUdpSocket> m_prober;
};

class SimLan : public QObject
{
    Q_OBJECT

public:
    explicit SimLan(const Scenario &scenario, bool verbose = false);

    bool start(QString *error);
    void stop();
    // Takes every online controller marked "unplug_on_signal" offline;
    // returns how many went.
    int unplug();

    SimController *find(const QString &address) const;
    SimController *findByHostname(const QString &hostname) const;
    SimController *master() const;
    const QList<SimController *> &controllers() const { return m_controllers; }
    bool verbose() const { return m_verbose; }

private:
    QList<SimController *> m_controllers;
    bool m_verbose;
};
