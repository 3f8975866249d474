// SPDX-License-Identifier: MIT
// The whole system: the host application running its headless walkthrough
// with the real plugin against the simulator, and the host's command line.
// Addresses 127.0.5.40 - 127.0.5.69.
#include <QtTest>

#include "hostiomanager.h"
#include "simprocess.h"

using ControllerProtocol::AnswerSize;

namespace {

const char Master[] = "127.0.5.40";

// 46 and 48 are on another segment: only the walkthrough's adds by hand
// find them, 48 by its hostname where the test can make it resolve.
const QByteArray Scenario = R"({ "controllers": [
    { "address": "127.0.5.40", "master": true, "hostname": "e2e-master", "scan_duration_ms": 400,
      "connected": ["127.0.5.41", "127.0.5.42"] },
    { "address": "127.0.5.41", "hostname": "alpha-slave" },
    { "address": "127.0.5.42", "hostname": "beta-slave", "online": false },
    { "address": "127.0.5.43", "hostname": "gamma", "version": "2.6.0" },
    { "address": "127.0.5.44", "hostname": "delta", "access": "read" },
    { "address": "127.0.5.45", "hostname": "Epsilon", "version": "3.1.0" },
    { "address": "127.0.5.46", "hostname": "zeta-annex", "scan_visible": false },
    { "address": "127.0.5.48", "hostname": "theta-annex-with-a-long-hostname", "scan_visible": false }
] })";
const char LongName[] = "theta-annex-with-a-long-hostname";
const int OtherQt = QT_VERSION_MAJOR == 5 ? 6 : 5;

// The command that runs a program in a mount namespace of its own, where
// hostsFile is bound over /etc/hosts, as scripts/demo does; empty when this
// machine does not allow it (then only addresses can be added by hand).
QStringList withHostsFile(const QString &hostsFile)
{
    const QString bind = QStringLiteral("mount --bind \"$0\" /etc/hosts && exec \"$@\"");
    for (const QStringList &unshare : {QStringList{"unshare", "--mount"}, QStringList{"unshare", "--map-root-user", "--mount"}}) {
        const QStringList prefix = unshare + QStringList{"sh", "-c", bind, hostsFile};
        QProcess probe;
        probe.start(prefix.first(), prefix.mid(1) + QStringList{"getent", "hosts", LongName});
        if (probe.waitForFinished(10000) && probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0
            && probe.readAll().contains("127.0.5.48"))
            return prefix;
    }
    return {};
}

QString pluginPath()
{
    const QDir dir(QStringLiteral(CASCADE_MODULES_DIR));
    for (const QString &f : dir.entryList(QDir::Files))
        if (QLibrary::isLibrary(f) && f.contains(QLatin1String("CascadedSystemModule")))
            return dir.absoluteFilePath(f);
    return QString();
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(!pluginPath().isEmpty(), "the plugin is not in " CASCADE_MODULES_DIR);
        QVERIFY2(m_sim.start(Scenario), qPrintable(m_sim.error()));
        QCOMPARE(m_iom.open_connection(Master, HostIOManager::DefaultPort), 0);
        runWalkthrough();
    }

    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }

    // The host application has run its walkthrough once, and every test below
    // checks what it left: it loads the modules (reporting one that is
    // not a plugin, one built against the other Qt major version, and loading
    // one reachable under two names once), selects a scanned controller,
    // adds two the scan did not list by hand (one by hostname where names can
    // be made to resolve), selects them too, and OK connects all three.
    void hostWalkthroughConnectsAScannedAndHandAddedControllers()
    {
        char answer[AnswerSize];
        QStringList connected;
        for (int i = 1; m_iom.get_parameter(answer, "cascade connected_slave d%2.2d", i) == 0; ++i)
            connected << QString::fromLatin1(answer);
        QCOMPARE(connected, QStringList({"127.0.5.41", "127.0.5.42", "127.0.5.45", "127.0.5.46",
                                         "127.0.5.48"}));
        QVERIFY2(output.contains(QByteArray("adding ") + secondAdd.toLatin1()), output.constData());
        QVERIFY2(log.contains("CascadedSettingsChanged") && log.contains("New Hardware"), log.constData());
        QVERIFY2(!log.contains("Error:"), log.constData());
    }

    void hostWalkthroughShowsTheDialogAndItsToolTips()
    {
        const QDir shots(out.filePath(QStringLiteral("shots")));
        for (const char *shot : {"06-item-tooltip.png", "09-settings-reopened.png"})
            QVERIFY2(QFileInfo(shots.filePath(QLatin1String(shot))).size() > 0, shot);
        QVERIFY2(output.contains(QByteArray("tool tip of the longest hostname: \"") + LongName + " / VESTRAL v2.7.1\""),
                 output.constData());
    }

    void hostReportsTheModulesItCannotLoadAndLoadsOneOnce()
    {
        QVERIFY2(log.contains("Cannot load libbroken.so"), log.constData());
        QVERIFY2(log.count("Loaded module") == 1, log.constData());
        QVERIFY2(log.contains(QStringLiteral("Cannot load libotherqt.so: it is built against Qt %1, but this host runs on Qt %2")
                                  .arg(OtherQt)
                                  .arg(QString::fromLatin1(qVersion()))
                                  .toLatin1()),
                 log.constData());
    }

    // The message log is kept in a file and on standard error as well.
    void hostKeepsItsLogInAFileAndOnStandardError()
    {
        QFile kept(logPath);
        QVERIFY(kept.open(QIODevice::ReadOnly));
        const QByteArray keptText = kept.readAll();
        QCOMPARE(keptText.trimmed(), log.trimmed());
        for (const QByteArray &line : keptText.split('\n'))
            QVERIFY2(errors.contains(line), line.constData());
    }

    // Bad arguments end alike: the reason and the usage on standard error,
    // exit code 2, before anything connects. --help is not an error.
    void hostArguments_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown option") << QStringList{"--bogus"} << 2 << "Unknown option 'bogus'";
        QTest::newRow("missing value") << QStringList{"--port"} << 2 << "Missing value after '--port'";
        QTest::newRow("bad port") << QStringList{"--port", "65536"} << 2 << "invalid port 65536";
        QTest::newRow("two addresses") << QStringList{"127.0.5.69", "127.0.5.68"} << 2 << "more than one";
        QTest::newRow("log file unwritable") << QStringList{"--log-file", "/nonexistent/dir/host.log"} << 1
                                             << "cannot write the log file /nonexistent/dir/host.log";
        QTest::newRow("help") << QStringList{"--help"} << 0 << "";
    }
    void hostArguments()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QString, message);
        QProcess host;
        host.start(QStringLiteral(CASCADE_HOST_PATH), args);
        QVERIFY(host.waitForFinished(20000));
        const QString out = QString::fromLocal8Bit(host.readAllStandardOutput());
        const QString err = QString::fromLocal8Bit(host.readAllStandardError());
        QCOMPARE(host.exitCode(), code);
        QVERIFY2(err.contains(message), qPrintable(err));
        // The usage goes with every argument error, and to standard output on --help.
        QVERIFY2((code == 2 ? err : out).contains(QLatin1String("--log-file <file>")) || code == 1,
                 qPrintable(out + err));
    }

