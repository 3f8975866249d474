// The host's IOManager against a running simulator: reads, writes, commands,
// a late reply, a dropped connection, an overlong value, malformed replies
// and requests that must never be sent. Addresses 127.0.5.10 - 127.0.5.19.
#include <QElapsedTimer>
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

} // namespace

class IOManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(m_sim.start(scenario()), qPrintable(m_sim.error())); }
    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }
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

private:
    SimProcess m_sim;
    HostIOManager m_iom;
};

QTEST_GUILESS_MAIN(IOManagerTest)
#include "tst_iomanager.moc"
