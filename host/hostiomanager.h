// SPDX-License-Identifier: MIT
// The host's IOManager: carries the modules' requests to the controller over
// one TCP connection (one request line, one reply line) and hands their
// messages to the host window.
//
// Every wait is bounded: a connect by ConnectTimeoutMs, a request by its
// reply time-out. After a connect failed, requests fail at once for
// ReconnectHoldOffMs instead of trying again, so that a silent controller
// never holds the caller in one blocking connect after another. A reply is
// only ever taken for the request it answers: bytes that arrive unasked, a
// reply that does not fit its request, a late reply or a broken line drop
// the connection, and the next request connects afresh.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <cstdarg>
#include <string>

#include "BackendVersions.h"
#include "ControllerProtocol.h"
#include "IOManager.h"

class HostIOManager : public QObject, public IOManager
{
    Q_OBJECT

public:
    // Results of the request operations (0 is success).
    enum Result {
        Ok = 0,
        Timeout = -1,      // no complete reply within the reply time-out
        NotConnected = -2, // no connection, or it broke while sending or waiting
        ErrorReply = -3,   // the controller answered "korvane error ..."
        Malformed = -4,    // a reply that does not fit the request
        BadRequest = -5    // the request could not be formatted or is too long
    };

    static constexpr int DefaultReplyTimeoutMs = 3000;
    static constexpr int ConnectTimeoutMs = 3000;
    static constexpr int ReconnectHoldOffMs = 2000;
    static constexpr unsigned short DefaultPort = ControllerProtocol::Port;

    explicit HostIOManager(QObject *parent = nullptr);
    ~HostIOManager() override;

    // IOManager
    bool is_connected() const override;
    int set_timeout(int connect_ms, int reply_ms, int retries) override;
    int send_command(char *answer, const char *format, ...) override;
    int get_parameter(char *answer, const char *format, ...) override;
    int get_parameter_int(int *value, const char *format, ...) override;
    QString controller_address() const override;
    int open_connection(const char *address, unsigned short port) override;
    void close_connection() override;
    int set_parameter(const char *format, ...) override;
    int request_count() const override;
    void set_request_logging(bool on) override;
    QString last_error() const override;
    void send_message(const char *receiver, const char *sender, int type, const char *text) override;

signals:
    // Every message a module sends (texts decoded as Latin-1).
    void messagePosted(const QString &receiver, const QString &sender, int type, const QString &text);
    // Every request while request logging is on: the line sent, the reply
    // line (empty if none), the result and how long it took.
    void requestLogged(const QString &request, const QString &reply, int result, qint64 elapsedUs);

private:
    enum class Kind { Read, Write, Command };

    int request(Kind kind, const std::string &text, std::string *result);
    int vrequest(Kind kind, std::string *result, const char *format, va_list args);
    int exchange(const std::string &line, std::string *reply, int replyTimeoutMs, int connectTimeoutMs);
    bool ensureConnected(int timeoutMs);
    bool isQuiet(std::string *unasked);
    void drop();
    int fail(int code, const QString &why);

    void *m_sock = nullptr; // vx_ip_socket_type of the open connection
    QString m_address;
    unsigned short m_port = DefaultPort;
    // set_timeout's values for the next request only; 0: the host's own.
    int m_nextReplyTimeoutMs = 0;
    int m_nextConnectTimeoutMs = 0;
    QElapsedTimer m_sinceConnectFailed; // valid after a failed connect
    QString m_connectError;             // why the last connect failed
    bool m_logging = false;
    int m_requestCount = 0;
    QString m_lastError;
};

// Reads the controller's model ("system model"), protocol version ("system
// protocol") and system version ("system version"). What cannot be read stays
// empty (model) or 0.0 (versions), so modules see an unknown controller.
BackendVersions readBackendVersions(IOManager *iom);
