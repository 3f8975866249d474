// SPDX-License-Identifier: MIT
// An IOManager for tests: answers every request from a script and logs every
// request, time-out change and host message in the order they happen.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QQueue>
#include <QStringList>

#include "IOManager.h"

class ScriptedIOManager : public IOManager
{
public:
    struct Reply
    {
        int result = 0;
        QByteArray text;           // written with its NUL, cut at MaxAnswerLength bytes like a host would
        int value = 0;             // for the integer reads
        bool writeNothing = false; // leave the caller's buffer untouched
    };
    struct Slave
    {
        QString host, ip;
        QByteArray available = "yes";
    };

    // Log lines: "get|getint|set|cmd <request>", "timeout a,b,c",
    // "msg receiver|sender|type|text".
    QStringList log;
    Reply fallback{1, QByteArray(), 0, true}; // what an unscripted request gets

    // Standing answers by the formatted request; a queued answer is used once first.
    void answer(const QString &request, const QByteArray &text, int result = 0);
    void answerInt(const QString &request, int value, int result = 0);
    void fail(const QString &request, int result = 1);
    void queueInt(const QString &request, int value, int result = 0);
    // Overrides written "request=result|reply".
    void apply(const QStringList &overrides);
    // A healthy controller: not locked, cascade available, the scan finishes at
    // once, the given connected and scanned controllers, every write and
    // add/sub command succeeds.
    void scriptCascade(const QList<Slave> &connected, const QList<Slave> &scanned,
                       const QByteArray &scanLan = "no", const QByteArray &wol = "no");

    QStringList requests() const; // the log without "msg" lines
    QStringList errors() const;   // texts of the error reports ("standard|VESTRAL|1|...")
    int count(const QString &line) const { return log.count(line); }
    void clearLog() { log.clear(); }

    // The six operations a module calls; the host-only ones keep
    // IOManager's failing defaults.
    int set_timeout(int a, int b, int c) override;
    int send_command(char *answer, const char *format, ...) override;
    int get_parameter(char *answer, const char *format, ...) override;
    int get_parameter_int(int *value, const char *format, ...) override;
    int set_parameter(const char *format, ...) override;
    void send_message(const char *receiver, const char *sender, int type, const char *text) override;

private:
    Reply take(const QString &kind, const QString &request);

    QHash<QString, Reply> m_standing;
    QHash<QString, QQueue<Reply>> m_queued;
};
