#include "scriptediomanager.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {
QString vformat(const char *format, va_list ap)
{
    char buf[1024];
    std::vsnprintf(buf, sizeof buf, format, ap);
    return QString::fromLatin1(buf);
}
} // namespace

void ScriptedIOManager::answer(const QString &request, const QByteArray &text, int result)
{
    Reply r;
    r.result = result;
    r.text = text;
    m_standing.insert(request, r);
}

void ScriptedIOManager::answerInt(const QString &request, int value, int result)
{
    Reply r;
    r.result = result;
    r.value = value;
    m_standing.insert(request, r);
}

void ScriptedIOManager::fail(const QString &request, int result)
{
    Reply r;
    r.result = result;
    r.writeNothing = true;
    m_standing.insert(request, r);
}

void ScriptedIOManager::queue(const QString &request, const Reply &reply)
{
    m_queued[request].enqueue(reply);
}

void ScriptedIOManager::queueInt(const QString &request, int value, int result)
{
    Reply r;
    r.result = result;
    r.value = value;
    queue(request, r);
}

ScriptedIOManager::Reply ScriptedIOManager::lookup(const QString &request)
{
    auto q = m_queued.find(request);
    if (q != m_queued.end() && !q->isEmpty())
        return q->dequeue();
    auto s = m_standing.constFind(request);
    if (s != m_standing.constEnd())
        return *s;
    return fallback;
}

void ScriptedIOManager::writeAnswer(char *answer, const Reply &r)
{
    if (!answer || r.writeNothing)
        return;
    const int n = qMin(r.text.size(), 199);
    std::memcpy(answer, r.text.constData(), size_t(n));
    answer[n] = '\0';
}

QStringList ScriptedIOManager::requests() const
{
    QStringList out;
    for (const QString &l : log)
        if (!l.startsWith(QLatin1String("msg ")))
            out << l;
    return out;
}

QStringList ScriptedIOManager::messages() const
{
    QStringList out;
    for (const QString &l : log)
        if (l.startsWith(QLatin1String("msg ")))
            out << l.mid(4);
    return out;
}

QStringList ScriptedIOManager::errors() const
{
    QStringList out;
    const QString prefix = QStringLiteral("standard|VESTRAL|1|");
    for (const QString &m : messages())
        if (m.startsWith(prefix))
            out << m.mid(prefix.size());
    return out;
}

int ScriptedIOManager::set_timeout(int a, int b, int c)
{
    log << QStringLiteral("timeout %1,%2,%3").arg(a).arg(b).arg(c);
    return 0;
}

int ScriptedIOManager::send_command(char *answer, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const QString req = vformat(format, ap);
    va_end(ap);
    log << QStringLiteral("cmd ") + req;
    const Reply r = lookup(req);
    writeAnswer(answer, r);
    return r.result;
}

int ScriptedIOManager::send_line(char *answer, const char *line)
{
    return send_command(answer, "%s", line);
}

int ScriptedIOManager::get_parameter(char *answer, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const QString req = vformat(format, ap);
    va_end(ap);
    log << QStringLiteral("get ") + req;
    const Reply r = lookup(req);
    writeAnswer(answer, r);
    return r.result;
}

int ScriptedIOManager::get_parameter_int(int *value, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const QString req = vformat(format, ap);
    va_end(ap);
    log << QStringLiteral("getint ") + req;
    const Reply r = lookup(req);
    if (value && !r.writeNothing)
        *value = r.value;
    return r.result;
}

int ScriptedIOManager::get_parameter_double(double *value, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const QString req = vformat(format, ap);
    va_end(ap);
    log << QStringLiteral("getdouble ") + req;
    const Reply r = lookup(req);
    if (value && !r.writeNothing)
        *value = r.value;
    return r.result;
}

int ScriptedIOManager::set_parameter(const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const QString req = vformat(format, ap);
    va_end(ap);
    log << QStringLiteral("set ") + req;
    return lookup(req).result;
}

int ScriptedIOManager::set_parameter_int(int value, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const QString req = vformat(format, ap) + QStringLiteral(" %1").arg(value);
    va_end(ap);
    log << QStringLiteral("set ") + req;
    return lookup(req).result;
}

void ScriptedIOManager::send_message(const char *receiver, const char *sender, int type,
                                     const char *text)
{
    log << QStringLiteral("msg %1|%2|%3|%4")
               .arg(QString::fromLatin1(receiver), QString::fromLatin1(sender))
               .arg(type)
               .arg(QString::fromLatin1(text));
}
