// SPDX-License-Identifier: MIT
#include "hostiomanager.h"

#include <QElapsedTimer>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "hostprotocol.h"
#include "vx_udptcp.h"

using namespace HostProtocol;

namespace {

// The socket library's TCP sends do not raise SIGPIPE, but a module may write
// to sockets of its own: a connection a peer has closed must give an error
// there too, never end the host.
void ignoreSigpipe()
{
    static const bool done = [] {
        std::signal(SIGPIPE, SIG_IGN);
        return true;
    }();
    (void)done;
}

bool format(std::string *out, const char *fmt, va_list args)
{
    if (!fmt)
        return false;
    char buf[MaxRequestLength + 2];
    const int n = std::vsnprintf(buf, sizeof buf, fmt, args);
    if (n < 0 || std::size_t(n) >= sizeof buf)
        return false;
    out->assign(buf, std::size_t(n));
    return true;
}

// The socket library takes time-outs as unsigned microseconds; long reply
// time-outs are waited out in slices of at most one second.
unsigned slice(qint64 us)
{
    return unsigned(qBound(qint64(0), us, qint64(1000000)));
}

// Longest connect time-out a caller may ask for with set_timeout.
constexpr int MaxConnectTimeoutMs = 60000;

} // namespace

HostIOManager::HostIOManager(QObject *parent) : QObject(parent)
{
    ignoreSigpipe();
}

HostIOManager::~HostIOManager()
{
    drop();
}

bool HostIOManager::is_connected() const
{
    return m_sock != nullptr;
}

// A module sets a long reply time-out right before a request that may take
// the controller long (adding or removing a slave). It holds for the next
// request only; then the host's own time-outs apply again, so that a
// controller that falls silent later costs each request DefaultReplyTimeoutMs,
// not the module's long one. 0 (or less) means the host's own. Requests are
// never repeated, so retries is ignored.
int HostIOManager::set_timeout(int connect_ms, int reply_ms, int retries)
{
    Q_UNUSED(retries)
    m_nextConnectTimeoutMs = qBound(0, connect_ms, MaxConnectTimeoutMs);
    m_nextReplyTimeoutMs = qMax(0, reply_ms);
    return Ok;
}

QString HostIOManager::controller_address() const
{
    return m_address;
}

int HostIOManager::open_connection(const char *address, unsigned short port)
{
    drop();
    m_address = QString::fromLatin1(address ? address : "");
    m_port = port ? port : DefaultPort;
    m_sinceConnectFailed.invalidate(); // asked for explicitly: no hold-off
    return ensureConnected(ConnectTimeoutMs) ? Ok : NotConnected;
}

void HostIOManager::close_connection()
{
    drop();
    m_address.clear();
}

int HostIOManager::request_count() const
{
    return m_requestCount;
}

void HostIOManager::set_request_logging(bool on)
{
    m_logging = on;
}

QString HostIOManager::last_error() const
{
    return m_lastError;
}

void HostIOManager::send_message(const char *receiver, const char *sender, int type, const char *text)
{
    emit messagePosted(QString::fromLatin1(receiver ? receiver : ""),
                       QString::fromLatin1(sender ? sender : ""), type,
                       QString::fromLatin1(text ? text : ""));
}

// ---- Requests -----------------------------------------------------------------

int HostIOManager::send_command(char *answer, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    std::string reply;
    const int rc = vrequest(Kind::Command, &reply, format, args);
    va_end(args);
    if (rc == Ok || rc == ErrorReply)
        copyAnswer(answer, reply);
    return rc;
}

int HostIOManager::get_parameter(char *answer, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    std::string value;
    const int rc = vrequest(Kind::Read, &value, format, args);
    va_end(args);
    if (rc == Ok)
        copyAnswer(answer, value);
    return rc;
}

int HostIOManager::get_parameter_int(int *value, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text;
    int rc = vrequest(Kind::Read, &text, format, args);
    va_end(args);
    int v = 0;
    if (rc == Ok && !parseInt(text, &v))
        rc = fail(Malformed, tr("not an integer: \"%1\"").arg(QString::fromStdString(text)));
    if (rc == Ok && value)
        *value = v;
    return rc;
}