private:
    // Runs the walkthrough; its output, standard error and message log stay
    // for every test that checks them.
    void runWalkthrough()
    {
        // The usual versioned layout: the one plugin under two names.
        QVERIFY(QFile::link(pluginPath(), modules.filePath(QStringLiteral("libCascadedSystemModule.so.1.0.10"))));
        QVERIFY(QFile::link(QStringLiteral("libCascadedSystemModule.so.1.0.10"),
                            modules.filePath(QStringLiteral("libCascadedSystemModule.so"))));
        QFile broken(modules.filePath(QStringLiteral("libbroken.so")));
        QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write("not a library") > 0 && broken.flush());
        QFile hosts(out.filePath(QStringLiteral("hosts")));
        QFile etcHosts(QStringLiteral("/etc/hosts"));
        QVERIFY(etcHosts.open(QIODevice::ReadOnly) && hosts.open(QIODevice::WriteOnly));
        hosts.write(etcHosts.readAll() + "\n127.0.5.48 " + LongName + "\n");
        hosts.close();
        QFile foreign(modules.filePath(QStringLiteral("libotherqt.so")));
        QVERIFY(foreign.open(QIODevice::WriteOnly) &&
                foreign.write(QStringLiteral("needs libQt%1Core.so.%1").arg(OtherQt).toLatin1()) > 0 && foreign.flush());

        const QStringList ns = withHostsFile(hosts.fileName());
        secondAdd = ns.isEmpty() ? QStringLiteral("127.0.5.48") : QString::fromLatin1(LongName);
        if (ns.isEmpty())
            qWarning("no mount namespace allowed here: the walkthrough adds 127.0.5.48 by address");
        logPath = out.filePath(QStringLiteral("host.log"));
        const QStringList args{QString::fromLatin1(Master), "--modules", modules.path(), "--lang", "en",
                               "--add", "127.0.5.46", "--add", secondAdd, "--log-file", logPath,
                               "--verbose", out.filePath(QStringLiteral("shots"))};
        QProcess host;
        host.setProcessChannelMode(QProcess::SeparateChannels);
        const QStringList command = ns + QStringList{QStringLiteral(CASCADE_WALKTHROUGH_PATH)} + args;
        host.start(command.first(), command.mid(1));
        QVERIFY(host.waitForFinished(90000));
        output = host.readAllStandardOutput();
        errors = host.readAllStandardError();
        QVERIFY2(host.exitStatus() == QProcess::NormalExit && host.exitCode() == 0, (output + errors).constData());
        QFile messages(out.filePath(QStringLiteral("shots/messages.log")));
        if (messages.open(QIODevice::ReadOnly))
            log = messages.readAll();
    }

    SimProcess m_sim;
    HostIOManager m_iom;
    QTemporaryDir modules, out;
    QByteArray output, errors, log;
    QString secondAdd, logPath;
};

QTEST_GUILESS_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
