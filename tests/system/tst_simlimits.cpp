// The simulator at its limits: the largest scenario it runs is scanned
// completely, a larger one and every malformed scenario value are refused at
// load with the field named, bad command lines are refused, and its verbose
// log never passes raw bytes on. The host reports a controller it cannot
// reach as such. Addresses 127.0.73.x and, for the large
// LAN, 127.73.0.0/16.
#include <QHostAddress>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QtTest>

#include "ControllerProtocol.h"
#include "hostiomanager.h"
#include "simprocess.h"

using ControllerProtocol::AnswerSize;

namespace {

// The most controllers a scenario may hold; the simulator's documented bound.
constexpr int MaxControllers = 4096;

// A scenario of n controllers: the master on 127.73.0.1, the others after it.
QByteArray largeLan(int n, int scanDurationMs)
{
    QByteArray json = R"({ "controllers": [ { "address": "127.73.0.1", "master": true, "scan_duration_ms": )"
                      + QByteArray::number(scanDurationMs) + " }";
    for (int i = 2; i <= n; ++i)
        json += ", { \"address\": \"127.73." + QByteArray::number(i / 256) + '.' + QByteArray::number(i % 256)
                + "\" }";
    return json + "] }";
}

struct Run
{
    int exitCode = -1;
    QByteArray output;
};

// Runs cascade-sim to its end (bounded) with the given arguments.
Run runSim(const QStringList &arguments)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(QStringLiteral(CASCADE_SIM_PATH), arguments);
    Run r;
    if (!p.waitForFinished(10000)) {
        p.kill();
        p.waitForFinished(5000);
        r.output = "did not end within 10 s: " + p.readAll();
        return r;
    }
    r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.output = p.readAll();
    return r;
}

// Starts cascade-walkthrough offscreen with arguments, its output merged.
void startHost(QProcess &host, const QStringList &arguments)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    host.setProcessEnvironment(env);
    host.setProcessChannelMode(QProcess::MergedChannels);
    host.start(QStringLiteral(CASCADE_WALKTHROUGH_PATH), arguments);
}

} // namespace

class SimLimitsTest : public QObject
{
    Q_OBJECT

private slots:
    // Every controller of the largest scenario is listed; the scan command is
    // answered while the scan still runs.
    void largestLanIsScannedCompletely()
    {
        SimProcess lan;
        QVERIFY2(lan.start(largeLan(MaxControllers, 1000)), qPrintable(lan.error()));
        HostIOManager iom;
        QCOMPARE(iom.open_connection("127.73.0.1", HostIOManager::DefaultPort), 0);
        char answer[AnswerSize];
        QCOMPARE(iom.send_command(answer, "korvane cascade scan_slaves"), 0);
        int count = 0;
        QCOMPARE(iom.get_parameter_int(&count, "cascade number_of_scanned_slaves"), 0);
        QCOMPARE(count, -1); // answered at once: the scan runs on
        const QDeadlineTimer deadline(30000);
        while ((iom.get_parameter_int(&count, "cascade number_of_scanned_slaves") != 0 || count < 0)
               && !deadline.hasExpired())
            QTest::qWait(50);
        QCOMPARE(count, MaxControllers - 1);
        QSet<QString> listed;
        for (int i = 1; i <= count; ++i) {
            QCOMPARE(iom.get_parameter(answer, "cascade scanned_slave d%2.2d", i), 0);
            listed.insert(QString::fromLatin1(answer));
        }
        QCOMPARE(listed.size(), MaxControllers - 1);
        QVERIFY(listed.contains(QStringLiteral("127.73.16.0"))); // the last one
    }

    void tooLargeLanIsRefusedAtLoad()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("large.json"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(largeLan(MaxControllers + 1, 0));
        f.close();
        const Run r = runSim({file});
        QCOMPARE(r.exitCode, 2);
        QVERIFY2(r.output.contains("at most 4096"), r.output.constData());
    }

    // A value of the wrong type is an error that names its field, never a
    // silent default.
    void wrongValuesAreRefusedNamingTheField_data()
    {
        QTest::addColumn<QByteArray>("fields");
        QTest::addColumn<QByteArray>("named");
        QTest::newRow("online as text") << QByteArray(R"("online": "no")") << QByteArray("\"online\"");
        QTest::newRow("master as number") << QByteArray(R"("master": 1)") << QByteArray("\"master\"");
        QTest::newRow("duration as text") << QByteArray(R"("scan_duration_ms": "5")")
                                          << QByteArray("\"scan_duration_ms\"");
        QTest::newRow("negative duration") << QByteArray(R"("scan_duration_ms": -1)")
                                           << QByteArray("\"scan_duration_ms\"");
        QTest::newRow("model as number") << QByteArray(R"("model": 5)") << QByteArray("\"model\"");
        QTest::newRow("control character in hostname") << QByteArray(R"("hostname": "lab\u0001east")")
                                                       << QByteArray("\"hostname\"");
        QTest::newRow("line break in hostname") << QByteArray(R"("hostname": "lab\neast")")
                                                << QByteArray("\"hostname\"");
        QTest::newRow("connected not a list") << QByteArray(R"("connected": "127.0.73.3")")
                                              << QByteArray("\"connected\"");
        QTest::newRow("fractional times") << QByteArray(R"("faults": [ { "match": "korvane", "times": 1.5 } ])")
                                          << QByteArray("\"times\"");
        QTest::newRow("no generated controller") << QByteArray(R"("generate": 0)") << QByteArray("\"generate\"");
        QTest::newRow("latency as text") << QByteArray(R"("conditions": { "latency_ms": "5" })")
                                         << QByteArray("\"latency_ms\"");
        QTest::newRow("delay as text") << QByteArray(R"("faults": [ { "match": "korvane", "delay_ms": "9" } ])")
                                       << QByteArray("\"delay_ms\"");
        // Every field, given a JSON object, which none of them takes.
        for (const char *field : {"hostname", "model", "protocol", "version", "access", "can_slave", "online",
                                  "offline_after_s", "unplug_on_signal", "scan_visible", "master", "cascade_available",
                                  "config_changeable", "scan_slaves_lan", "wol_slaves", "scan_duration_ms", "connected",
                                  "faults"})
            QTest::newRow(field) << QByteArray("\"") + field + "\": {}" << QByteArray("\"") + field + '"';
        for (const char *field : {"match", "action", "text", "delay_ms", "times"})
            QTest::newRow(qPrintable(QStringLiteral("fault %1").arg(QLatin1String(field))))
                << QByteArray(R"("faults": [ { )") + (qstrcmp(field, "match") ? R"("match": "korvane", )" : "") + '"'
                       + field + "\": {} } ]"
                << QByteArray("\"") + field + '"';
    }

