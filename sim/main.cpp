// SPDX-License-Identifier: MIT
// cascade-sim: simulates a LAN of controllers on loopback addresses, as
// described by a scenario file. Prints one "ready" line on stdout once every
// socket is bound; stops cleanly on SIGINT or SIGTERM; SIGUSR1 unplugs the
// controllers the scenario marks "unplug_on_signal". With --control PATH it
// takes live changes through a local socket; `cascade-sim ctl PATH COMMAND...`
// sends them.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSocketNotifier>
#include <QTimer>
#include <csignal>
#include <sys/resource.h>
#include <cstdio>
#include <unistd.h>

#include "ControllerProtocol.h"
#include "control.h"
#include "lan.h"
#include "scenario.h"

namespace {

// The scenarios that come with the simulator: share/cascade/scenarios of the
// installed tree (found relative to the executable), else the sources'.
QString scenariosFolder()
{
    const QString installed =
        QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral(CASCADE_SCENARIOS_RELDIR));
    if (QFileInfo(installed).isDir())
        return QDir::cleanPath(installed);
    return QStringLiteral(CASCADE_SOURCE_SCENARIOS_DIR);
}

int g_signalPipe[2] = {-1, -1};

void onSignal(int sig)
{
    const char c = sig == SIGUSR1 ? 'u' : 'q';
    // Only async-signal-safe work here; the event loop does the rest.
    ssize_t ignored = ::write(g_signalPipe[1], &c, 1);
    (void)ignored;
}

bool installSignalHandlers()
{
    if (::pipe(g_signalPipe) != 0)
        return false;
    struct sigaction sa = {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    return sigaction(SIGINT, &sa, nullptr) == 0 && sigaction(SIGTERM, &sa, nullptr) == 0
           && sigaction(SIGUSR1, &sa, nullptr) == 0;
}

struct Options
{
    QString scenarioPath;
    QString controlPath; // empty: no control socket
    bool verbose = false;
    bool hosts = false;
    SimLimits limits;
};

// Reads the command line into *options; exits for --help and --version.
// False (with the message printed) for a bad command line.
bool parseOptions(const QCoreApplication &app, Options *options)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Simulates controllers on 127.x.y.z addresses (UDP and TCP port %1).\n"
        "cascade-sim ctl PATH COMMAND... changes a running simulator (see --control).").arg(ControllerProtocol::Port));
    parser.addHelpOption();
    // --version only: -v is the simulator's verbose option.
    const QCommandLineOption versionOption(QStringLiteral("version"),
                                           QStringLiteral("Displays version information."));
    parser.addOption(versionOption);
    parser.addPositionalArgument(QStringLiteral("scenario"),
                                 QStringLiteral("Scenario file (JSON). The scenarios that come with the "
                                                "simulator, default.json among them, are in %1.")
                                     .arg(scenariosFolder()));
    const QCommandLineOption verbose({QStringLiteral("v"), QStringLiteral("verbose")},
                                     QStringLiteral("Log every request and reply on stderr."));
    const SimLimits defaults;
    const QCommandLineOption idle(QStringLiteral("idle-timeout"),
                                  QStringLiteral("Close a TCP connection that sends nothing for this many seconds "
                                                 "(default %1).").arg(defaults.idleTimeoutMs / 1000),
                                  QStringLiteral("seconds"), QString::number(defaults.idleTimeoutMs / 1000));
    const QCommandLineOption connections(QStringLiteral("max-connections"),
                                         QStringLiteral("TCP connections served at once; a further one is refused "
                                                        "(default %1).").arg(defaults.maxConnections),
                                         QStringLiteral("count"), QString::number(defaults.maxConnections));
    const QCommandLineOption hosts(QStringLiteral("hosts"),
                                   QStringLiteral("Print a hosts-file line (address, hostname) for each controller "
                                                  "of the scenario and exit."));
    const QCommandLineOption control(QStringLiteral("control"),
                                     QStringLiteral("Take live changes through a local socket at this path, only "
                                                    "for this user: cascade-sim ctl PATH set ADDRESS FIELD VALUE | "
                                                    "status | reset."),
                                     QStringLiteral("path"));
    parser.addOptions({verbose, idle, connections, hosts, control});
    parser.process(app);
    if (parser.isSet(versionOption))
        parser.showVersion();
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);
    bool idleOk = false, connectionsOk = false;
    const double idleSeconds = parser.value(idle).toDouble(&idleOk);
    options->limits.maxConnections = parser.value(connections).toInt(&connectionsOk);
    if (!idleOk || idleSeconds <= 0 || idleSeconds > 86400 || !connectionsOk || options->limits.maxConnections < 1
        || options->limits.maxConnections > 1000) {
        std::fprintf(stderr, "cascade-sim: --idle-timeout takes 0 < seconds <= 86400, --max-connections 1 to 1000\n");
        return false;
    }
    if (parser.isSet(control) && parser.value(control).isEmpty()) {
        std::fprintf(stderr, "cascade-sim: --control takes the path of a socket to create\n");
        return false;
    }
    options->limits.idleTimeoutMs = int(idleSeconds * 1000);
    options->scenarioPath = parser.positionalArguments().first();
    options->controlPath = parser.value(control);
    options->verbose = parser.isSet(verbose);
    options->hosts = parser.isSet(hosts);
    return true;
}

