// The controller simulator as a controller: the LAN scan with its real UDP
// probes, adding and removing slaves, hand-entered controllers, a controller
// going offline, every catalogue request, garbage input and a clean stop.
// Addresses 127.0.5.20 - 127.0.5.39.
#include <QDeadlineTimer>
#include <QHostAddress>
#include <QMap>
#include <QNetworkDatagram>
#include <QTcpSocket>
#include <QUdpSocket>
#include <QtTest>

#include "cascadecommands.h"
#include "hostiomanager.h"
#include "simprocess.h"

namespace {

const char Master[] = "127.0.5.20";
const char Client[] = "127.0.5.39"; // the test's own UDP address

const QByteArray Scenario = R"({ "controllers": [
    { "address": "127.0.5.20", "master": true, "hostname": "sim-master", "scan_duration_ms": 300,
      "connected": ["127.0.5.21", "127.0.5.22", "127.0.5.29"] },
    { "address": "127.0.5.21", "hostname": "slave-on" },
    { "address": "127.0.5.22", "hostname": "slave-off", "online": false },
    { "address": "127.0.5.23", "hostname": "lan-ok", "version": "2.6.0" },
    { "address": "127.0.5.24", "hostname": "lan-read", "access": "read" },
    { "address": "127.0.5.25", "hostname": "lan-old", "version": "2.5.9" },
    { "address": "127.0.5.26", "hostname": "lan-noslave", "can_slave": false },
    { "address": "127.0.5.27", "hostname": "lan-off", "online": false },
    { "address": "127.0.5.29", "hostname": "slave-leaving", "offline_after_s": 2.5 }
] })";

