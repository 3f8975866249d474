// cascade-host: a minimal measurement-system frontend. Connects to a
// controller, loads the modules of a folder and shows their menu entries.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QTimer>
#include <QTranslator>
#include <cstdio>

#include "BackendVersions.h"
#include "demowalkthrough.h"
#include "hostiomanager.h"
#include "hostpaths.h"
#include "mainwindow.h"
#include "qtcompat.h"

namespace {

// The value of --lang (also "--lang=xx"), read before the options are parsed
// so that the help texts are translated too; empty without the option.
QString languageArgument(const QStringList &args)
{
    for (int i = 1; i < args.size(); ++i) {
        if (args.at(i) == QLatin1String("--lang") && i + 1 < args.size())
            return args.at(i + 1);
        if (args.at(i).startsWith(QLatin1String("--lang=")))
            return args.at(i).mid(7);
    }
    return QString();
}

bool installTranslation(const QLocale &locale, const QString &name, const QString &folder)
{
    auto *translator = new QTranslator(qApp);
    if (translator->load(locale, name, QStringLiteral("_"), folder) && QCoreApplication::installTranslator(translator))
        return true;
    delete translator;
    return false;
}

// Every translation in folder for locale, whatever its name ("<name>_de.qm").
void installTranslations(const QLocale &locale, const QString &folder)
{
    static const QRegularExpression languageSuffix(QStringLiteral("_[a-z]{2,3}(_[A-Z]{2})?$"));
    QStringList names;
    for (const QString &file : QDir(folder).entryList({QStringLiteral("*.qm")}, QDir::Files)) {
        QString name = file.chopped(3);
        name.remove(languageSuffix);
        if (!names.contains(name))
            names << name;
    }
    for (const QString &name : qAsConst(names))
        installTranslation(locale, name, folder);
}

} // namespace

