// The host's IOManager: carries the modules' requests to the controller over
// one TCP connection (one request line, one reply line) and hands their
// messages to the host window.
#pragma once

#include <QObject>
#include <QString>
#include <cstdarg>
#include <string>

#include "BackendVersions.h"
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
    static constexpr unsigned short DefaultPort = 50105;

    explicit HostIOManager(QObject *parent = nullptr);
    ~HostIOManager() override;

    int reply_timeout_ms() const { return m_replyTimeoutMs; }

    // IOManager
    bool is_connected() const override;
    int set_timeout(int connect_ms, int reply_ms, int retries) override;
    int send_command(char *answer, const char *format, ...) override;
    int send_line(char *answer, const char *line) override;
    int get_parameter(char *answer, const char *format, ...) override;
    int get_parameter_int(int *value, const char *format, ...) override;
    int get_parameter_double(double *value, const char *format, ...) override;
    QString controller_address() const override;
    int open_connection(const char *address, unsigned short port) override;
    void close_connection() override;
    int set_parameter(const char *format, ...) override;
    int set_parameter_int(int value, const char *format, ...) override;
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
    int exchange(const std::string &line, std::string *reply);
    bool ensureConnected();
    void drop();
    int fail(int code, const QString &why);

    void *m_sock = nullptr; // vx_ip_socket_type of the open connection
    QString m_address;
    unsigned short m_port = DefaultPort;
    int m_replyTimeoutMs = DefaultReplyTimeoutMs;
    int m_connectTimeoutMs = 0; // kept for the caller; the connect is the system's
    int m_retries = 0;          // kept for the caller; requests are never repeated
    bool m_logging = false;
    int m_requestCount = 0;
    QString m_lastError;
};

// Reads the controller's model ("system model"), protocol version ("system
// protocol") and system version ("system version"). What cannot be read stays
// empty (model) or 0.0 (versions), so modules see an unknown controller.
BackendVersions readBackendVersions(IOManager *iom);