struct Scanned
{
    QString description;
    QString available;
};

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_sim.start(Scenario), qPrintable(m_sim.error()));
        QCOMPARE(m_iom.open_connection(Master, HostIOManager::DefaultPort), 0);
        QCOMPARE(read("cascade connected_slave_available 127.0.5.29"), QStringLiteral("yes"));
        QVERIFY(m_udp.bind(QHostAddress(QString::fromLatin1(Client)), 0));
    }

    void cleanupTestCase()
    {
        m_iom.close_connection();
        QCOMPARE(m_sim.stop(), 0);
        QVERIFY2(m_sim.output().contains("stopped"), m_sim.output().constData());
    }

    void scanListsTheControllersThatAnswerWithTheirState()
    {
        const QMap<QString, Scanned> found = scan();
        // Offline controllers do not answer the probe and are not listed.
        QCOMPARE(found.keys(), QStringList({"127.0.5.21", "127.0.5.23", "127.0.5.24", "127.0.5.25",
                                            "127.0.5.26", "127.0.5.29"}));
        QCOMPARE(found["127.0.5.23"].description, QStringLiteral("lan-ok VESTRAL v2.6.0"));
        QCOMPARE(found["127.0.5.23"].available, QStringLiteral("yes"));
        QCOMPARE(found["127.0.5.21"].available, QStringLiteral("no")); // already connected
        QCOMPARE(found["127.0.5.24"].available, QStringLiteral("no")); // access read
        QCOMPARE(found["127.0.5.25"].available, QStringLiteral("no")); // version 2.5.9
        QCOMPARE(found["127.0.5.26"].available, QStringLiteral("no")); // can_slave no
    }

    void addAndRemoveChangeTheConnectedList()
    {
        QCOMPARE(command("korvane cascade add_slave 127.0.5.23"), 0);
        QCOMPARE(readInt("cascade number_of_connected_slaves"), 4);
        QCOMPARE(read("cascade connected_slave d04"), QStringLiteral("127.0.5.23"));
        QCOMPARE(read("system hostname_slave 127.0.5.23"), QStringLiteral("lan-ok"));
        QCOMPARE(read("cascade scanned_slave_available 127.0.5.23"), QStringLiteral("no"));

        QCOMPARE(command("korvane cascade sub_slave 127.0.5.23"), 0);
        QCOMPARE(readInt("cascade number_of_connected_slaves"), 3);
        QCOMPARE(read("cascade scanned_slave_available 127.0.5.23"), QStringLiteral("yes"));

        // What a controller refuses.
        QCOMPARE(command("korvane cascade sub_slave 127.0.5.23"), int(HostIOManager::ErrorReply));
        QCOMPARE(command("korvane cascade add_slave 127.0.5.21"), int(HostIOManager::ErrorReply));
        QCOMPARE(command("korvane cascade add_slave 127.0.5.24"), int(HostIOManager::ErrorReply));
        QCOMPARE(command("korvane cascade add_slave 127.0.5.27"), int(HostIOManager::ErrorReply));
        QCOMPARE(command("korvane cascade add_slave 127.0.5.99"), int(HostIOManager::ErrorReply));
        QCOMPARE(readInt("cascade number_of_connected_slaves"), 3);
    }

    void withoutLanScanOnlyHandEnteredControllersAreListed()
    {
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan no"), 0);
        QVERIFY(scan().isEmpty());

        QCOMPARE(command("korvane cascade add_scanned_slave 127.0.5.23"), 0);
        QCOMPARE(command("korvane cascade add_scanned_slave lan-read"), 0); // a known hostname
        QCOMPARE(command("korvane cascade add_scanned_slave nobody"), int(HostIOManager::ErrorReply));
        QTRY_COMPARE_WITH_TIMEOUT(readInt("cascade number_of_scanned_slaves"), 2, 5000);
        QCOMPARE(read("cascade scanned_slave d01"), QStringLiteral("127.0.5.23"));
        QCOMPARE(read("cascade scanned_slave d02"), QStringLiteral("127.0.5.24"));

        // A rescan keeps them (probed afresh).
        QCOMPARE(scan().keys(), QStringList({"127.0.5.23", "127.0.5.24"}));
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan yes"), 0);
    }

    void everyCatalogueRequestIsKnown()
    {
        using namespace CascadeCommands;
        scan();
        for (std::size_t i = 0; i < catalogueSize; ++i) {
            const Entry &e = catalogue[i];
            char text[200];
            if (e.arg == Arg::Index)
                std::snprintf(text, sizeof text, e.text, 1);
            else if (e.arg == Arg::Ip)
                std::snprintf(text, sizeof text, e.text, "127.0.5.21");
            else
                std::snprintf(text, sizeof text, "%s", e.text);
            char answer[200];
            int value = 0;
            const int rc = e.kind == Kind::ReadText ? m_iom.get_parameter(answer, "%s", text)
                           : e.kind == Kind::ReadInt ? m_iom.get_parameter_int(&value, "%s", text)
                           : e.kind == Kind::Write   ? m_iom.set_parameter("%s", text)
                                                     : m_iom.send_command(answer, "%s", text);
            // A refusal is fine (add_slave of a connected slave); not knowing the request is not.
            QVERIFY2(rc == 0 || rc == HostIOManager::ErrorReply, text);
            QVERIFY2(!m_iom.last_error().contains(QLatin1String("unknown")),
                     qPrintable(QStringLiteral("%1: %2").arg(QLatin1String(text), m_iom.last_error())));
        }
        // The catalogue's sub_slave disconnected 127.0.5.21; connect it again.
        command("korvane cascade add_slave 127.0.5.21");
    }

    void probeAnswersOverUdp()
    {
        QCOMPARE(udp("127.0.5.23", QByteArray("korvane get system version", 27)),
                 QByteArray("korvane set system version v2.6.0", 34));
        QCOMPARE(udp("127.0.5.24", QByteArray("korvane get system access", 26)),
                 QByteArray("korvane set system access read", 31));
        QCOMPARE(udp("127.0.5.26", QByteArray("korvane get system can_slave", 29)),
                 QByteArray("korvane set system can_slave no", 32));
        QCOMPARE(udp("127.0.5.27", QByteArray("korvane get system version", 27)), QByteArray()); // offline
    }

    void connectedSlaveGoesOffline()
    {
        QCOMPARE(read("cascade connected_slave_available 127.0.5.21"), QStringLiteral("yes"));
        QCOMPARE(read("cascade connected_slave_available 127.0.5.22"), QStringLiteral("no"));
        QTRY_COMPARE_WITH_TIMEOUT(read("cascade connected_slave_available 127.0.5.29"), QStringLiteral("no"), 10000);
        QCOMPARE(udp("127.0.5.29", QByteArray("korvane get system version", 27)), QByteArray());
    }

    void garbageNeverBringsItDown()
    {
        // UDP: every datagram gets one reply; a refusal for garbage.
        QVERIFY(udp("127.0.5.23", "no zero byte").startsWith("korvane error"));
        QVERIFY(udp("127.0.5.23", QByteArray("\xff\xfe\x01\x00", 4)).startsWith("korvane error"));
        QVERIFY(udp("127.0.5.23", QByteArray(60000, 'x')).startsWith("korvane error"));
        QVERIFY(udp("127.0.5.23", QByteArray()).startsWith("korvane error"));
        QVERIFY(udp("127.0.5.23", QByteArray("korvane get\0", 12)).startsWith("korvane error"));

        // TCP: a garbage line gets a refusal line; a line that never ends gets
        // one refusal and the connection closed.
        QTcpSocket raw;
        raw.connectToHost(QHostAddress(QString::fromLatin1(Master)), 50105);
        QVERIFY(raw.waitForConnected(3000));
        raw.write(QByteArray("\x00\x01garbage\xff\r\n", 13));
        QTRY_VERIFY_WITH_TIMEOUT(raw.canReadLine(), 3000);
        QVERIFY(raw.readLine().startsWith("korvane error"));
        raw.write(QByteArray(5000, 'y'));
        QTRY_VERIFY_WITH_TIMEOUT(raw.state() == QAbstractSocket::UnconnectedState, 3000);

        // Still serving.
        QCOMPARE(read("system hostname"), QStringLiteral("sim-master"));
        QCOMPARE(udp("127.0.5.23", QByteArray("korvane get system hostname", 28)),
                 QByteArray("korvane set system hostname lan-ok", 35));
    }

