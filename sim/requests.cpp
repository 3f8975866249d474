// SPDX-License-Identifier: MIT
#include "requests.h"

#include <QHash>

#include "eligibility.h"

using SimProtocol::errorReply;
using SimProtocol::okReply;

namespace {

const QString Yes = QString::fromLatin1(ControllerProtocol::Yes);
const QString No = QString::fromLatin1(ControllerProtocol::No);

std::string str(const QString &s)
{
    return s.toStdString();
}

bool isYesNo(const QString &v)
{
    return v == Yes || v == No;
}

// ---- Reads ----------------------------------------------------------------------
// A read is "<group> <name>" and, for some, an argument after it. A handler
// gives the value, or sets *error and gives nothing.

using ReadHandler = QString (*)(RequestContext &c, const QString &arg, std::string *error);

struct ReadEntry
{
    bool takesArgument;
    ReadHandler handler;
};

QString scannedDescription(const ScanEngine::Probed &p)
{
    return QStringLiteral("%1 %2 %3")
        .arg(p.values.value(QStringLiteral("system hostname")), p.values.value(QStringLiteral("system model")),
             p.values.value(QStringLiteral("system version")));
}

// Whether the probe showed a controller that may become a slave and is not one yet.
QString scannedAvailable(RequestContext &c, const ScanEngine::Probed &p)
{
    const bool ok = mayBecomeSlave(p.values.value(QStringLiteral("system access")),
                                   p.values.value(QStringLiteral("system version")),
                                   p.values.value(QStringLiteral("system can_slave")))
                    && !c.cascade.connected.contains(p.ip);
    return ok ? Yes : No;
}

// The list position (from 0) that the argument, counted from 1, names in a
// list of count entries; -1 with *error set when it names none.
int entryIndex(const QString &arg, int count, std::string *error)
{
    int index = 0;
    if (SimProtocol::parseIndex(str(arg), &index) && index <= count)
        return index - 1;
    *error = "no such entry: " + str(arg);
    return -1;
}

const ScanEngine::Probed *scanEntry(RequestContext &c, const QString &ip, std::string *error)
{
    const ScanEngine::Probed *p = c.scan.isRunning() ? nullptr : c.scan.find(ip);
    if (!p)
        *error = "not in the scan result: " + str(ip);
    return p;
}

const QHash<QString, ReadEntry> &readTable()
{
    static const QHash<QString, ReadEntry> table = {
        {"system version", {false, [](RequestContext &c, const QString &, std::string *) {
             return QLatin1Char('v') + c.self.version; }}},
        {"system access", {false, [](RequestContext &c, const QString &, std::string *) { return c.self.access; }}},
        {"system can_slave", {false, [](RequestContext &c, const QString &, std::string *) { return c.self.canSlave; }}},
        {"system hostname", {false, [](RequestContext &c, const QString &, std::string *) { return c.self.hostname; }}},
        {"system model", {false, [](RequestContext &c, const QString &, std::string *) { return c.self.model; }}},
        {"system protocol", {false, [](RequestContext &c, const QString &, std::string *) { return c.self.protocol; }}},
        {"config is_changeable", {false, [](RequestContext &c, const QString &, std::string *) {
             return c.self.configChangeable; }}},
        {"cascade available", {false, [](RequestContext &c, const QString &, std::string *) {
             return c.self.cascadeAvailable; }}},
        {"cascade scan_slaves_lan", {false, [](RequestContext &c, const QString &, std::string *) {
             return c.cascade.scanLan; }}},
        {"cascade wol_slaves", {false, [](RequestContext &c, const QString &, std::string *) { return c.cascade.wol; }}},
        {"cascade number_of_connected_slaves", {false, [](RequestContext &c, const QString &, std::string *) {
             return QString::number(c.cascade.connected.size()); }}},
        {"cascade number_of_scanned_slaves", {false, [](RequestContext &c, const QString &, std::string *) {
             return QString::number(c.scan.count()); }}},
        {"cascade connected_slave", {true, [](RequestContext &c, const QString &arg, std::string *error) {
             const int index = entryIndex(arg, c.cascade.connected.size(), error);
             return index < 0 ? QString() : c.cascade.connected.at(index); }}},
        {"cascade scanned_slave", {true, [](RequestContext &c, const QString &arg, std::string *error) {
             const int index = entryIndex(arg, c.scan.count(), error);
             return index < 0 ? QString() : c.scan.entry(index).ip; }}},
        {"cascade connected_slave_available", {true, [](RequestContext &c, const QString &arg, std::string *) {
             const ControllerConfig *s = c.lan.find(arg);
             return c.cascade.connected.contains(arg) && s && s->online ? Yes : No; }}},
        {"system hostname_slave", {true, [](RequestContext &c, const QString &arg, std::string *error) {
             const ControllerConfig *s = c.lan.find(arg);
             if (!s)
                 *error = "unknown controller " + str(arg);
             return s ? s->hostname : QString(); }}},
        {"cascade scanned_slave_controller", {true, [](RequestContext &c, const QString &arg, std::string *error) {
             const ScanEngine::Probed *p = scanEntry(c, arg, error);
             return p ? scannedDescription(*p) : QString(); }}},
        {"cascade scanned_slave_available", {true, [](RequestContext &c, const QString &arg, std::string *error) {
             const ScanEngine::Probed *p = scanEntry(c, arg, error);
             return p ? scannedAvailable(c, *p) : QString(); }}},
    };
    return table;
}

std::string answerRead(RequestContext &c, const QString &name)
{
    const QString key = name.section(QLatin1Char(' '), 0, 1);
    const QString arg = name.section(QLatin1Char(' '), 2);
    const auto it = readTable().constFind(key);
    if (it == readTable().constEnd() || it->takesArgument == arg.isEmpty())
        return errorReply("unknown parameter " + str(name));
    std::string error;
    const QString value = it->handler(c, arg, &error);
    return error.empty() ? SimProtocol::valueReply(str(name), str(value)) : errorReply(error);
}

// ---- Writes ---------------------------------------------------------------------
// The writable parameters, each a yes/no option of the cascade state.

using WriteTarget = QString CascadeState::*;

const QHash<QString, WriteTarget> &writeTable()
{
    static const QHash<QString, WriteTarget> table = {
        {"cascade scan_slaves_lan", &CascadeState::scanLan},
        {"cascade wol_slaves", &CascadeState::wol},
    };
    return table;
}

std::string answerWrite(RequestContext &c, const QString &name, const QString &value)
{
    const auto it = writeTable().constFind(name);
    if (it == writeTable().constEnd())
        return errorReply("parameter cannot be written: " + str(name));
    if (!isYesNo(value))
        return errorReply("value must be yes or no: " + str(value));
    if (c.self.configChangeable == No)
        return errorReply("configuration is locked");
    c.cascade.*(*it) = value;
    return okReply();
}

// ---- Commands -------------------------------------------------------------------
// "<group> <verb>" and, for all but the scan, one argument without blanks.

using CommandHandler = std::string (*)(RequestContext &c, const QString &arg);

struct CommandEntry
{
    bool takesArgument;
    CommandHandler handler;
};

std::string scanSlaves(RequestContext &c, const QString &)
{
    if (c.self.cascadeAvailable != Yes)
        return errorReply("cascade not available");
    if (c.scan.isRunning())
        return okReply(); // the running scan goes on
    const bool lan = c.cascade.scanLan == Yes;
    QStringList targets;
    if (lan)
        targets = c.lan.scanReach(c.self.address);
    targets << c.cascade.handEntered; // the scan probes each target once
    c.scan.start(true, targets, lan ? c.self.scanDurationMs : 0);
    return okReply();
}

// A hostname is looked up among the controllers this one knows.
std::string addScannedSlave(RequestContext &c, const QString &arg)
{
    const ControllerConfig *s = c.lan.find(arg);
    if (!s)
        s = c.lan.findByHostname(arg);
    if (!s)
        return errorReply("unknown controller " + str(arg));
    if (s->address == c.self.address)
        return errorReply("a controller cannot be its own slave");
    if (!c.cascade.handEntered.contains(s->address))
        c.cascade.handEntered << s->address;
    if (c.scan.isRunning())
        c.scan.addTarget(s->address);
    else
        c.scan.start(false, QStringList() << s->address, 0);
    return okReply();
}

std::string addSlave(RequestContext &c, const QString &arg)
{
    if (c.self.configChangeable == No)
        return errorReply("configuration is locked");
    const ControllerConfig *s = c.lan.find(arg);
    if (!s || !s->online)
        return errorReply("controller not reachable: " + str(arg));
    if (s->address == c.self.address || c.cascade.connected.contains(arg))
        return errorReply("already connected: " + str(arg));
    if (!mayBecomeSlave(s->access, s->version, s->canSlave))
        return errorReply("controller cannot become a slave: " + str(arg));
    c.cascade.connected << arg;
    return okReply();
}

std::string subSlave(RequestContext &c, const QString &arg)
{
    if (c.self.configChangeable == No)
        return errorReply("configuration is locked");
    if (!c.cascade.connected.removeOne(arg))
        return errorReply("not a connected slave: " + str(arg));
    return okReply();
}

const QHash<QString, CommandEntry> &commandTable()
{
    static const QHash<QString, CommandEntry> table = {
        {"cascade scan_slaves", {false, scanSlaves}},
        {"cascade add_scanned_slave", {true, addScannedSlave}},
        {"cascade add_slave", {true, addSlave}},
        {"cascade sub_slave", {true, subSlave}},
    };
    return table;
}

std::string answerCommand(RequestContext &c, const QString &command)
{
    const QString key = command.section(QLatin1Char(' '), 0, 1);
    const QString arg = command.section(QLatin1Char(' '), 2);
    const auto it = commandTable().constFind(key);
    if (it == commandTable().constEnd() || it->takesArgument == arg.isEmpty() || arg.contains(QLatin1Char(' ')))
        return errorReply("unknown command " + str(command));
    return it->handler(c, arg);
}

} // namespace

std::string answerRequest(RequestContext &c, const SimProtocol::Request &r)
{
    const QString name = QString::fromStdString(r.name);
    switch (r.kind) {
    case SimProtocol::Kind::Read:
        return answerRead(c, name);
    case SimProtocol::Kind::Write:
        return answerWrite(c, name, QString::fromStdString(r.value));
    case SimProtocol::Kind::Command:
        return answerCommand(c, name);
    case SimProtocol::Kind::Invalid:
        break;
    }
    return errorReply(r.error);
}
