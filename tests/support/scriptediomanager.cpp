// SPDX-License-Identifier: MIT
#include "scriptediomanager.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ControllerProtocol.h"

// Formats the variadic request into `request`.
#define FORMAT_REQUEST(format)                                                                                \
    char buf[1024];                                                                                           \
    va_list ap;                                                                                               \
    va_start(ap, format);                                                                                     \
    std::vsnprintf(buf, sizeof buf, format, ap);                                                              \
    va_end(ap);                                                                                               \
    const QString request = QString::fromLatin1(buf)

namespace {
void writeText(char *answer, const ScriptedIOManager::Reply &r)
{
    if (!answer || r.writeNothing)
        return;
    const int n = qMin(r.text.size(), ControllerProtocol::MaxAnswerLength);
    std::memcpy(answer, r.text.constData(), size_t(n));
    answer[n] = '\0';
}
} // namespace

void ScriptedIOManager::answer(const QString &request, const QByteArray &text, int result)
{
    m_standing.insert(request, Reply{result, text, 0, false});
}

void ScriptedIOManager::answerInt(const QString &request, int value, int result)
{
    m_standing.insert(request, Reply{result, QByteArray(), value, false});
}

void ScriptedIOManager::fail(const QString &request, int result)
{
    m_standing.insert(request, Reply{result, QByteArray(), 0, true});
}

void ScriptedIOManager::queueInt(const QString &request, int value, int result)
{
    m_queued[request].enqueue(Reply{result, QByteArray(), value, result != 0});
}

void ScriptedIOManager::apply(const QStringList &overrides)
{
    for (const QString &o : overrides) {
        const QString rest = o.section(QLatin1Char('='), 1);
        answer(o.section(QLatin1Char('='), 0, 0), rest.section(QLatin1Char('|'), 1).toLatin1(),
               rest.section(QLatin1Char('|'), 0, 0).toInt());
    }
}

void ScriptedIOManager::scriptCascade(const QList<Slave> &connected, const QList<Slave> &scanned,
                                      const QByteArray &scanLan, const QByteArray &wol)
{
    answer(QStringLiteral("config is_changeable"), "yes");
    answer(QStringLiteral("cascade available"), "yes");
    answer(QStringLiteral("cascade scan_slaves_lan"), scanLan);
    answer(QStringLiteral("cascade wol_slaves"), wol);
    answer(QStringLiteral("korvane cascade scan_slaves"), "korvane ok");
    for (const char *w : {"scan_slaves_lan yes", "scan_slaves_lan no", "wol_slaves yes", "wol_slaves no"})
        answer(QStringLiteral("cascade ") + QLatin1String(w), QByteArray());
    answerInt(QStringLiteral("cascade number_of_connected_slaves"), connected.size());
    answerInt(QStringLiteral("cascade number_of_scanned_slaves"), scanned.size());
    for (int i = 0; i < connected.size(); ++i) {
        const Slave &s = connected[i];
        answer(QString::asprintf("cascade connected_slave d%02d", i + 1), s.ip.toLatin1());
        answer(QStringLiteral("system hostname_slave ") + s.ip, s.host.toLatin1());
        answer(QStringLiteral("cascade connected_slave_available ") + s.ip, s.available);
    }
    for (int i = 0; i < scanned.size(); ++i) {
        const Slave &s = scanned[i];
        answer(QString::asprintf("cascade scanned_slave d%02d", i + 1), s.ip.toLatin1());
        answer(QStringLiteral("cascade scanned_slave_controller ") + s.ip, s.host.toLatin1() + " VESTRAL v2.7.0");
        answer(QStringLiteral("cascade scanned_slave_available ") + s.ip, s.available);
    }
    for (const Slave &s : connected + scanned)
        for (const char *c : {"add_slave ", "sub_slave ", "add_scanned_slave "})
            answer(QStringLiteral("korvane cascade ") + QLatin1String(c) + s.ip, "korvane ok");
}

QStringList ScriptedIOManager::requests() const
{
    QStringList out;
    for (const QString &l : log)
        if (!l.startsWith(QLatin1String("msg ")))
            out << l;
    return out;
}

QStringList ScriptedIOManager::errors() const
{
    const QString prefix = QStringLiteral("msg standard|VESTRAL|1|");
    QStringList out;
    for (const QString &l : log)
        if (l.startsWith(prefix))
            out << l.mid(prefix.size());
    return out;
}

ScriptedIOManager::Reply ScriptedIOManager::take(const QString &kind, const QString &request)
{
    log << kind + QLatin1Char(' ') + request;
    auto q = m_queued.find(request);
    if (q != m_queued.end() && !q->isEmpty())
        return q->dequeue();
    return m_standing.value(request, fallback);
}

int ScriptedIOManager::set_timeout(int a, int b, int c)
{
    log << QStringLiteral("timeout %1,%2,%3").arg(a).arg(b).arg(c);
    return 0;
}

int ScriptedIOManager::send_command(char *answer, const char *format, ...)
{
    FORMAT_REQUEST(format);
    const Reply r = take(QStringLiteral("cmd"), request);
    writeText(answer, r);
    return r.result;
}

int ScriptedIOManager::get_parameter(char *answer, const char *format, ...)
{
    FORMAT_REQUEST(format);
    const Reply r = take(QStringLiteral("get"), request);
    writeText(answer, r);
    return r.result;
}

int ScriptedIOManager::get_parameter_int(int *value, const char *format, ...)
{
    FORMAT_REQUEST(format);
    const Reply r = take(QStringLiteral("getint"), request);
    if (value && !r.writeNothing)
        *value = r.value;
    return r.result;
}

int ScriptedIOManager::set_parameter(const char *format, ...)
{
    FORMAT_REQUEST(format);
    return take(QStringLiteral("set"), request).result;
}

void ScriptedIOManager::send_message(const char *receiver, const char *sender, int type, const char *text)
{
    log << QStringLiteral("msg %1|%2|%3|%4")
               .arg(QLatin1String(receiver), QLatin1String(sender), QString::number(type), QLatin1String(text));
}
