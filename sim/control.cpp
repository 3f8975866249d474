// SPDX-License-Identifier: MIT
#include "control.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>
#include <cstdio>

#include "lan.h"

namespace {

// A command is far shorter; a client that sends more is closed.
constexpr int MaxCommand = 64 * 1024;
constexpr int ClientTimeoutMs = 5000;

QString absolute(const QString &path)
{
    return QFileInfo(path).absoluteFilePath();
}

// A command-line word as a JSON value: true, 5, {"udp_loss": 0.5} as such,
// anything that is not JSON as a text.
QJsonValue jsonWord(const QString &word)
{
    const QJsonDocument doc = QJsonDocument::fromJson("[" + word.toUtf8() + "]");
    return doc.isArray() && doc.array().size() == 1 ? doc.array().at(0) : QJsonValue(word);
}

} // namespace

ControlServer::ControlServer(SimLan &lan, QObject *parent)
    : QObject(parent), m_lan(lan), m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &ControlServer::onConnection);
}

bool ControlServer::listen(const QString &path, QString *error)
{
    if (m_server->listen(absolute(path)))
        return true;
    *error = QStringLiteral("control socket %1: %2").arg(path, m_server->errorString());
    return false;
}

void ControlServer::onConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { onReadable(socket); });
        // A client that never finishes its command is dropped.
        QTimer::singleShot(ClientTimeoutMs, socket, [socket] { socket->abort(); });
    }
}

void ControlServer::onReadable(QLocalSocket *socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > MaxCommand)
            socket->abort();
        return;
    }
    const QByteArray line = socket->readLine(MaxCommand);
    const QJsonDocument doc = QJsonDocument::fromJson(line);
    QStringList words;
    for (const QJsonValue &v : doc.array())
        words << v.toString();
    QString text;
    bool ok = false;
    if (!doc.isArray() || words.contains(QString()))
        text = QStringLiteral("a command is a JSON list of words");
    else
        ok = execute(words, &text);
    socket->write((ok ? "ok\n" : "error\n") + text.toUtf8() + '\n');
    socket->disconnectFromServer();
    socket->disconnect(this); // one command per connection
}

bool ControlServer::execute(const QStringList &words, QString *text)
{
    const QString command = words.value(0);
    if (command == QLatin1String("status") && words.size() == 1) {
        *text = QString::fromUtf8(QJsonDocument(m_lan.status()).toJson(QJsonDocument::Indented)).trimmed();
        return true;
    }
    if (command == QLatin1String("reset") && words.size() == 1)
        return m_lan.reset(text);
    if (command == QLatin1String("set") && words.size() == 4)
        return m_lan.set(words.at(1), QJsonObject{{words.at(2), jsonWord(words.at(3))}}, text);
    if (command == QLatin1String("set") || command == QLatin1String("status") || command == QLatin1String("reset"))
        *text = QStringLiteral("usage: set ADDRESS FIELD VALUE | status | reset");
    else
        *text = QStringLiteral("unknown command \"%1\": the commands are set, status and reset").arg(command);
    return false;
}

int runControlClient(const QStringList &arguments)
{
    if (arguments.size() < 2 || arguments.contains(QStringLiteral("--help"))) {
        std::fprintf(stderr, "usage: cascade-sim ctl PATH COMMAND...\n"
                             "  commands: set ADDRESS FIELD VALUE | status | reset\n");
        return arguments.contains(QStringLiteral("--help")) ? 0 : 2;
    }
    const QString path = arguments.first();
    QLocalSocket socket;
    socket.connectToServer(absolute(path));
    if (!socket.waitForConnected(ClientTimeoutMs)) {
        std::fprintf(stderr, "cascade-sim ctl: no simulator at %s: %s\n", qPrintable(path),
                     QFileInfo::exists(path) ? qPrintable(socket.errorString()) : "no such file");
        return 1;
    }
    socket.write(QJsonDocument(QJsonArray::fromStringList(arguments.mid(1))).toJson(QJsonDocument::Compact) + '\n');
    QByteArray answer;
    while (socket.state() == QLocalSocket::ConnectedState && socket.waitForReadyRead(ClientTimeoutMs))
        answer += socket.readAll();
    answer += socket.readAll();
    const int end = answer.indexOf('\n');
    const QByteArray status = answer.left(end);
    const QByteArray text = answer.mid(end + 1);
    if (end < 0 || (status != "ok" && status != "error")) {
        std::fprintf(stderr, "cascade-sim ctl: no answer from %s\n", qPrintable(path));
        return 1;
    }
    if (text.trimmed().size() > 0)
        std::fprintf(status == "ok" ? stdout : stderr, "%s%s", status == "ok" ? "" : "cascade-sim ctl: ",
                     text.constData());
    return status == "ok" ? 0 : 1;
}
