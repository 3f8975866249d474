// SPDX-License-Identifier: MIT
#include "scenario.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QHash>

namespace {

// Reads the fields of one JSON object, each of its own type. The first field
// of a wrong type ends the reading with an error that names it; a missing
// field keeps its default.
class Fields
{
public:
    Fields(const QJsonObject &o, const QString &what, QString *error) : m_o(o), m_what(what), m_error(error) {}

    bool ok() const { return m_error->isEmpty(); }

    QString text(const char *key, const QString &fallback)
    {
        const QJsonValue v = typed(key, &QJsonValue::isString, "must be a text");
        if (v.isUndefined())
            return fallback;
        const QString t = v.toString();
        // Values go into reply lines: a control character would break them.
        for (const QChar c : t)
            if (c.unicode() < 0x20 || c.unicode() == 0x7f)
                return fail(key, "must not hold control characters"), fallback;
        return t;
    }

    // true/false, or the text "yes"/"no" itself.
    QString yesNo(const char *key, const QString &fallback)
    {
        const QJsonValue v = value(key);
        if (v.isBool())
            return v.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
        if (!v.isUndefined() && !v.isString())
            return fail(key, "must be true, false or a text"), fallback;
        return text(key, fallback);
    }

    bool flag(const char *key, bool fallback)
    {
        return typed(key, &QJsonValue::isBool, "must be true or false").toBool(fallback);
    }

    // A whole number from 0 to max (scale: the JSON value is in units of
    // 1/scale, e.g. seconds read as milliseconds with scale 1000).
    int number(const char *key, int fallback, int max, int scale = 1)
    {
        const QJsonValue v = value(key);
        if (v.isUndefined())
            return fallback;
        const double d = v.toDouble(-1) * scale;
        if (!v.isDouble() || d < 0 || d > max || (scale == 1 && d != double(qint64(d))))
            return fail(key, qPrintable(QStringLiteral("must be a whole number from 0 to %1").arg(max))), fallback;
        return int(d);
    }

    // A chance from 0 to 1.
    double probability(const char *key, double fallback)
    {
        const QJsonValue v = value(key);
        if (v.isUndefined())
            return fallback;
        if (!v.isDouble() || v.toDouble() < 0 || v.toDouble() > 1)
            return fail(key, "must be a number from 0 to 1"), fallback;
        return v.toDouble();
    }

    QJsonObject object(const char *key)
    {
        return typed(key, &QJsonValue::isObject, "must be a JSON object").toObject();
    }

    QJsonArray array(const char *key)
    {
        return typed(key, &QJsonValue::isArray, "must be a list").toArray();
    }

private:
    // The field's value; undefined when it is missing or an error came first.
    QJsonValue value(const char *key) const
    {
        return ok() ? m_o.value(QLatin1String(key)) : QJsonValue(QJsonValue::Undefined);
    }

    // The field's value when it is missing or of the wanted type; a wrong
    // type sets the error and reads as missing.
    QJsonValue typed(const char *key, bool (QJsonValue::*is)() const, const char *why)
    {
        const QJsonValue v = value(key);
        if (v.isUndefined() || (v.*is)())
            return v;
        fail(key, why);
        return QJsonValue(QJsonValue::Undefined);
    }

    void fail(const char *key, const char *why)
    {
        *m_error = QStringLiteral("%1: \"%2\" %3").arg(m_what, QLatin1String(key), QLatin1String(why));
    }

