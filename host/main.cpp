// cascade-host: a minimal measurement-system frontend. Connects to a
// controller, loads the modules of a folder and shows their menu entries.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLocale>
#include <QRegularExpression>
#include <QTimer>
#include <QTranslator>
#include <cstdio>

#include "BackendVersions.h"
#include "demowalkthrough.h"
#include "hostiomanager.h"
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
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("cascade-host"));

    // Qt's own texts (dialog buttons, the help of the options) and the host's.
    const QString language = languageArgument(app.arguments());
    const QLocale locale = language.isEmpty() ? QLocale::system() : QLocale(language);
    if (!language.isEmpty())
        QLocale::setDefault(locale);
    installTranslation(locale, QStringLiteral("qtbase"), qtcompat::qtTranslationsPath());
    installTranslation(locale, QStringLiteral("cascadehost"),
                       QCoreApplication::applicationDirPath() + QStringLiteral("/translations"));

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
    const QCommandLineOption demoAddOption(
        QStringLiteral("demo-add"),
        QCoreApplication::translate("main", "Address of the controller the walkthrough adds by hand "
                                            "(default 127.0.0.12)."),
        QStringLiteral("address"), QStringLiteral("127.0.0.12"));
    const QCommandLineOption languageOption(
        QStringLiteral("lang"),
        QCoreApplication::translate("main", "Language of the texts, e.g. de or en (default: the system's)."),
        QStringLiteral("language"));
    parser.addOptions({portOption, modulesOption, observerOption, requestsOption, demoOption, demoAddOption,
                       languageOption});
    parser.process(app);
    // The modules' translations live next to them.
    installTranslations(locale, QDir(parser.value(modulesOption)).filePath(QStringLiteral("translations")));

    const QString address = parser.positionalArguments().value(0, QStringLiteral("127.0.0.2"));
    bool portOk = false;
    const unsigned port = parser.value(portOption).toUInt(&portOk);
    if (!portOk || port == 0 || port > 65535) {
        std::fprintf(stderr, "%s\n",
                     qPrintable(QCoreApplication::translate("main", "cascade-host: invalid port %1")
                                    .arg(parser.value(portOption))));
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
        demo = new DemoWalkthrough(&window, parser.value(demoOption), parser.value(demoAddOption), &window);
        QTimer::singleShot(0, demo, &DemoWalkthrough::start);
    }
    const int rc = app.exec();
    // The modules' dialogs are children of the window: exit them while it lives.
    window.shutdownModules();
    return rc;
}
