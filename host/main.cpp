// cascade-host: a minimal measurement-system frontend. Connects to a
// controller, loads the modules of a folder and shows their menu entries.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QTimer>
#include <cstdio>

#include "BackendVersions.h"
#include "demowalkthrough.h"
#include "hostiomanager.h"
#include "mainwindow.h"

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("cascade-host"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate(
        "main", "Minimal host for measurement-system modules.\n"
                "If a module does not load, run with QT_DEBUG_PLUGINS=1 to see why."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("address"),
                                 QCoreApplication::translate("main", "Controller address (default 127.0.0.2)."),
                                 QStringLiteral("[address]"));
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QCoreApplication::translate("main", "Controller TCP port (default 50105)."),
                                        QStringLiteral("port"), QStringLiteral("50105"));
    const QCommandLineOption modulesOption(
        {QStringLiteral("m"), QStringLiteral("modules")},
        QCoreApplication::translate("main", "Folder of the modules to load (default: %1).")
            .arg(QStringLiteral(CASCADE_DEFAULT_MODULES_DIR)),
        QStringLiteral("folder"), QStringLiteral(CASCADE_DEFAULT_MODULES_DIR));
    const QCommandLineOption observerOption(QStringLiteral("observer"),
                                            QCoreApplication::translate("main", "Run in observer mode."));
    const QCommandLineOption requestsOption(QStringLiteral("log-requests"),
                                            QCoreApplication::translate("main", "Log every controller request."));
    const QCommandLineOption demoOption(
        QStringLiteral("headless-demo"),
        QCoreApplication::translate("main", "Drive the Cascaded System dialog through a walkthrough, write "
                                            "screenshots and the message log to folder, then exit."),
        QStringLiteral("folder"));
    parser.addOptions({portOption, modulesOption, observerOption, requestsOption, demoOption});
    parser.process(app);

    const QString address = parser.positionalArguments().value(0, QStringLiteral("127.0.0.2"));
    bool portOk = false;
    const unsigned port = parser.value(portOption).toUInt(&portOk);
    if (!portOk || port == 0 || port > 65535) {
        std::fprintf(stderr, "cascade-host: invalid port %s\n", qPrintable(parser.value(portOption)));
        return 2;
    }

    HostIOManager iom;
    iom.set_request_logging(parser.isSet(requestsOption));
    const bool connected = iom.open_connection(address.toLatin1().constData(), quint16(port)) == HostIOManager::Ok;
    BackendVersions versions = connected ? readBackendVersions(&iom) : BackendVersions();

    MainWindow window(&iom, &versions, parser.isSet(observerOption));
    if (!connected)
        window.log(QCoreApplication::translate("main", "Cannot connect to the controller at %1:%2 (%3)")
                       .arg(address)
                       .arg(port)
                       .arg(iom.last_error()));
    else
        window.log(QCoreApplication::translate("main", "Connected to %1 (%2, protocol %3)")
                       .arg(address, versions.ctrlModel(), versions.protocol().toString()));
    window.loadModules(parser.value(modulesOption));
    window.updateStatus();
    window.show();

    DemoWalkthrough *demo = nullptr;
    if (parser.isSet(demoOption)) {
        demo = new DemoWalkthrough(&window, parser.value(demoOption), &window);
        QTimer::singleShot(0, demo, &DemoWalkthrough::start);
    }
    const int rc = app.exec();
    // The modules' dialogs are children of the window: exit them while it lives.
    window.shutdownModules();
    return rc;
}