    QJsonObject m_o;
    QString m_what;
    QString *m_error;
};

constexpr int MaxMs = 24 * 3600 * 1000;

// False, with the first key of o that is not among known named in *error.
bool onlyKnownKeys(const QJsonObject &o, const QStringList &known, const QString &what, const char *isNot,
                   QString *error)
{
    for (auto it = o.begin(); it != o.end(); ++it) {
        if (!known.contains(it.key())) {
            *error = QStringLiteral("%1: \"%2\" %3").arg(what, it.key(), QLatin1String(isNot));
            return false;
        }
    }
    return true;
}

bool parseFault(const QJsonObject &o, const QString &what, Fault *f, QString *error)
{
    Fields in(o, what, error);
    f->match = in.text("match", QString());
    if (in.ok() && f->match.isEmpty()) {
        *error = QStringLiteral("%1: a fault needs a \"match\" text").arg(what);
        return false;
    }
    const QString action = in.text("action", QStringLiteral("normal"));
    if (action == QLatin1String("normal"))
        f->action = Fault::Action::Normal;
    else if (action == QLatin1String("error"))
        f->action = Fault::Action::Error;
    else if (action == QLatin1String("reply"))
        f->action = Fault::Action::Reply;
    else if (action == QLatin1String("silent"))
        f->action = Fault::Action::Silent;
    else if (action == QLatin1String("disconnect"))
        f->action = Fault::Action::Disconnect;
    else if (in.ok()) {
        *error = QStringLiteral("%1: unknown fault action \"%2\"").arg(what, action);
        return false;
    }
    // Reply texts may hold anything, control characters included: they are
    // the malformed replies a fault exists for.
    const QJsonValue t = o.value(QLatin1String("text"));
    if (in.ok() && !t.isUndefined() && !t.isString()) {
        *error = QStringLiteral("%1: \"text\" must be a text").arg(what);
        return false;
    }
    f->text = t.toString();
    f->delayMs = in.number("delay_ms", 0, MaxMs);
    f->times = in.number("times", 0, 1000000000);
    return in.ok();
}

bool readConditions(const QJsonObject &o, const QString &what, Conditions *c, QString *error)
{
    static const QStringList known = {"latency_ms", "jitter_ms", "udp_loss", "tcp_stall_chance", "tcp_stall_ms"};
    if (!onlyKnownKeys(o, known, what, "is no condition", error))
        return false;
    Fields in(o, what, error);
    c->latencyMs = in.number("latency_ms", c->latencyMs, MaxMs);
    c->jitterMs = in.number("jitter_ms", c->jitterMs, MaxMs);
    c->udpLoss = in.probability("udp_loss", c->udpLoss);
    c->tcpStallChance = in.probability("tcp_stall_chance", c->tcpStallChance);
    c->tcpStallMs = in.number("tcp_stall_ms", c->tcpStallMs, MaxMs);
    return in.ok();
}

// The fields that may also change while the simulator runs; a missing one
// keeps its value.
bool readChangeable(const QJsonObject &o, const QString &what, ControllerConfig *c, QString *error)
{
    Fields in(o, what, error);
    c->hostname = in.text("hostname", c->hostname);
    c->model = in.text("model", c->model);
    c->protocol = in.text("protocol", c->protocol);
    c->version = in.text("version", c->version);
    if (c->version.startsWith(QLatin1Char('v')))
        c->version.remove(0, 1);
    c->access = in.text("access", c->access);
    c->canSlave = in.yesNo("can_slave", c->canSlave);
    c->online = in.flag("online", c->online);
    c->unplugOnSignal = in.flag("unplug_on_signal", c->unplugOnSignal);
    c->scanVisible = in.flag("scan_visible", c->scanVisible);
    c->cascadeAvailable = in.yesNo("cascade_available", c->cascadeAvailable);
    c->configChangeable = in.yesNo("config_changeable", c->configChangeable);
    c->scanSlavesLan = in.yesNo("scan_slaves_lan", c->scanSlavesLan);
    c->wolSlaves = in.yesNo("wol_slaves", c->wolSlaves);
    c->scanDurationMs = in.number("scan_duration_ms", c->scanDurationMs, MaxMs);
    const QJsonObject conditions = in.object("conditions");
    return in.ok() && readConditions(conditions, what + QStringLiteral(", conditions"), &c->conditions, error);
}

bool parseController(const QJsonObject &o, ControllerConfig *c, QString *error)
{
    const QJsonValue address = o.value(QLatin1String("address"));
    c->address = address.toString();
    if (!isLoopbackAddress(c->address)) {
        *error = QStringLiteral("controller address \"%1\" is not a 127.x.y.z address")
                     .arg(address.isString() ? c->address : QStringLiteral("(not a text)"));
        return false;
    }
    const QString what = QStringLiteral("controller %1").arg(c->address);
    c->hostname = c->address;
    if (!readChangeable(o, what, c, error))
        return false;
    Fields in(o, what, error);
    c->offlineAfterMs = in.number("offline_after_s", 0, MaxMs, 1000);
    c->master = in.flag("master", false);
    const QJsonArray connected = in.array("connected");
    const QJsonArray faults = in.array("faults");
    if (!in.ok())
        return false;
    for (const QJsonValue &v : connected) {
        if (!isLoopbackAddress(v.toString())) {
            *error = QStringLiteral("controller %1: connected slave \"%2\" is not a 127.x.y.z address")
                         .arg(c->address, v.toString());
            return false;
        }
        c->connected << v.toString();
    }
    for (int i = 0; i < faults.size(); ++i) {
        const QString what = QStringLiteral("controller %1, fault %2").arg(c->address).arg(i + 1);
        if (!faults.at(i).isObject()) {
            *error = QStringLiteral("%1: must be a JSON object").arg(what);
            return false;
        }
        Fault f;
        if (!parseFault(faults.at(i).toObject(), what, &f, error))
            return false;
        c->faults << f;
    }
    return true;
}

// An entry with "generate": n stands for n controllers: its address and the
// n - 1 after it, each with "%n" in its hostname replaced by its number
// (from 1); without a hostname each is named by its address.
bool expandEntry(const QJsonObject &o, const Conditions &lanConditions, QList<ControllerConfig> *out, QString *error)
{
    ControllerConfig c;
    c.conditions = lanConditions;
    if (!parseController(o, &c, error))
        return false;
    Fields in(o, QStringLiteral("controller %1").arg(c.address), error);
    const int count = in.number("generate", 1, Scenario::MaxControllers);
    if (!in.ok())
        return false;
    const quint32 first = QHostAddress(c.address).toIPv4Address();
    if (count < 1 || (count > 1 && c.master) || first + quint32(count - 1) > 0x7fffffffu) {
        *error = QStringLiteral("controller %1: \"generate\" must be 1 or more, not with \"master\" and stay "
                                "within 127.0.0.0/8").arg(c.address);
        return false;
    }
    const bool named = o.contains(QLatin1String("hostname"));
    for (int k = 0; k < count; ++k) {
        ControllerConfig g = c;
        g.address = QHostAddress(first + quint32(k)).toString();
        g.hostname = named ? QString(c.hostname).replace(QLatin1String("%n"), QString::number(k + 1)) : g.address;
        *out << g;
    }
    return true;
}

bool parseEvent(const QJsonObject &o, const QString &what, const QHash<QString, ControllerConfig> &known,
                const Conditions &lanConditions, Event *e, QString *error)
{
    Fields in(o, what, error);
    e->atMs = in.number("at_ms", -1, MaxMs);
    e->address = in.text("address", QString());
    e->set = in.object("set");
    const bool leave = in.flag("leave", false);
    const QJsonObject join = in.object("join");
    if (!in.ok())
        return false;
    if (e->atMs < 0) {
        *error = QStringLiteral("%1: \"at_ms\" is missing").arg(what);
        return false;
    }
    if (!join.isEmpty()) {
        e->kind = Event::Kind::Join;
        e->join.conditions = lanConditions;
        if (!parseController(join, &e->join, error)) {
            *error = QStringLiteral("%1: %2").arg(what, *error);
            return false;
        }
        if (e->join.master) {
            *error = QStringLiteral("%1: \"join\" cannot bring a master").arg(what);
            return false;
        }
        e->address = e->join.address;
        return true;
    }
    if (!known.contains(e->address)) {
        *error = QStringLiteral("%1: \"address\" \"%2\" is no controller of the scenario").arg(what, e->address);
        return false;
    }
    if (leave != e->set.isEmpty()) {
        *error = QStringLiteral("%1: needs one of \"set\", \"leave\" or \"join\"").arg(what);
        return false;
    }
    e->kind = leave ? Event::Kind::Leave : Event::Kind::Set;
    ControllerConfig check = known.value(e->address);
    return leave || applySettings(e->set, &check, error, what);
}

} // namespace

