// SPDX-License-Identifier: MIT
// The simulator at its limits: the largest scenario it runs is scanned
// completely, a larger one and every malformed scenario value are refused at
// load with the field named, and bad command lines are refused; the
// walkthrough fails when a reopened dialog cannot refresh. Addresses
// 127.0.73.x and, for the large LAN, 127.73.0.0/16.
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
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

// Runs cascade-sim to its end (bounded) with the given arguments; its exit
// code, or -1 if it crashed or did not end within 10 s.
int simExitCode(const QStringList &arguments)
{
    QProcess p;
    p.start(QStringLiteral(CASCADE_SIM_PATH), arguments);
    if (p.waitForFinished(10000))
        return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    p.kill();
    p.waitForFinished(5000);
    return -1;
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
        QVERIFY(QTest::qWaitFor(
            [&] { return iom.get_parameter_int(&count, "cascade number_of_scanned_slaves") == 0 && count >= 0; }, 30000));
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
        SimProcess lan;
        QVERIFY(!lan.start(largeLan(MaxControllers + 1, 0)));
        QCOMPARE(lan.stop(), 2);
        QVERIFY2(lan.output().contains("at most 4096"), lan.output().constData());
    }

    // A value of the wrong type is an error that names its field (and the
    // controller it belongs to), never a silent default.
    void wrongValuesAreRefusedNamingTheField_data()
    {
        QTest::addColumn<QByteArray>("fields");
        QTest::addColumn<QByteArray>("lab");
        QTest::addColumn<QByteArray>("named");
        // Fields of the controller 127.0.73.2, and fields of the whole LAN.
        const auto field = [](const char *tag, const QByteArray &fields, const QByteArray &named) {
            QTest::newRow(tag) << fields << QByteArray() << named;
        };
        const auto lab = [](const char *tag, const QByteArray &fields, const QByteArray &named) {
            QTest::newRow(tag) << QByteArray() << fields << named;
        };
        field("online as text", R"("online": "no")", "\"online\"");
        field("master as number", R"("master": 1)", "\"master\"");
        field("duration as text", R"("scan_duration_ms": "5")", "\"scan_duration_ms\"");
        field("negative duration", R"("scan_duration_ms": -1)", "\"scan_duration_ms\"");
        field("model as number", R"("model": 5)", "\"model\"");
        field("control character in hostname", R"("hostname": "lab\u0001east")", "\"hostname\"");
        field("line break in hostname", R"("hostname": "lab\neast")", "\"hostname\"");
        field("connected not a list", R"("connected": "127.0.73.3")", "\"connected\"");
        field("fractional times", R"("faults": [ { "match": "korvane", "times": 1.5 } ])", "\"times\"");
        field("no generated controller", R"("generate": 0)", "\"generate\"");
        field("latency as text", R"("conditions": { "latency_ms": "5" })", "\"latency_ms\"");
        field("delay as text", R"("faults": [ { "match": "korvane", "delay_ms": "9" } ])", "\"delay_ms\"");
        // Every field, given a JSON object, which none of them takes.
        for (const char *name : {"hostname", "model", "protocol", "version", "access", "can_slave", "online",
                                 "offline_after_s", "unplug_on_signal", "scan_visible", "master", "cascade_available",
                                 "config_changeable", "scan_slaves_lan", "wol_slaves", "scan_duration_ms", "connected",
                                 "faults"})
            field(name, QByteArray("\"") + name + "\": {}", QByteArray("\"") + name + '"');
        for (const char *name : {"match", "action", "text", "delay_ms", "times"})
            field(qPrintable(QStringLiteral("fault %1").arg(QLatin1String(name))),
                  QByteArray(R"("faults": [ { )") + (qstrcmp(name, "match") ? R"("match": "korvane", )" : "") + '"'
                      + name + "\": {} } ]",
                  QByteArray("\"") + name + '"');
        lab("seed", R"("seed": -1)", "\"seed\"");
        lab("loss", R"("conditions": { "udp_loss": 2 })", "\"udp_loss\"");
        lab("events", R"("events": {})", "\"events\"");
        lab("no time", R"("events": [ { "address": "127.0.73.2", "leave": true } ])", "\"at_ms\"");
        lab("set field", R"("events": [ { "at_ms": 1, "address": "127.0.73.2", "set": { "colour": 1 } } ])",
            "\"colour\"");
        lab("set type", R"("events": [ { "at_ms": 1, "address": "127.0.73.2", "set": { "online": "no" } } ])",
            "\"online\"");
        lab("event address", R"("events": [ { "at_ms": 1, "address": "127.0.73.29", "leave": true } ])",
            "127.0.73.29");
        lab("join", R"("events": [ { "at_ms": 1, "join": { "hostname": "x" } } ])", "event 1");
    }

    void wrongValuesAreRefusedNamingTheField()
    {
        QFETCH(QByteArray, fields);
        QFETCH(QByteArray, lab);
        QFETCH(QByteArray, named);
        SimProcess sim;
        QVERIFY(!sim.start(R"({ "controllers": [ { "address": "127.0.73.1", "master": true },
                                                 { "address": "127.0.73.2")"
                           + (fields.isEmpty() ? "" : ", " + fields) + " } ]" + (lab.isEmpty() ? "" : ", " + lab)
                           + " }"));
        QCOMPARE(sim.stop(), 2);
        const QByteArray out = sim.output();
        QVERIFY2(out.contains(named) && (fields.isEmpty() || out.contains("127.0.73.2")), out.constData());
    }

    void badCommandLinesAreRefused()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("ok.json"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(R"({ "controllers": [ { "address": "127.0.73.1", "master": true } ] })");
        f.close();
        QCOMPARE(simExitCode({file, file}), 2);
        QCOMPARE(simExitCode({}), 2);
        QCOMPARE(simExitCode({QStringLiteral("--max-connections"), QStringLiteral("0"), file}), 2);
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
        host.setProcessChannelMode(QProcess::MergedChannels);
        host.start(QStringLiteral(CASCADE_WALKTHROUGH_PATH),
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
