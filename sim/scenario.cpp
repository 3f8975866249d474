#include "scenario.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

QString yesNo(const QJsonObject &o, const char *key, const QString &fallback, QString *error)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isUndefined())
        return fallback;
    if (v.isBool())
        return v.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    if (v.isString())
        return v.toString();
    *error = QStringLiteral("\"%1\" must be true, false or a text").arg(QLatin1String(key));
    return fallback;
}

QString text(const QJsonObject &o, const char *key, const QString &fallback)
{
    const QJsonValue v = o.value(QLatin1String(key));
    return v.isString() ? v.toString() : fallback;
}

bool parseFault(const QJsonObject &o, Fault *f, QString *error)
{
    f->match = o.value(QLatin1String("match")).toString();
    if (f->match.isEmpty()) {
        *error = QStringLiteral("a fault needs a \"match\" text");
        return false;
    }
    const QString action = text(o, "action", QStringLiteral("normal"));
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
    else {
        *error = QStringLiteral("unknown fault action \"%1\"").arg(action);
        return false;
    }
    f->text = text(o, "text", QString());
    f->delayMs = o.value(QLatin1String("delay_ms")).toInt(0);
    f->times = o.value(QLatin1String("times")).toInt(0);
    if (f->delayMs < 0 || f->times < 0) {
        *error = QStringLiteral("\"delay_ms\" and \"times\" must not be negative");
        return false;
    }
    return true;
}

bool parseController(const QJsonObject &o, ControllerConfig *c, QString *error)
{
    c->address = text(o, "address", QString());
    if (!isLoopbackAddress(c->address)) {
        *error = QStringLiteral("controller address \"%1\" is not a 127.x.y.z address").arg(c->address);
        return false;
    }
    c->hostname = text(o, "hostname", c->address);
    c->model = text(o, "model", c->model);
    c->protocol = text(o, "protocol", c->protocol);
    c->version = text(o, "version", c->version);
    if (c->version.startsWith(QLatin1Char('v')))
        c->version.remove(0, 1);
    c->access = text(o, "access", c->access);
    c->canSlave = yesNo(o, "can_slave", c->canSlave, error);
    c->online = o.value(QLatin1String("online")).toBool(true);
    c->offlineAfterMs = int(o.value(QLatin1String("offline_after_s")).toDouble(0) * 1000);
    c->unplugOnSignal = o.value(QLatin1String("unplug_on_signal")).toBool(false);
    c->scanVisible = o.value(QLatin1String("scan_visible")).toBool(true);
    c->master = o.value(QLatin1String("master")).toBool(false);
    c->cascadeAvailable = yesNo(o, "cascade_available", c->cascadeAvailable, error);
    c->configChangeable = yesNo(o, "config_changeable", c->configChangeable, error);
    c->scanSlavesLan = yesNo(o, "scan_slaves_lan", c->scanSlavesLan, error);
    c->wolSlaves = yesNo(o, "wol_slaves", c->wolSlaves, error);
    c->scanDurationMs = o.value(QLatin1String("scan_duration_ms")).toInt(c->scanDurationMs);
    for (const QJsonValue &v : o.value(QLatin1String("connected")).toArray()) {
        if (!isLoopbackAddress(v.toString())) {
            *error = QStringLiteral("connected slave \"%1\" is not a 127.x.y.z address").arg(v.toString());
            return false;
        }
        c->connected << v.toString();
    }
    for (const QJsonValue &v : o.value(QLatin1String("faults")).toArray()) {
        Fault f;
        if (!parseFault(v.toObject(), &f, error))
            return false;
        c->faults << f;
    }
    return error->isEmpty();
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
    QSet<QString> seen;
    int masters = 0;
    for (const QJsonValue &v : doc.object().value(QLatin1String("controllers")).toArray()) {
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
