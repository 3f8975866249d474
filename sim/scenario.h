// SPDX-License-Identifier: MIT
// A simulated LAN, as read from a scenario file (JSON).
#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

// A deliberate misbehaviour of one controller for the requests that begin
// with `match` (the whole request text, "korvane ..." included).
struct Fault
{
    enum class Action {
        Normal,     // the usual answer (only useful with a delay)
        Error,      // "korvane error <text>"
        Reply,      // `text` verbatim instead of the answer (malformed replies)
        Silent,     // no answer at all
        Disconnect  // close the TCP connection without an answer (UDP: no answer)
    };

    QString match;
    Action action = Action::Normal;
    QString text;
    int delayMs = 0; // answer this much later
    int times = 0;   // how often it fires; 0 = every time
};

// How the LAN treats one controller's traffic; everything off by default.
// Every draw comes from the controller's own generator, seeded from the
// scenario's "seed" and its address, so that a run repeats exactly.
struct Conditions
{
    int latencyMs = 0;         // every reply this much later ...
    int jitterMs = 0;          // ... plus 0 to this many ms more
    double udpLoss = 0;        // chance that a UDP request goes unanswered
    double tcpStallChance = 0; // chance that a TCP reply stalls ...
    int tcpStallMs = 0;        // ... for this long
};

struct ControllerConfig
{
    QString address;  // 127.x.y.z, the controller's own loopback address
    QString hostname;
    QString model = QStringLiteral("VESTRAL");
    QString protocol = QStringLiteral("1.9.0");
    QString version = QStringLiteral("2.7.1"); // system version, answered as "v2.7.1"
    QString access = QStringLiteral("full");
    QString canSlave = QStringLiteral("yes");
    bool online = true;
    int offlineAfterMs = 0; // > 0: goes offline this long after start
    bool unplugOnSignal = false; // goes offline when the simulator gets SIGUSR1
    // false: on another segment that the LAN scan does not reach; found only
    // when entered by hand (add_scanned_slave).
    bool scanVisible = true;

    // Cascade state; any controller has it, the master's is what the host sees.
    bool master = false; // also listens on TCP for the host
    QString cascadeAvailable = QStringLiteral("yes");
    QString configChangeable = QStringLiteral("yes");
    QString scanSlavesLan = QStringLiteral("yes");
    QString wolSlaves = QStringLiteral("no");
    QStringList connected;  // addresses of the connected slaves
    int scanDurationMs = 1000;

    QList<Fault> faults;
    Conditions conditions;
};

// A change of the LAN at a time after start: a controller's fields set, a
// controller joining or leaving.
struct Event
{
    enum class Kind { Set, Join, Leave };

    int atMs = 0;
    Kind kind = Kind::Set;
    QString address;
    QJsonObject set;        // Set: the fields and their new values
    ControllerConfig join;  // Join: the controller that joins
};

struct Scenario
{
    // The most controllers one simulator runs. Each has a UDP socket of its
    // own (the master a TCP listener too); a scan of all of them lists
    // every one that answers.
    static constexpr int MaxControllers = 4096;

    QList<ControllerConfig> controllers;
    QList<Event> events; // in the order of the file
    quint32 seed = 0;

    // Reads and checks a scenario file. On failure returns false with a
    // message in *error.
    bool load(const QString &path, QString *error);
    bool parse(const QByteArray &json, QString *error);
};

// Whether text is a dotted IPv4 address inside 127.0.0.0/8.
bool isLoopbackAddress(const QString &text);

// Sets the fields of one controller that may change while the simulator
// runs (the keys of an event's "set"): false, with the field named in
// *error, for an unknown field or a value of the wrong type.
bool applySettings(const QJsonObject &fields, ControllerConfig *c, QString *error,
                   const QString &what = QStringLiteral("set"));
