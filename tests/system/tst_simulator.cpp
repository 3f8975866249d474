// The controller simulator as a controller: the LAN scan with its real UDP
// probes, adding and removing slaves, hand-entered controllers (also one the
// LAN scan cannot see) and garbage input over TCP.
// Addresses 127.0.5.20 - 127.0.5.39. A large LAN: see tst_simlimits.
#include <QDeadlineTimer>
#include <QHostAddress>
#include <QTcpSocket>
#include <QtTest>

#include "hostiomanager.h"
#include "simprocess.h"

using ControllerProtocol::AnswerSize;
using ControllerProtocol::Port;

namespace {

const QByteArray Scenario = R"({ "controllers": [
    { "address": "127.0.5.20", "master": true, "hostname": "sim-master", "scan_duration_ms": 300,
      "connected": ["127.0.5.21", "127.0.5.22"] },
    { "address": "127.0.5.21", "hostname": "slave-on" },
    { "address": "127.0.5.22", "hostname": "slave-off", "online": false },
    { "address": "127.0.5.23", "hostname": "lan-ok", "version": "2.6.0" },
    { "address": "127.0.5.24", "hostname": "lan-read", "access": "read" },
    { "address": "127.0.5.25", "hostname": "lan-old", "version": "2.5.9" },
    { "address": "127.0.5.26", "hostname": "lan-noslave", "can_slave": false },
    { "address": "127.0.5.27", "hostname": "lan-off", "online": false },
    { "address": "127.0.5.28", "hostname": "annex", "scan_visible": false }
] })";

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_sim.start(Scenario), qPrintable(m_sim.error()));
        QCOMPARE(m_iom.open_connection("127.0.5.20", HostIOManager::DefaultPort), 0);
    }

    void cleanupTestCase()
    {
        m_iom.close_connection();
        QCOMPARE(m_sim.stop(), 0);
    }

    // Offline controllers and the one on another segment are not listed.
    void scanListsWhatAnswersWithItsState()
    {
        QCOMPARE(scan(), QStringList({"127.0.5.21 slave-on VESTRAL v2.7.1 no", "127.0.5.23 lan-ok VESTRAL v2.6.0 yes",
                                      "127.0.5.24 lan-read VESTRAL v2.7.1 no", "127.0.5.25 lan-old VESTRAL v2.5.9 no",
                                      "127.0.5.26 lan-noslave VESTRAL v2.7.1 no"}));
    }

    void addAndRemoveChangeTheConnectedList()
    {
        QCOMPARE(command("korvane cascade add_slave 127.0.5.23"), 0);
        QCOMPARE(read("cascade connected_slave d03"), QStringLiteral("127.0.5.23"));
        QCOMPARE(read("cascade scanned_slave_available 127.0.5.23"), QStringLiteral("no"));
        QCOMPARE(command("korvane cascade sub_slave 127.0.5.23"), 0);
        QCOMPARE(read("cascade scanned_slave_available 127.0.5.23"), QStringLiteral("yes"));
        // Not connected, already connected, read-only, offline, unknown.
        for (const char *refused : {"sub_slave 127.0.5.23", "add_slave 127.0.5.21", "add_slave 127.0.5.24",
                                    "add_slave 127.0.5.27", "add_slave 127.0.5.99"})
            QVERIFY2(command(QByteArray("korvane cascade ") + refused) == HostIOManager::ErrorReply, refused);
        QCOMPARE(read("cascade number_of_connected_slaves"), QStringLiteral("2"));
    }

    void handEnteredControllersAreProbedAndKept()
    {
        QCOMPARE(command("korvane cascade add_scanned_slave 127.0.5.28"), 0); // not seen by the LAN scan
        QCOMPARE(command("korvane cascade add_scanned_slave nobody"), int(HostIOManager::ErrorReply));
        QVERIFY(waitForScan());
        QVERIFY(scan().contains(QStringLiteral("127.0.5.28 annex VESTRAL v2.7.1 yes")));

        // Without the LAN scan only the hand-entered controllers are candidates.
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan no"), 0);
        QCOMPARE(command("korvane cascade add_scanned_slave lan-read"), 0); // by hostname
        QVERIFY(waitForScan());
        QCOMPARE(scan(), QStringList({"127.0.5.28 annex VESTRAL v2.7.1 yes", "127.0.5.24 lan-read VESTRAL v2.7.1 no"}));
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan yes"), 0);
    }

    // A garbage line gets a refusal line; a line that never ends gets one
    // refusal and the connection closed. Garbage over UDP: see tst_hostile.
    void garbageNeverBringsItDown()
    {
        QTcpSocket raw;
        raw.connectToHost(QHostAddress(QStringLiteral("127.0.5.20")), Port);
        QVERIFY(raw.waitForConnected(3000));
        raw.write(QByteArray("\x00\x01garbage\xff\r\n", 13));
        QTRY_VERIFY_WITH_TIMEOUT(raw.canReadLine(), 3000);
        QVERIFY(raw.readLine().startsWith("korvane error"));
        raw.write(QByteArray(5000, 'y'));
        QTRY_VERIFY_WITH_TIMEOUT(raw.state() == QAbstractSocket::UnconnectedState, 3000);

        QCOMPARE(read("system hostname"), QStringLiteral("sim-master"));
    }

private:
    QString read(const QByteArray &parameter)
    {
        char answer[AnswerSize] = {0};
        const int rc = m_iom.get_parameter(answer, "%s", parameter.constData());
        return rc == 0 ? QString::fromLatin1(answer) : QStringLiteral("<failed %1: %2>").arg(rc).arg(m_iom.last_error());
    }

    int command(const QByteArray &text)
    {
        char answer[AnswerSize];
        return m_iom.send_command(answer, "%s", text.constData());
    }

    // Waits (bounded) until no scan runs, polling as the scan progress dialog does.
    bool waitForScan()
    {
        const QDeadlineTimer deadline(5000);
        while (read("cascade number_of_scanned_slaves") == QLatin1String("-1") && !deadline.hasExpired())
            QTest::qWait(20);
        return read("cascade number_of_scanned_slaves") != QLatin1String("-1");
    }

    // Runs a scan to its end and returns its entries as "ip description available".
    QStringList scan()
    {
        QStringList found;
        if (command("korvane cascade scan_slaves") != 0 || !waitForScan())
            return {QStringLiteral("<scan failed: %1>").arg(m_iom.last_error())};
        const int n = read("cascade number_of_scanned_slaves").toInt();
        for (int i = 1; i <= n; ++i) {
            const QByteArray ip = read("cascade scanned_slave d" + QByteArray::number(i).rightJustified(2, '0')).toLatin1();
            found << QStringLiteral("%1 %2 %3").arg(QString::fromLatin1(ip), read("cascade scanned_slave_controller " + ip),
                                                    read("cascade scanned_slave_available " + ip));
        }
        return found;
    }

    SimProcess m_sim;
    HostIOManager m_iom;
};

QTEST_GUILESS_MAIN(SimulatorTest)
#include "tst_simulator.moc"