// Lets a demo resolve the simulated hostnames: names that a hosts file
// cannot hold (blanks, '#', none at all) are left out.
void printHosts(const Scenario &scenario)
{
    for (const ControllerConfig &c : scenario.controllers) {
        const QString name = c.hostname;
        if (name.isEmpty() || name == c.address || name.contains(QLatin1Char('#'))
            || name.contains(QRegularExpression(QStringLiteral("\\s"))))
            continue;
        std::printf("%s %s\n", qPrintable(c.address), name.toUtf8().constData());
    }
}

// One UDP socket per controller (those that join later included), the
// master's listener and connections and Qt's own: raises the soft limit as
// far as the hard one allows.
bool raiseFileLimit(const Scenario &scenario, const SimLimits &limits)
{
    rlim_t needed = rlim_t(scenario.controllers.size()) + rlim_t(limits.maxConnections) + 64;
    for (const Event &e : scenario.events)
        needed += e.kind == Event::Kind::Join ? 1 : 0;
    struct rlimit files = {};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur >= needed)
        return true;
    files.rlim_cur = files.rlim_max == RLIM_INFINITY ? needed : qMin(needed, files.rlim_max);
    if (::setrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur >= needed)
        return true;
    std::fprintf(stderr, "cascade-sim: %d controllers need %lu file descriptors; the limit is %lu\n",
                 int(scenario.controllers.size()), (unsigned long)needed, (unsigned long)files.rlim_cur);
    return false;
}

// Runs the LAN until SIGINT or SIGTERM; the exit code.
int run(QCoreApplication &app, const Options &options, const Scenario &scenario)
{
    SimLan lan(scenario, options.verbose, options.limits);
    QSocketNotifier notifier(g_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &app, [&] {
        char c = 'q';
        if (::read(g_signalPipe[0], &c, 1) == 1 && c == 'u') {
            std::printf("cascade-sim: unplugged %d controllers\n", lan.unplug());
            std::fflush(stdout);
            return;
        }
        app.quit();
    });
    QString error;
    ControlServer control(lan);
    if (!lan.start(&error) || (!options.controlPath.isEmpty() && !control.listen(options.controlPath, &error))) {
        std::fprintf(stderr, "cascade-sim: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("cascade-sim ready: master %s, %d controllers, %d online\n",
                qPrintable(lan.master()->address()), lan.size(), lan.onlineCount());
    std::fflush(stdout);

    const int rc = app.exec();
    lan.stop();
    std::printf("cascade-sim stopped\n");
    std::fflush(stdout);
    return rc;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("cascade-sim"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CASCADE_VERSION));
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("ctl"))
        return runControlClient(arguments.mid(2));

    Options options;
    if (!parseOptions(app, &options))
        return 2;
    Scenario scenario;
    QString error;
    if (!scenario.load(options.scenarioPath, &error)) {
        std::fprintf(stderr, "cascade-sim: %s\n", qPrintable(error));
        return 2;
    }
    if (options.hosts) {
        printHosts(scenario);
        return 0;
    }
    if (!installSignalHandlers()) {
        std::perror("cascade-sim: signal handlers");
        return 1;
    }
    if (!raiseFileLimit(scenario, options.limits))
        return 1;
    return run(app, options, scenario);
}
