// The host's IOManager against a running simulator: reads, writes, commands,
// refusals, time-outs, a dropped connection, an overlong value and malformed
// replies. Addresses 127.0.5.10 - 127.0.5.19.
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>
#include <cstring>

#include "hostiomanager.h"
#include "simprocess.h"

namespace {

const char Master[] = "127.0.5.10";
const char Silent[] = "127.0.5.19"; // nothing listens here

QByteArray scenario()
{
    const QByteArray longName(250, 'h');
    return R"({ "controllers": [
        { "address": "127.0.5.10", "master": true, "model": "VESTRAL", "protocol": "1.9.0",
          "version": "2.7.1", "hostname": ")" + longName + R"(",
          "connected": ["127.0.5.11"], "scan_duration_ms": 200,
          "faults": [
            { "match": "korvane get cascade wol_slaves", "delay_ms": 1500, "times": 1 },
            { "match": "korvane get config is_changeable", "action": "disconnect", "times": 1 },
            { "match": "korvane get cascade available", "action": "reply",
              "text": "korvane set cascade availablex yes" },
            { "match": "korvane get system access", "action": "reply", "text": "korvane ok" },
            { "match": "korvane get cascade number_of_scanned_slaves", "action": "reply",
              "text": "korvane set cascade number_of_scanned_slaves 7x" },
            { "match": "korvane cascade scan_slaves", "action": "error", "text": "busy" },
            { "match": "korvane get system can_slave", "action": "silent" }
          ] },
        { "address": "127.0.5.11", "hostname": "slave-one" },
        { "address": "127.0.5.12", "hostname": "lan-one" }
    ] })";
}

} // namespace

class IOManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_sim.start(scenario()), qPrintable(m_sim.error()));
    }
    void init()
    {
        QCOMPARE(m_iom.open_connection(Master, HostIOManager::DefaultPort), int(HostIOManager::Ok));
        m_iom.set_timeout(0, HostIOManager::DefaultReplyTimeoutMs, 0);
    }
    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }

    void readsHandOnTheValueAlone()
    {
        char answer[200];
        QCOMPARE(m_iom.get_parameter(answer, "system %s", "model"), 0);
        QCOMPARE(answer, "VESTRAL");
        QCOMPARE(m_iom.get_parameter(answer, "cascade connected_slave d%2.2d", 1), 0);
        QCOMPARE(answer, "127.0.5.11");
        int n = -5;
        QCOMPARE(m_iom.get_parameter_int(&n, "cascade number_of_connected_slaves"), 0);
        QCOMPARE(n, 1);
        const BackendVersions v = readBackendVersions(&m_iom);
        QCOMPARE(v.ctrlModel(), QStringLiteral("VESTRAL"));
        QVERIFY(v.protocol() == VersionInfo(1, 9, 0));
        QVERIFY(v.systemPt() == VersionInfo(2, 7, 1));
    }

    void writesAndCommands()
    {
        char answer[200];
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan no"), 0);
        QCOMPARE(m_iom.get_parameter(answer, "cascade scan_slaves_lan"), 0);
        QCOMPARE(answer, "no");
        QCOMPARE(m_iom.set_parameter("cascade scan_slaves_lan yes"), 0);

        // A refused write and a refused command: non-zero, and the command's
        // reply line is still there to be read.
        QCOMPARE(m_iom.set_parameter("cascade wol_slaves maybe"), int(HostIOManager::ErrorReply));
        QCOMPARE(m_iom.send_command(answer, "korvane cascade add_slave %s", "127.0.5.12"), 0);
        QCOMPARE(answer, "korvane ok");
        QCOMPARE(m_iom.send_command(answer, "korvane cascade add_slave %s", "127.0.5.12"),
                 int(HostIOManager::ErrorReply));
        QVERIFY2(std::strncmp(answer, "korvane error ", 14) == 0, answer);
        QCOMPARE(m_iom.send_command(answer, "korvane cascade sub_slave %s", "127.0.5.12"), 0);
        QCOMPARE(m_iom.send_command(answer, "korvane cascade scan_slaves"), int(HostIOManager::ErrorReply));
        QCOMPARE(answer, "korvane error busy");
        QVERIFY(m_iom.last_error().contains(QLatin1String("busy")));
    }

    void lateReplyTimesOutAndIsNeverTakenForALaterAnswer()
    {
        char answer[200];
        m_iom.set_timeout(0, 300, 0);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(m_iom.get_parameter(answer, "cascade wol_slaves"), int(HostIOManager::Timeout));
        const qint64 took = clock.elapsed();
        QVERIFY2(took >= 290 && took < 1400, qPrintable(QStringLiteral("took %1 ms").arg(took)));
        QVERIFY(!m_iom.is_connected());
        // The late reply goes to the dropped connection; the next request gets its own.
        QCOMPARE(m_iom.get_parameter(answer, "system model"), 0);
        QCOMPARE(answer, "VESTRAL");

        // A reply that never comes ends after the time-out too.
        clock.restart();
        QCOMPARE(m_iom.get_parameter(answer, "system can_slave"), int(HostIOManager::Timeout));
        QVERIFY2(clock.elapsed() < 1400, qPrintable(QStringLiteral("took %1 ms").arg(clock.elapsed())));
        // set_timeout's 0 keeps the value.
        m_iom.set_timeout(0, 0, 0);
        QCOMPARE(m_iom.reply_timeout_ms(), 300);
    }

    void droppedConnectionFailsOnceThenReconnects()
    {
        char answer[200];
        QCOMPARE(m_iom.get_parameter(answer, "config is_changeable"), int(HostIOManager::NotConnected));
        QVERIFY(!m_iom.is_connected());
        QCOMPARE(m_iom.get_parameter(answer, "config is_changeable"), 0);
        QCOMPARE(answer, "yes");
        QVERIFY(m_iom.is_connected());
    }

    void overlongValueIsCutAt199()
    {
        char answer[260];
        std::memset(answer, '#', sizeof answer);
        QCOMPARE(m_iom.get_parameter(answer, "system hostname"), 0);
        QCOMPARE(int(std::strlen(answer)), 199);
        QCOMPARE(answer[200], '#');
        QCOMPARE(QByteArray(answer), QByteArray(199, 'h'));
    }

    void malformedRepliesFail()
    {
        char answer[200];
        std::strcpy(answer, "before");
        QCOMPARE(m_iom.get_parameter(answer, "cascade available"), int(HostIOManager::Malformed));
        QCOMPARE(answer, "before");
        QCOMPARE(m_iom.get_parameter(answer, "system access"), int(HostIOManager::Malformed));
        int n = 99;
        QCOMPARE(m_iom.get_parameter_int(&n, "cascade number_of_scanned_slaves"), int(HostIOManager::Malformed));
        QCOMPARE(n, 99);
        // The connection survives a malformed reply.
        QCOMPARE(m_iom.get_parameter(answer, "system model"), 0);
    }

    void badRequestsNeverReachTheController()
    {
        char answer[200];
        const int before = m_iom.request_count();
        const QByteArray huge(600, 'x');
        QCOMPARE(m_iom.get_parameter(answer, "system %s", huge.constData()), int(HostIOManager::BadRequest));
        // A line end inside an argument would smuggle in a second request.
        QCOMPARE(m_iom.send_command(answer, "korvane cascade add_slave %s", "1.2.3.4\nkorvane cascade sub_slave 1"),
                 int(HostIOManager::BadRequest));
        QCOMPARE(m_iom.get_parameter(answer, nullptr), int(HostIOManager::BadRequest));
        QCOMPARE(m_iom.request_count(), before);
    }

    void noControllerFailsWithoutBlocking()
    {
        HostIOManager iom;
        QCOMPARE(iom.open_connection(Silent, HostIOManager::DefaultPort), int(HostIOManager::NotConnected));
        char answer[200];
        QCOMPARE(iom.get_parameter(answer, "system model"), int(HostIOManager::NotConnected));
        QVERIFY(!iom.is_connected());
    }

    void messagesAndRequestLog()
    {
        QSignalSpy messages(&m_iom, &HostIOManager::messagePosted);
        QSignalSpy requests(&m_iom, &HostIOManager::requestLogged);
        m_iom.send_message("standard", "VESTRAL", 1, "Error: \xe9");
        QCOMPARE(messages.count(), 1);
        QCOMPARE(messages.at(0).at(3).toString(), QString::fromLatin1("Error: \xe9"));

        char answer[200];
        m_iom.get_parameter(answer, "system model");
        QCOMPARE(requests.count(), 0);
        m_iom.set_request_logging(true);
        m_iom.get_parameter(answer, "system model");
        m_iom.set_request_logging(false);
        QCOMPARE(requests.count(), 1);
        QCOMPARE(requests.at(0).at(0).toString(), QStringLiteral("korvane get system model"));
        QCOMPARE(requests.at(0).at(1).toString(), QStringLiteral("korvane set system model VESTRAL"));
        QCOMPARE(requests.at(0).at(2).toInt(), 0);
    }

private:
    SimProcess m_sim;
    HostIOManager m_iom;
};

QTEST_GUILESS_MAIN(IOManagerTest)
#include "tst_iomanager.moc"