int HostIOManager::set_parameter(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    std::string reply;
    const int rc = vrequest(Kind::Write, &reply, format, args);
    va_end(args);
    return rc;
}

int HostIOManager::vrequest(Kind kind, std::string *result, const char *fmt, va_list args)
{
    std::string text;
    if (!format(&text, fmt, args))
        return fail(BadRequest, tr("request cannot be formatted or is too long"));
    return request(kind, text, result);
}

// Sends one request and judges its reply. For a read, *result is the value;
// for a command, the whole reply line; for a write, the reply line.
int HostIOManager::request(Kind kind, const std::string &text, std::string *result)
{
    const std::string line = kind == Kind::Read    ? readRequest(text)
                             : kind == Kind::Write ? writeRequest(text)
                                                   : text;
    const int replyTimeoutMs = m_nextReplyTimeoutMs > 0 ? m_nextReplyTimeoutMs : DefaultReplyTimeoutMs;
    const int connectTimeoutMs = m_nextConnectTimeoutMs > 0 ? m_nextConnectTimeoutMs : ConnectTimeoutMs;
    m_nextReplyTimeoutMs = m_nextConnectTimeoutMs = 0;
    QElapsedTimer clock;
    clock.start();
    std::string reply;
    int rc = Ok;
    if (!isSendable(line))
        rc = fail(BadRequest, tr("request is empty, too long or holds a line end"));
    else
        rc = exchange(line, &reply, replyTimeoutMs, connectTimeoutMs);

    if (rc == Ok) {
        Verdict v = Verdict::Ok;
        switch (kind) {
        case Kind::Read:
            v = judgeReadReply(reply, text, result);
            break;
        case Kind::Write:
            v = judgeWriteReply(reply);
            *result = reply;
            break;
        case Kind::Command:
            v = judgeCommandReply(reply);
            *result = reply;
            break;
        }
        if (v == Verdict::Error)
            rc = fail(ErrorReply, QString::fromLatin1(reply.c_str()));
        else if (v == Verdict::Malformed) {
            // Perhaps the answer to another request: the stream may be out of step.
            drop();
            rc = fail(Malformed, tr("unexpected reply: \"%1\"").arg(QString::fromLatin1(reply.c_str())));
        } else
            m_lastError.clear();
    }
    if (m_logging)
        emit requestLogged(QString::fromLatin1(line.c_str()), QString::fromLatin1(reply.c_str()), rc,
                           clock.nsecsElapsed() / 1000);
    return rc;
}

// Sends one line and waits for one reply line, all within the reply
// time-out. Any failure drops the connection, so that a late reply can never
// be taken for the answer to a later request; the next request reconnects.
// Bytes that are waiting before the request is sent were never asked for:
// the connection is out of step (or the controller closed it) and is
// replaced by a fresh one first.
int HostIOManager::exchange(const std::string &line, std::string *reply, int replyTimeoutMs, int connectTimeoutMs)
{
    ++m_requestCount;
    std::string unasked;
    if (m_sock && !isQuiet(&unasked))
        drop();
    const bool fresh = !m_sock;
    if (!ensureConnected(connectTimeoutMs))
        return NotConnected;
    if (fresh && !isQuiet(&unasked)) {
        // A controller that refuses a connection says why and hangs up.
        drop();
        return fail(NotConnected, unasked.empty() ? tr("the controller closed the connection")
                                                  : tr("the controller sent \"%1\" before any request")
                                                        .arg(QString::fromLatin1(unasked.c_str()).trimmed()));
    }

    QElapsedTimer clock;
    clock.start();
    const qint64 limitUs = qint64(replyTimeoutMs) * 1000;
    const std::string framed = line + '\n';
    const int sent = vx_tcp_send(m_sock, framed.data(), int(framed.size()), slice(limitUs));
    if (sent != VX_OK) {
        drop();
        return sent == VX_TIMEOUT ? fail(Timeout, tr("send timed out"))
                                  : fail(NotConnected, tr("connection lost while sending"));
    }

    std::string buffer;
    for (;;) {
        if (takeLine(&buffer, reply)) {
            if (!buffer.empty()) {
                // More than one line for one request: the stream is out of step.
                drop();
                return fail(Malformed, tr("more than one reply line"));
            }
            return Ok;
        }
        if (buffer.size() > MaxReplyLength) {
            drop();
            return fail(Malformed, tr("reply line too long"));
        }
        const qint64 leftUs = limitUs - clock.nsecsElapsed() / 1000;
        if (leftUs <= 0) {
            drop();
            return fail(Timeout, tr("no reply within %1 ms").arg(replyTimeoutMs));
        }
        char chunk[1024];
        const int n = vx_tcp_receive(m_sock, chunk, int(sizeof chunk), slice(leftUs));
        if (n > 0) {
            buffer.append(chunk, std::size_t(n));
            continue;
        }
        if (n == VX_TIMEOUT && clock.nsecsElapsed() / 1000 < limitUs)
            continue; // only a slice of the time-out has passed
        drop();
        if (n == VX_TIMEOUT)
            return fail(Timeout, tr("no reply within %1 ms").arg(replyTimeoutMs));
        return fail(NotConnected, tr("connection lost while waiting for the reply"));
    }
}

