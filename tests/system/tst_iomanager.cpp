// SPDX-License-Identifier: MIT
// The host's IOManager against a running simulator: reads, writes, commands,
// a late reply, a dropped connection, an overlong value, malformed replies
// and requests that must never be sent. Then the simulator as a controller:
// the LAN scan with its real UDP probes, adding and removing slaves,
// hand-entered controllers (also one the LAN scan cannot see) and garbage
// input over TCP. Addresses 127.0.5.10 - 127.0.5.39.
#include <QElapsedTimer>
#include <QHostAddress>
#include <QTcpSocket>
#include <QtTest>
#include <cstring>

#include "hostiomanager.h"
#include "simprocess.h"

using ControllerProtocol::AnswerSize;
using ControllerProtocol::MaxAnswerLength;
using ControllerProtocol::Port;

namespace {

const char Master[] = "127.0.5.10";

QByteArray scenario()
{
    return R"({ "controllers": [
        { "address": "127.0.5.10", "master": true, "hostname": ")" + QByteArray(250, 'h') + R"(",
          "connected": ["127.0.5.11"],
          "faults": [
            { "match": "korvane get system protocol", "delay_ms": 800 },
            { "match": "korvane get config is_changeable", "action": "disconnect", "times": 1 },
            { "match": "korvane get cascade available", "action": "reply", "text": "korvane set cascade availablex yes" },
            { "match": "korvane get system access", "action": "reply", "text": "korvane ok" },
            { "match": "korvane get system can_slave", "action": "reply", "text": "korvane errors galore" },
            { "match": "korvane get cascade number_of_scanned_slaves", "action": "reply",
              "text": "korvane set cascade number_of_scanned_slaves 7x" },
            { "match": "korvane cascade scan_slaves", "action": "error", "text": "busy" } ] },
        { "address": "127.0.5.11", "hostname": "slave-one" },
        { "address": "127.0.5.12", "hostname": "lan-one" }
    ] })";
}

// The simulator as a controller, with a LAN of its own.
const QByteArray Lan = R"({ "controllers": [
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

class IOManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_sim.start(scenario()), qPrintable(m_sim.error()));
        QVERIFY2(m_lan.start(Lan), qPrintable(m_lan.error()));
        QCOMPARE(m_lanIom.open_connection("127.0.5.20", HostIOManager::DefaultPort), 0);
    }
    void cleanupTestCase()
    {
        m_lanIom.close_connection();
        QCOMPARE(m_sim.stop(), 0);
        QCOMPARE(m_lan.stop(), 0);
    }
    void init() { QCOMPARE(m_iom.open_connection(Master, HostIOManager::DefaultPort), int(HostIOManager::Ok)); }

    void readsWritesAndCommands()
    {
        char answer[AnswerSize];
        QCOMPARE(m_iom.get_parameter(answer, "cascade connected_slave d%2.2d", 1), 0);
        QCOMPARE(answer, "127.0.5.11");
        int n = -5;
        QCOMPARE(m_iom.get_parameter_int(&n, "cascade number_of_connected_slaves"), 0);
        QCOMPARE(n, 1);
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan no"), 0);
        QCOMPARE(m_iom.get_parameter(answer, "cascade scan_slaves_lan"), 0);
        QCOMPARE(answer, "no");
        QCOMPARE(m_iom.set_parameter("cascade wol_slaves maybe"), int(HostIOManager::ErrorReply));

        // A command hands on its reply line, a refusal included.
        QCOMPARE(m_iom.send_command(answer, "korvane cascade add_slave %s", "127.0.5.12"), 0);
        QCOMPARE(answer, "korvane ok");
        QCOMPARE(m_iom.send_command(answer, "korvane cascade scan_slaves"), int(HostIOManager::ErrorReply));
        QCOMPARE(answer, "korvane error busy");
        QVERIFY(m_iom.last_error().contains(QLatin1String("busy")));
    }

    // A reply time-out set for one request holds for that request only; its
    // late reply is never taken for a later answer.
    void lateReplyTimesOutAndIsNeverTakenForALaterAnswer()
    {
        char answer[AnswerSize];
        m_iom.set_timeout(0, 300, 0);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(m_iom.get_parameter(answer, "system protocol"), int(HostIOManager::Timeout)); // answered after 800 ms
        QVERIFY2(clock.elapsed() >= 290, "timed out before the reply time-out");
        QVERIFY(!m_iom.is_connected());
        QCOMPARE(m_iom.get_parameter(answer, "system model"), 0);
        QCOMPARE(answer, "VESTRAL");
        QCOMPARE(m_iom.get_parameter(answer, "system protocol"), 0);
        QCOMPARE(answer, "1.9.0");
    }

    void droppedConnectionFailsOnceThenReconnects()
    {
        char answer[AnswerSize];
        QCOMPARE(m_iom.get_parameter(answer, "config is_changeable"), int(HostIOManager::NotConnected));
        QCOMPARE(m_iom.get_parameter(answer, "config is_changeable"), 0);
        QCOMPARE(answer, "yes");

        HostIOManager nobody;
        QCOMPARE(nobody.open_connection("127.0.5.19", HostIOManager::DefaultPort), int(HostIOManager::NotConnected));
        QCOMPARE(nobody.get_parameter(answer, "system model"), int(HostIOManager::NotConnected));
    }

    void overlongValueIsCutToTheAnswerBuffer()
    {
        char answer[260];
        std::memset(answer, '#', sizeof answer);
        QCOMPARE(m_iom.get_parameter(answer, "system hostname"), 0);
        QCOMPARE(QByteArray(answer), QByteArray(MaxAnswerLength, 'h'));
        QCOMPARE(answer[AnswerSize], '#');
    }

    // A reply that does not fit its request fails and leaves the answer; it
    // also drops the connection (the stream may be out of step), and the
    // next request reconnects.
    void malformedRepliesFailAndLeaveTheAnswer()
    {
        // Another parameter's echo, "ok" for a read, an error look-alike.
        for (const char *parameter : {"cascade available", "system access", "system can_slave"}) {
            char answer[AnswerSize] = "before";
            QVERIFY2(m_iom.get_parameter(answer, "%s", parameter) == HostIOManager::Malformed
                         && !std::strcmp(answer, "before") && !m_iom.is_connected(),
                     parameter);
        }
        int n = 99;
        QCOMPARE(m_iom.get_parameter_int(&n, "cascade number_of_scanned_slaves"), int(HostIOManager::Malformed));
        QCOMPARE(n, 99);
        char answer[AnswerSize];
        QCOMPARE(m_iom.get_parameter(answer, "system model"), 0);
    }

    void badRequestsNeverReachTheController()
    {
        char answer[AnswerSize];
        const int before = m_iom.request_count();
        QCOMPARE(m_iom.get_parameter(answer, "system %s", QByteArray(600, 'x').constData()), int(HostIOManager::BadRequest));
        // A line end inside an argument would smuggle in a second request.
        QCOMPARE(m_iom.send_command(answer, "korvane cascade add_slave %s", "1.2.3.4\nkorvane cascade sub_slave 1"),
                 int(HostIOManager::BadRequest));
        QCOMPARE(m_iom.get_parameter(answer, nullptr), int(HostIOManager::BadRequest));
        QCOMPARE(m_iom.request_count(), before);
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
        QCOMPARE(m_lanIom.set_parameter("cascade scan_slaves_lan no"), 0);
        QCOMPARE(command("korvane cascade add_scanned_slave lan-read"), 0); // by hostname
        QVERIFY(waitForScan());
        QCOMPARE(scan(), QStringList({"127.0.5.28 annex VESTRAL v2.7.1 yes", "127.0.5.24 lan-read VESTRAL v2.7.1 no"}));
        QCOMPARE(m_lanIom.set_parameter("cascade scan_slaves_lan yes"), 0);
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
        const int rc = m_lanIom.get_parameter(answer, "%s", parameter.constData());
        return rc == 0 ? QString::fromLatin1(answer) : QStringLiteral("<failed %1: %2>").arg(rc).arg(m_lanIom.last_error());
    }

    int command(const QByteArray &text)
    {
        char answer[AnswerSize];
        return m_lanIom.send_command(answer, "%s", text.constData());
    }

    // Waits (bounded) until no scan runs, polling as the scan progress dialog does.
    bool waitForScan()
    {
        return QTest::qWaitFor([&] { return read("cascade number_of_scanned_slaves") != QLatin1String("-1"); }, 5000);
    }

    // Runs a scan to its end and returns its entries as "ip description available".
    QStringList scan()
    {
        QStringList found;
        if (command("korvane cascade scan_slaves") != 0 || !waitForScan())
            return {QStringLiteral("<scan failed: %1>").arg(m_lanIom.last_error())};
        const int n = read("cascade number_of_scanned_slaves").toInt();
        for (int i = 1; i <= n; ++i) {
            const QByteArray ip = read("cascade scanned_slave d" + QByteArray::number(i).rightJustified(2, '0')).toLatin1();
            found << QStringLiteral("%1 %2 %3").arg(QString::fromLatin1(ip), read("cascade scanned_slave_controller " + ip),
                                                    read("cascade scanned_slave_available " + ip));
        }
        return found;
    }

    SimProcess m_sim, m_lan;
    HostIOManager m_iom, m_lanIom;
};

QTEST_GUILESS_MAIN(IOManagerTest)
#include "tst_iomanager.moc"