bool applySettings(const QJsonObject &fields, ControllerConfig *c, QString *error, const QString &what)
{
    static const QStringList changeable = {
        "hostname", "model", "protocol", "version", "access", "can_slave", "online", "unplug_on_signal",
        "scan_visible", "cascade_available", "config_changeable", "scan_slaves_lan", "wol_slaves",
        "scan_duration_ms", "conditions"};
    if (!onlyKnownKeys(fields, changeable, what, "is no field that can be set", error))
        return false;
    error->clear();
    return readChangeable(fields, what, c, error);
}

bool isLoopbackAddress(const QString &text)
{
    QHostAddress a;
    // setAddress also takes IPv6; insist on the dotted form.
    if (text.count(QLatin1Char('.')) != 3 || !a.setAddress(text)
        || a.protocol() != QAbstractSocket::IPv4Protocol)
        return false;
    return (a.toIPv4Address() >> 24) == 127 && a.toString() == text;
}

bool Scenario::load(const QString &path, QString *error)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, f.errorString());
        return false;
    }
    return parse(f.readAll(), error);
}

bool Scenario::parse(const QByteArray &json, QString *error)
{
    error->clear();
    controllers.clear();
    events.clear();
    QJsonParseError pe;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &pe);
    if (doc.isNull() || !doc.isObject()) {
        *error = QStringLiteral("not a JSON object: %1").arg(pe.errorString());
        return false;
    }
    const QJsonObject top = doc.object();
    const QJsonValue list = top.value(QLatin1String("controllers"));
    if (!list.isArray()) {
        *error = QStringLiteral("\"controllers\" must be a list");
        return false;
    }
    Fields in(top, QStringLiteral("scenario"), error);
    seed = quint32(in.number("seed", 0, 2147483647));
    const QJsonArray eventList = in.array("events");
    Conditions lanConditions;
    const QJsonObject conditions = in.object("conditions");
    if (!in.ok() || !readConditions(conditions, QStringLiteral("scenario, conditions"), &lanConditions, error))
        return false;
    for (const QJsonValue &v : list.toArray()) {
        if (!v.isObject()) {
            *error = QStringLiteral("every controller must be a JSON object");
            return false;
        }
        if (!expandEntry(v.toObject(), lanConditions, &controllers, error))
            return false;
        if (controllers.size() > MaxControllers) {
            *error = QStringLiteral("more than %1 controllers: a scenario holds at most %1").arg(MaxControllers);
            return false;
        }
    }
    QHash<QString, ControllerConfig> known;
    int masters = 0;
    for (const ControllerConfig &c : qAsConst(controllers)) {
        if (known.contains(c.address)) {
            *error = QStringLiteral("address %1 is used twice").arg(c.address);
            return false;
        }
        known.insert(c.address, c);
        masters += c.master ? 1 : 0;
    }
    if (masters != 1) {
        *error = QStringLiteral("a scenario needs exactly one controller with \"master\": true");
        return false;
    }
    for (int i = 0; i < eventList.size(); ++i) {
        const QString what = QStringLiteral("event %1").arg(i + 1);
        Event e;
        if (!eventList.at(i).isObject()) {
            *error = QStringLiteral("%1: must be a JSON object").arg(what);
            return false;
        }
        if (!parseEvent(eventList.at(i).toObject(), what, known, lanConditions, &e, error))
            return false;
        if (e.kind == Event::Kind::Join)
            known.insert(e.address, e.join);
        if (known.size() > MaxControllers) {
            *error = QStringLiteral("%1: more than %2 controllers: a scenario holds at most %2").arg(what).arg(MaxControllers);
            return false;
        }
        events << e;
    }
    return true;
}
