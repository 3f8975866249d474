#include "scenario.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

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
        const QJsonValue v = m_o.value(QLatin1String(key));
        if (v.isUndefined() || !ok())
            return fallback;
        if (!v.isString())
            return fail(key, "must be a text"), fallback;
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
        const QJsonValue v = m_o.value(QLatin1String(key));
        if (v.isBool() && ok())
            return v.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
        if (!v.isUndefined() && !v.isString() && ok())
            return fail(key, "must be true, false or a text"), fallback;
        return text(key, fallback);
    }

    bool flag(const char *key, bool fallback)
    {
        const QJsonValue v = m_o.value(QLatin1String(key));
        if (v.isUndefined() || !ok())
            return fallback;
        if (!v.isBool())
            return fail(key, "must be true or false"), fallback;
        return v.toBool();
    }

    // A whole number from 0 to max (scale: the JSON value is in units of
    // 1/scale, e.g. seconds read as milliseconds with scale 1000).
    int number(const char *key, int fallback, int max, int scale = 1)
    {
        const QJsonValue v = m_o.value(QLatin1String(key));
        if (v.isUndefined() || !ok())
            return fallback;
        const double d = v.toDouble(-1) * scale;
        if (!v.isDouble() || d < 0 || d > max || (scale == 1 && d != double(qint64(d))))
            return fail(key, qPrintable(QStringLiteral("must be a whole number from 0 to %1").arg(max))), fallback;
        return int(d);
    }

    QJsonArray array(const char *key)
    {
        const QJsonValue v = m_o.value(QLatin1String(key));
        if (v.isUndefined() || !ok())
            return QJsonArray();
        if (!v.isArray())
            return fail(key, "must be a list"), QJsonArray();
        return v.toArray();
    }

private:
    void fail(const char *key, const char *why)
    {
        *m_error = QStringLiteral("%1: \"%2\" %3").arg(m_what, QLatin1String(key), QLatin1String(why));
    }

    QJsonObject m_o;
    QString m_what;
    QString *m_error;
};

constexpr int MaxMs = 24 * 3600 * 1000;

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

bool parseController(const QJsonObject &o, ControllerConfig *c, QString *error)
{
    const QJsonValue address = o.value(QLatin1String("address"));
    c->address = address.toString();
    if (!isLoopbackAddress(c->address)) {
        *error = QStringLiteral("controller address \"%1\" is not a 127.x.y.z address")
                     .arg(address.isString() ? c->address : QStringLiteral("(not a text)"));
        return false;
    }
    Fields in(o, QStringLiteral("controller %1").arg(c->address), error);
    c->hostname = in.text("hostname", c->address);
    c->model = in.text("model", c->model);
    c->protocol = in.text("protocol", c->protocol);
    c->version = in.text("version", c->version);
    if (c->version.startsWith(QLatin1Char('v')))
        c->version.remove(0, 1);
    c->access = in.text("access", c->access);
    c->canSlave = in.yesNo("can_slave", c->canSlave);
    c->online = in.flag("online", true);
    c->offlineAfterMs = in.number("offline_after_s", 0, MaxMs, 1000);
    c->unplugOnSignal = in.flag("unplug_on_signal", false);
    c->scanVisible = in.flag("scan_visible", true);
    c->master = in.flag("master", false);
    c->cascadeAvailable = in.yesNo("cascade_available", c->cascadeAvailable);
    c->configChangeable = in.yesNo("config_changeable", c->configChangeable);
    c->scanSlavesLan = in.yesNo("scan_slaves_lan", c->scanSlavesLan);
    c->wolSlaves = in.yesNo("wol_slaves", c->wolSlaves);
    c->scanDurationMs = in.number("scan_duration_ms", c->scanDurationMs, MaxMs);
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

} // namespace

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
    QJsonParseError pe;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &pe);
    if (doc.isNull() || !doc.isObject()) {
        *error = QStringLiteral("not a JSON object: %1").arg(pe.errorString());
        return false;
    }
    const QJsonValue list = doc.object().value(QLatin1String("controllers"));
    if (!list.isArray()) {
        *error = QStringLiteral("\"controllers\" must be a list");
        return false;
    }
    if (list.toArray().size() > MaxControllers) {
        *error = QStringLiteral("%1 controllers: a scenario holds at most %2")
                     .arg(list.toArray().size()).arg(MaxControllers);
        return false;
    }
    QSet<QString> seen;
    int masters = 0;
    for (const QJsonValue &v : list.toArray()) {
        ControllerConfig c;
        if (!v.isObject() || !parseController(v.toObject(), &c, error)) {
            if (error->isEmpty())
                *error = QStringLiteral("every controller must be a JSON object");
            return false;
        }
        if (seen.contains(c.address)) {
            *error = QStringLiteral("address %1 is used twice").arg(c.address);
            return false;
        }
        seen.insert(c.address);
        masters += c.master ? 1 : 0;
        controllers << c;
    }
    if (masters != 1) {
        *error = QStringLiteral("a scenario needs exactly one controller with \"master\": true");
        return false;
    }
    return true;
}