private:
    QString read(const char *parameter)
    {
        char answer[200] = {0};
        const int rc = m_iom.get_parameter(answer, "%s", parameter);
        return rc == 0 ? QString::fromLatin1(answer) : QStringLiteral("<failed %1: %2>").arg(rc).arg(m_iom.last_error());
    }

    int readInt(const char *parameter)
    {
        int v = -1000;
        const int rc = m_iom.get_parameter_int(&v, "%s", parameter);
        return rc == 0 ? v : -1000 + rc;
    }

    int command(const char *text)
    {
        char answer[200];
        return m_iom.send_command(answer, "%s", text);
    }

    // Runs a scan to its end (bounded) and returns its result by address.
    QMap<QString, Scanned> scan()
    {
        QMap<QString, Scanned> found;
        if (command("korvane cascade scan_slaves") != 0) {
            qWarning("scan not started: %s", qPrintable(m_iom.last_error()));
            return found;
        }
        // Polls like the scan progress dialog does, bounded.
        QDeadlineTimer deadline(5000);
        int n = readInt("cascade number_of_scanned_slaves");
        while (n < 0 && !deadline.hasExpired()) {
            QTest::qWait(20);
            n = readInt("cascade number_of_scanned_slaves");
        }
        if (n < 0)
            found[QStringLiteral("<scan did not end: %1>").arg(n)] = {};
        for (int i = 1; i <= n; ++i) {
            const QString ip = read(qPrintable(QStringLiteral("cascade scanned_slave d%1").arg(i, 2, 10, QLatin1Char('0'))));
            found[ip] = {read(qPrintable(QStringLiteral("cascade scanned_slave_controller ") + ip)),
                         read(qPrintable(QStringLiteral("cascade scanned_slave_available ") + ip))};
        }
        return found;
    }

    // One datagram to a controller's port 50105 and its reply (empty if none
    // within one second).
    QByteArray udp(const char *to, const QByteArray &datagram)
    {
        while (m_udp.hasPendingDatagrams())
            m_udp.receiveDatagram();
        m_udp.writeDatagram(datagram, QHostAddress(QString::fromLatin1(to)), 50105);
        if (!m_udp.waitForReadyRead(1000))
            return QByteArray();
        return m_udp.receiveDatagram().data();
    }

    SimProcess m_sim;
    HostIOManager m_iom;
    QUdpSocket m_udp;
};

QTEST_GUILESS_MAIN(SimulatorTest)
#include "tst_simulator.moc"
