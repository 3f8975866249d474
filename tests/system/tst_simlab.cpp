// SPDX-License-Identifier: MIT
// The simulator as a lab: a burst of datagrams never deafens a controller, a
// request followed at once by the client's FIN is still answered, the
// timeline and the control socket switch controllers off and on, LAN
// conditions repeat exactly from their seed, generated LANs answer, and a
// signal unplugs controllers.
// Malformed lab fields: see tst_simlimits.
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QProcess>
#include <QTcpSocket>
#include <QUdpSocket>
#include <QtTest>
#include <sys/socket.h>

#include "ControllerProtocol.h"
#include "simprocess.h"

using ControllerProtocol::Port;

namespace {

// Every address this test uses: 127.0.90.<host>.
QString address(int host)
{
    return QStringLiteral("127.0.90.%1").arg(host);
}

const QByteArray Scenario = R"({ "seed": 7, "controllers": [
    { "address": "127.0.90.1", "master": true },
    { "address": "127.0.90.2", "hostname": "burst" },
    { "address": "127.0.90.3", "hostname": "switched" },
    { "address": "127.0.90.4", "hostname": "lossy", "conditions": { "udp_loss": 0.5 } },
    { "address": "127.0.90.5", "unplug_on_signal": true },
    { "address": "127.0.90.100", "hostname": "gen-%n", "generate": 100 }
] })";

// Changes at 100 to 250 ms: a field set, one controller leaves, one joins,
// one goes offline.
const QByteArray Timeline = R"({ "controllers": [
    { "address": "127.0.90.11", "master": true },
    { "address": "127.0.90.12", "hostname": "changing" },
    { "address": "127.0.90.13", "hostname": "leaving" }
  ], "events": [
    { "at_ms": 100, "address": "127.0.90.12", "set": { "model": "LATER", "can_slave": false } },
    { "at_ms": 150, "address": "127.0.90.13", "leave": true },
    { "at_ms": 200, "join": { "address": "127.0.90.14", "hostname": "joining" } },
    { "at_ms": 250, "address": "127.0.90.11", "set": { "online": false } }
] })";

// One UDP read request to the controller at host; its reply, or empty when
// none comes within waitMs.
QByteArray udpRead(QUdpSocket &udp, int host, int waitMs = 1000, const QByteArray &request = "system hostname")
{
    while (udp.hasPendingDatagrams())
        udp.receiveDatagram();
    udp.writeDatagram("korvane get " + request + '\0', QHostAddress(address(host)), Port);
    if (!udp.waitForReadyRead(waitMs))
        return QByteArray();
    return udp.receiveDatagram().data();
}

// Runs `cascade-sim ctl` on the test's control socket; its exit code and output.
QPair<int, QByteArray> ctl(const QString &socket, const QStringList &words)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(QStringLiteral(CASCADE_SIM_PATH), QStringList{QStringLiteral("ctl"), socket} + words);
    if (!p.waitForFinished(10000))
        p.kill();
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1, p.readAll()};
}

} // namespace

class SimLabTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_socket = m_dir.filePath(QStringLiteral("control"));
        QVERIFY2(m_sim.start(Scenario, {QStringLiteral("-v"), QStringLiteral("--control"), m_socket}),
                 qPrintable(m_sim.error()));
        QVERIFY(m_udp.bind(QHostAddress(address(254)), 0));
    }

    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }

    // Datagrams that get no answer, more than one pass reads, and then a
    // read: it is answered, the next burst too.
    void burstLeavesTheControllerListening()
    {
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < 150; ++i)
                m_udp.writeDatagram(QByteArray("korvane ok", 11), QHostAddress(address(2)), Port);
            QCOMPARE(udpRead(m_udp, 2), QByteArray("korvane set system hostname burst", 34));
        }
    }

    // The client sends its request and closes its side at once. The first
    // reply shows the session is up; the FIN follows the second request.
    void requestBeforeHalfCloseIsAnswered()
    {
        QTcpSocket s;
        s.connectToHost(QHostAddress(address(1)), Port);
        QVERIFY(s.waitForConnected(3000));
        const QByteArray request = "korvane get system model\n", reply = "korvane set system model VESTRAL\n";
        QByteArray received;
        s.write(request);
        QTRY_VERIFY_WITH_TIMEOUT((received += s.readAll()).size() >= reply.size(), 3000);
        s.write(request);
        QVERIFY(s.waitForBytesWritten(3000));
        QCOMPARE(::shutdown(int(s.socketDescriptor()), SHUT_WR), 0);
        QTRY_VERIFY_WITH_TIMEOUT((received += s.readAll()).size() >= 2 * reply.size(), 3000);
        QCOMPARE(received, reply + reply);
    }

    void timelineChangesTheLan()
    {
        SimProcess sim;
        QVERIFY2(sim.start(Timeline), qPrintable(sim.error()));
        QVERIFY(sim.waitForOutput("at 250 ms", 5000));
        QCOMPARE(udpRead(m_udp, 12, 1000, "system model"), QByteArray("korvane set system model LATER", 31));
        QCOMPARE(udpRead(m_udp, 12, 1000, "system can_slave"), QByteArray("korvane set system can_slave no", 32));
        QCOMPARE(udpRead(m_udp, 14), QByteArray("korvane set system hostname joining", 36));
        QCOMPARE(udpRead(m_udp, 13, 300), QByteArray());
        QCOMPARE(udpRead(m_udp, 11, 300), QByteArray());
    }

    void controlSocketSwitchesControllersAndResets()
    {
        QCOMPARE(ctl(m_socket, {"set", address(3), "model", "LAB 2"}).first, 0);
        QCOMPARE(ctl(m_socket, {"set", address(3), "online", "false"}).first, 0);
        QCOMPARE(udpRead(m_udp, 3, 300), QByteArray());
        const QJsonArray lan = QJsonDocument::fromJson(ctl(m_socket, {"status"}).second)["controllers"].toArray();
        QCOMPARE(lan.size(), 105);
        QCOMPARE(lan[2]["address"].toString(), address(3));
        QCOMPARE(lan[2]["model"].toString() + lan[2]["online"].toVariant().toString(), QStringLiteral("LAB 2false"));
        QCOMPARE(ctl(m_socket, {"set", address(3), "online", "true"}).first, 0);
        QCOMPARE(udpRead(m_udp, 3, 1000, "system model"), QByteArray("korvane set system model LAB 2", 31));
        QCOMPARE(ctl(m_socket, {"reset"}).first, 0);
        QCOMPARE(udpRead(m_udp, 3, 1000, "system model"), QByteArray("korvane set system model VESTRAL", 33));
    }

    void badControlCommandsAreRefusedNamingTheFault_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QByteArray>("named");
        QTest::newRow("unknown command") << QStringList{"frobnicate"} << QByteArray("frobnicate");
        QTest::newRow("unknown field") << QStringList{"set", address(3), "colour", "red"} << QByteArray("colour");
        QTest::newRow("fixed field") << QStringList{"set", address(3), "master", "true"} << QByteArray("master");
        QTest::newRow("wrong type") << QStringList{"set", address(3), "online", "maybe"} << QByteArray("online");
        QTest::newRow("unknown address") << QStringList{"set", address(77), "online", "true"} << QByteArray("90.77");
        QTest::newRow("missing value") << QStringList{"set", address(3), "online"} << QByteArray("usage");
    }

    void badControlCommandsAreRefusedNamingTheFault()
    {
        QFETCH(QStringList, words);
        QFETCH(QByteArray, named);
        const QPair<int, QByteArray> r = ctl(m_socket, words);
        QVERIFY2(r.first == 1 && r.second.contains(named), r.second.constData());
    }

    // Which of 24 requests the LAN loses follows from the seed: the same
    // after a reset, some lost and some answered.
    void udpLossRepeatsFromTheSeed()
    {
        QByteArray patterns[2];
        for (QByteArray &pattern : patterns) {
            QCOMPARE(ctl(m_socket, {"reset"}).first, 0);
            const QByteArray marker = "korvane marker " + QByteArray::number(quintptr(&pattern));
            const qsizetype from = m_sim.output().size();
            for (int i = 0; i < 24; ++i)
                m_udp.writeDatagram(QByteArray("korvane get system model", 25), QHostAddress(address(4)), Port);
            m_udp.writeDatagram(marker + '\0', QHostAddress(address(4)), Port);
            QVERIFY(m_sim.waitForOutput(marker, 5000));
            for (const QByteArray &line : m_sim.output().mid(from).split('\n'))
                if (line.startsWith("127.0.90.4 udp >") || line.startsWith("127.0.90.4 udp (lost"))
                    pattern += line.contains("(lost") ? '0' : '1';
        }
        QCOMPARE(patterns[0].size(), 24);
        QVERIFY2(patterns[0].contains('0') && patterns[0].contains('1'), patterns[0].constData());
        QCOMPARE(patterns[1], patterns[0]);
    }

    void generatedControllersAnswer()
    {
        QCOMPARE(udpRead(m_udp, 199), QByteArray("korvane set system hostname gen-100", 36));
    }

    // SIGUSR1 takes the controllers marked for it off the LAN.
    void signalUnplugsTheMarkedControllers()
    {
        QCOMPARE(udpRead(m_udp, 5), QByteArray("korvane set system hostname 127.0.90.5", 39));
        QVERIFY(m_sim.unplug());
        QVERIFY(m_sim.waitForOutput("unplugged 1 controllers", 5000));
        QCOMPARE(udpRead(m_udp, 5, 300), QByteArray());
    }

private:
    QTemporaryDir m_dir;
    QString m_socket;
    SimProcess m_sim;
    QUdpSocket m_udp;
};

QTEST_GUILESS_MAIN(SimLabTest)
#include "tst_simlab.moc"