int main(int argc, char *argv[])
{
    // Without a display the arguments are still checked and --help,
    // --version and the headless walkthrough still work: Qt then draws
    // offscreen instead of aborting before the arguments are read.
    const bool noDisplay = qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") &&
                           qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (noDisplay)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("cascade-host"));
    QApplication::setApplicationVersion(QStringLiteral(CASCADE_VERSION));

    // Qt's own texts (dialog buttons, the help of the options) and the host's.
    const QString language = languageArgument(app.arguments());
    const QLocale locale = language.isEmpty() ? QLocale::system() : QLocale(language);
    if (!language.isEmpty())
        QLocale::setDefault(locale);
    installTranslation(locale, QStringLiteral("qtbase"), qtcompat::qtTranslationsPath());
    installTranslation(locale, QStringLiteral("cascadehost"), HostPaths::translations());

    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate(
        "main", "Minimal host for measurement-system modules.\n"
                "If a module does not load, run with QT_DEBUG_PLUGINS=1 to see why."));
    parser.addHelpOption();
    // --version only, so that -v stays free; the text is Qt's own (translated with qtbase).
    const QCommandLineOption versionOption(
        QStringLiteral("version"), QCoreApplication::translate("QCommandLineParser", "Displays version information."));
    parser.addOption(versionOption);
    parser.addPositionalArgument(QStringLiteral("address"),
                                 QCoreApplication::translate("main", "Controller address (default 127.0.0.2)."),
                                 QStringLiteral("[address]"));
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QCoreApplication::translate("main", "Controller TCP port (default %1).")
                                            .arg(HostIOManager::DefaultPort),
                                        QStringLiteral("port"), QString::number(HostIOManager::DefaultPort));
    const QCommandLineOption modulesOption(
        {QStringLiteral("m"), QStringLiteral("modules")},
        QCoreApplication::translate("main", "Folder of the modules to load (default: %1).")
            .arg(HostPaths::modules()),
        QStringLiteral("folder"), HostPaths::modules());
    const QCommandLineOption observerOption(QStringLiteral("observer"),
                                            QCoreApplication::translate("main", "Run in observer mode."));
    const QCommandLineOption requestsOption(QStringLiteral("log-requests"),
                                            QCoreApplication::translate("main", "Log every controller request."));
    const QCommandLineOption demoOption(
        QStringLiteral("headless-demo"),
        QCoreApplication::translate("main", "Drive the Cascaded System dialog through a walkthrough, write "
                                            "screenshots and the message log to folder, then exit."),
        QStringLiteral("folder"));
    const QCommandLineOption demoAddOption(
        QStringLiteral("demo-add"),
        QCoreApplication::translate("main", "Address or hostname of a controller the walkthrough adds by hand; "
                                            "repeat it to add several (default 127.0.0.12)."),
        QStringLiteral("address"), QStringLiteral("127.0.0.12"));
    const QCommandLineOption logFileOption(
        QStringLiteral("log-file"),
        QCoreApplication::translate("main", "Also write the message log to file (appending)."),
        QStringLiteral("file"));
    const QCommandLineOption verboseOption(
        QStringLiteral("verbose"),
        QCoreApplication::translate("main", "Also write the message log to standard error."));
    const QCommandLineOption languageOption(
        QStringLiteral("lang"),
        QCoreApplication::translate("main", "Language of the texts, e.g. de or en (default: the system's)."),
        QStringLiteral("language"));
    parser.addOptions({portOption, modulesOption, observerOption, requestsOption, demoOption, demoAddOption,
                       languageOption, logFileOption, verboseOption});
    // Every bad argument ends the same way: the reason, the usage, exit code 2.
    const auto usageError = [&parser](const QString &reason) {
        std::fprintf(stderr, "cascade-host: %s\n\n%s", qPrintable(reason), qPrintable(parser.helpText()));
        return 2;
    };
    if (!parser.parse(app.arguments()))
        return usageError(parser.errorText());
    parser.process(app); // the arguments are known good: this only serves the built-in options (--help)
    if (parser.positionalArguments().size() > 1)
        return usageError(QCoreApplication::translate("main", "more than one controller address given"));
    if (parser.isSet(versionOption))
        parser.showVersion();
    if (noDisplay && !parser.isSet(demoOption)) {
        std::fprintf(stderr, "cascade-host: %s\n",
                     qPrintable(QCoreApplication::translate(
                         "main", "no display; set DISPLAY, or QT_QPA_PLATFORM=offscreen to run without a window")));
        return 1;
    }
    // The modules' translations live next to them.
    installTranslations(locale, QDir(parser.value(modulesOption)).filePath(QStringLiteral("translations")));

    const QString address = parser.positionalArguments().value(0, QStringLiteral("127.0.0.2"));
    bool portOk = false;
    const unsigned port = parser.value(portOption).toUInt(&portOk);
    if (!portOk || port == 0 || port > 65535)
        return usageError(QCoreApplication::translate("main", "invalid port %1").arg(parser.value(portOption)));

    // The message log can be kept: in a file, and on standard error.
    QFile logFile(parser.value(logFileOption));
    if (parser.isSet(logFileOption) && !logFile.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        std::fprintf(stderr, "cascade-host: %s\n",
                     qPrintable(QCoreApplication::translate("main", "cannot write the log file %1: %2")
                                    .arg(logFile.fileName(), logFile.errorString())));
        return 1;
    }
    const bool verbose = parser.isSet(verboseOption);

    HostIOManager iom;
    iom.set_request_logging(parser.isSet(requestsOption));
    const bool connected = iom.open_connection(address.toLatin1().constData(), quint16(port)) == HostIOManager::Ok;
    BackendVersions versions = connected ? readBackendVersions(&iom) : BackendVersions();

    MainWindow window(&iom, &versions, parser.isSet(observerOption));
    QObject::connect(&window, &MainWindow::lineLogged, &window, [&logFile, verbose](const QString &line) {
        const QByteArray bytes = line.toUtf8() + '\n';
        if (logFile.isOpen()) {
            logFile.write(bytes);
            logFile.flush(); // each line on disk at once, so that a crash loses none
        }
        if (verbose)
            std::fputs(bytes.constData(), stderr);
    });
    if (!connected)
        window.log(QCoreApplication::translate("main", "Cannot connect to the controller at %1:%2 (%3)")
                       .arg(address)
                       .arg(port)
                       .arg(iom.last_error()));
    else
        window.log(QCoreApplication::translate("main", "Connected to %1 (%2, protocol %3)")
                       .arg(address, versions.ctrlModel(), versions.protocol().toString()));
    window.loadModules(parser.value(modulesOption)); // also shows the controller's state
    window.show();

    DemoWalkthrough *demo = nullptr;
    if (parser.isSet(demoOption)) {
        demo = new DemoWalkthrough(&window, parser.value(demoOption), parser.values(demoAddOption), &window);
        QTimer::singleShot(0, demo, &DemoWalkthrough::start);
    }
    const int rc = app.exec();
    // The modules' dialogs are children of the window: exit them while it lives.
    window.shutdownModules();
    return rc;
}
