// An IOManager for tests: answers every request from a script and records
// every request, time-out change and host message in the order they happen.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QQueue>
#include <QString>
#include <QStringList>

#include "IOManager.h"

class ScriptedIOManager : public IOManager
{
public:
    // One scripted answer: the operation's result and, for text and integer
    // requests, the answer written into the caller's buffer or int.
    struct Reply
    {
        int result = 0;
        QByteArray text; // written with its NUL; cut at 199 bytes like a host would
        int value = 0;   // for get_parameter_int
        bool writeNothing = false; // on failure, leave the buffer untouched
    };

    // Kinds of recorded events, used as the prefix of each log line:
    // "get <text>", "getint <text>", "set <text>", "cmd <text>",
    // "timeout a,b,c", "msg receiver|sender|type|text".
    QStringList log;

    // Answers by the fully formatted request text. A queue answers one
    // request each and then falls back to the standing answer, if any.
    void answer(const QString &request, const QByteArray &text, int result = 0);
    void answerInt(const QString &request, int value, int result = 0);
    void fail(const QString &request, int result = 1);
    void queue(const QString &request, const Reply &reply);
    void queueInt(const QString &request, int value, int result = 0);

    // What an unscripted request gets: by default result 1 (failure).
    Reply fallback{1, QByteArray(), 0, true};

    // Convenience filters over the log.
    QStringList requests() const;    // everything but "msg" lines
    QStringList messages() const;    // "msg" lines without the prefix
    QStringList errors() const;      // texts of "standard"/"VESTRAL"/1 messages
    int count(const QString &line) const { return log.count(line); }
    void clearLog() { log.clear(); }

    // IOManager
    bool is_connected() const override { return true; }
    int set_timeout(int a, int b, int c) override;
    int send_command(char *answer, const char *format, ...) override;
    int send_line(char *answer, const char *line) override;
    int get_parameter(char *answer, const char *format, ...) override;
    int get_parameter_int(int *value, const char *format, ...) override;
    int get_parameter_double(double *value, const char *format, ...) override;
    QString controller_address() const override { return QStringLiteral("scripted"); }
    int open_connection(const char *, unsigned short) override { return 0; }
    void close_connection() override {}
    int set_parameter(const char *format, ...) override;
    int set_parameter_int(int value, const char *format, ...) override;
    int request_count() const override { return requests().size(); }
    void set_request_logging(bool) override {}
    QString last_error() const override { return QString(); }
    void send_message(const char *receiver, const char *sender, int type, const char *text) override;

private:
    Reply lookup(const QString &request);
    static void writeAnswer(char *answer, const Reply &r);

    QHash<QString, Reply> m_standing;
    QHash<QString, QQueue<Reply>> m_queued;
};