bool HostIOManager::ensureConnected(int timeoutMs)
{
    if (m_sock)
        return true;
    if (m_address.isEmpty()) {
        fail(NotConnected, tr("no controller address"));
        return false;
    }
    if (m_sinceConnectFailed.isValid() && !m_sinceConnectFailed.hasExpired(ReconnectHoldOffMs)) {
        fail(NotConnected, tr("not connected (%1); next attempt in %2 ms")
                               .arg(m_connectError)
                               .arg(ReconnectHoldOffMs - m_sinceConnectFailed.elapsed()));
        return false;
    }
    const unsigned int ip = vx_ip_name2ip(m_address.toLatin1().constData());
    vx_ip_socket_type sock = nullptr;
    const int rc = ip == 0 ? VX_ERROR : vx_tcp_client_connect(&sock, ip, m_port, unsigned(timeoutMs) * 1000u);
    if (rc == VX_OK) {
        m_sock = sock;
        m_sinceConnectFailed.invalidate();
        return true;
    }
    if (ip == 0)
        m_connectError = tr("unknown address");
    else if (rc == VX_TIMEOUT)
        m_connectError = tr("no answer within %1 ms").arg(timeoutMs);
    else
        m_connectError = QString::fromLocal8Bit(std::strerror(errno));
    m_sinceConnectFailed.start();
    fail(NotConnected, tr("connect: %1").arg(m_connectError));
    return false;
}

// True when nothing is waiting on the connection; otherwise *unasked holds
// what was there (empty when the controller closed the connection).
bool HostIOManager::isQuiet(std::string *unasked)
{
    char chunk[256];
    const int n = vx_tcp_receive(m_sock, chunk, int(sizeof chunk), 0);
    if (n == VX_TIMEOUT)
        return true;
    unasked->assign(chunk, n > 0 ? std::size_t(n) : 0);
    return false;
}

void HostIOManager::drop()
{
    if (m_sock) {
        vx_tcp_exit(m_sock);
        m_sock = nullptr;
    }
}

int HostIOManager::fail(int code, const QString &why)
{
    m_lastError = why;
    return code;
}

BackendVersions readBackendVersions(IOManager *iom)
{
    char answer[AnswerSize] = {0};
    QString model;
    VersionInfo protocol, system;
    if (iom->get_parameter(answer, "system model") == HostIOManager::Ok)
        model = QString::fromLatin1(answer);
    if (iom->get_parameter(answer, "system protocol") == HostIOManager::Ok)
        protocol = VersionInfo::fromString(QString::fromLatin1(answer));
    if (iom->get_parameter(answer, "system version") == HostIOManager::Ok)
        system = VersionInfo::fromString(QString::fromLatin1(answer));
    return BackendVersions(system, protocol, system, model);
}
