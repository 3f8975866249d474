// SPDX-License-Identifier: MIT
// Live control of a running simulator through a local (Unix) socket that
// only its owner may use and that no network reaches. A client sends one
// command as a JSON list of words and a line end; the simulator answers
// "ok" or "error" on the first line, the text after it, and closes.
//
//   set ADDRESS FIELD VALUE   a controller's field, as an event's "set" does
//                             (VALUE is read as JSON where it is JSON:
//                             false, 5, {"udp_loss": 0.5}; else as text)
//   status                    the LAN as JSON
//   reset                     back to the scenario as at start
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;
class QLocalSocket;
class SimLan;

class ControlServer : public QObject
{
public:
    ControlServer(SimLan &lan, QObject *parent = nullptr);

    // Starts listening at path (made absolute); false with the reason.
    bool listen(const QString &path, QString *error);

private:
    void onConnection();
    void onReadable(QLocalSocket *socket);
    // The answer to one command: true with its text, or false with the error.
    bool execute(const QStringList &words, QString *text);

    SimLan &m_lan;
    QLocalServer *m_server;
};

// `cascade-sim ctl PATH COMMAND...`: sends the command, prints the answer and
// gives the exit code: 0 done, 1 refused or no simulator at path, 2 usage.
int runControlClient(const QStringList &arguments);