    void wrongValuesAreRefusedNamingTheField()
    {
        QFETCH(QByteArray, fields);
        QFETCH(QByteArray, named);
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("bad.json"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(R"({ "controllers": [ { "address": "127.0.73.1", "master": true },
                                      { "address": "127.0.73.2", )" + fields + " } ] }");
        f.close();
        const Run r = runSim({file});
        QCOMPARE(r.exitCode, 2);
        QVERIFY2(r.output.contains(named) && r.output.contains("127.0.73.2"), r.output.constData());
    }

    void badCommandLinesAreRefused()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("ok.json"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(R"({ "controllers": [ { "address": "127.0.73.1", "master": true } ] })");
        f.close();
        QCOMPARE(runSim({file, file}).exitCode, 2);
        QCOMPARE(runSim({}).exitCode, 2);
        QCOMPARE(runSim({QStringLiteral("--max-connections"), QStringLiteral("0"), file}).exitCode, 2);
    }

    // The verbose log shows every byte a peer sent as printable text.
    void verboseLogEscapesRawBytes()
    {
        SimProcess lan;
        QVERIFY2(lan.start(R"({ "controllers": [ { "address": "127.0.73.1", "master": true } ] })", {"-v"}),
                 qPrintable(lan.error()));
        QUdpSocket peer;
        QVERIFY(peer.bind(QHostAddress(QStringLiteral("127.0.73.40")), 0));
        peer.writeDatagram(QByteArray("korvane get \x01\x1b[2J\xff") + '\0', QHostAddress("127.0.73.1"),
                           ControllerProtocol::Port);
        QVERIFY(lan.waitForOutput("\\x1b[2J", 5000));
        const QByteArray out = lan.output();
        QVERIFY(out.contains("\\x01"));
        QVERIFY(out.contains("\\xff"));
        QVERIFY(!out.contains('\x1b'));
        QVERIFY(!out.contains('\x01'));
    }

    // Without a controller the versions are unknown: the host says that the
    // controller is not reachable and keeps the module's entry disabled,
    // instead of letting the module call it too old.
    void hostReportsAnUnreachableController()
    {
        QTemporaryDir out;
        QProcess host;
        startHost(host,
                   {QStringLiteral("127.0.73.30"), out.path()});
        QVERIFY(host.waitForFinished(60000));
        QVERIFY(host.exitCode() != 0);
        QFile log(out.filePath(QStringLiteral("messages.log")));
        QVERIFY(log.open(QIODevice::ReadOnly));
        const QByteArray text = log.readAll();
        QVERIFY2(text.contains("not reachable (") && !text.contains("too old"), text.constData());
    }

    // The walkthrough reopens the dialog after OK. When that opening cannot
    // refresh the dialog (here the master refuses every read of "cascade
    // available" after the first), the walkthrough fails instead of judging
    // the tables the first opening left behind.
    void walkthroughFailsWhenTheReopenedDialogCannotRefresh()
    {
        SimProcess lan;
        QVERIFY2(lan.start(R"({ "controllers": [
            { "address": "127.0.73.1", "master": true, "scan_duration_ms": 200,
              "faults": [ { "match": "korvane get cascade available", "times": 1 },
                          { "match": "korvane get cascade available", "action": "error" } ] },
            { "address": "127.0.73.2", "hostname": "scanned" },
            { "address": "127.0.73.3", "hostname": "hidden", "scan_visible": false } ] })"),
                 qPrintable(lan.error()));
        QTemporaryDir out;
        QProcess host;
        startHost(host,
                   {QStringLiteral("127.0.73.1"), QStringLiteral("--lang"), QStringLiteral("en"),
                    QStringLiteral("--add"), QStringLiteral("127.0.73.3"), out.path()});
        QVERIFY(host.waitForFinished(90000));
        QFile report(out.filePath(QStringLiteral("walkthrough.txt")));
        QVERIFY(report.open(QIODevice::ReadOnly));
        const QByteArray text = report.readAll();
        QVERIFY2(host.exitCode() != 0, text.constData());
        QVERIFY2(text.contains("07-after-ok.png") && text.contains("the reopened dialog shows"), text.constData());
    }
};

QTEST_GUILESS_MAIN(SimLimitsTest)
#include "tst_simlimits.moc"
