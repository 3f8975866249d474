// SPDX-License-Identifier: MIT
#include "hostsetup.h"

#include <QApplication>
#include <QDir>
#include <QRegularExpression>
#include <QTranslator>
#include <cstdio>

#include "hostpaths.h"
#include "mainwindow.h"
#include "qtcompat.h"

namespace {

// The value of --lang (also "--lang=xx"); empty without the option.
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

bool HostSetup::offscreenWithoutDisplay()
{
    const bool noDisplay = qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
                           && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (noDisplay)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return noDisplay;
}

void HostSetup::setUpApplication(const QString &name)
{
    QCoreApplication::setApplicationName(name);
    QCoreApplication::setApplicationVersion(QStringLiteral(CASCADE_VERSION));
    const QString language = languageArgument(QCoreApplication::arguments());
    if (!language.isEmpty())
        QLocale::setDefault(QLocale(language));
    installTranslation(QLocale(), QStringLiteral("qtbase"), qtcompat::qtTranslationsPath());
    installTranslation(QLocale(), QStringLiteral("cascadehost"), HostPaths::translations());
}

HostCommandLine::HostCommandLine(const QString &description)
{
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    // --version only, so that -v stays free; the text is Qt's own (translated with qtbase).
    parser.addOption({QStringLiteral("version"),
                      QCoreApplication::translate("QCommandLineParser", "Displays version information.")});
    const QString port = QString::number(HostIOManager::DefaultPort);
    parser.addOptions({
        {QStringLiteral("port"), QCoreApplication::translate("main", "Controller TCP port (default %1).").arg(port),
         QStringLiteral("port"), port},
        {{QStringLiteral("m"), QStringLiteral("modules")},
         QCoreApplication::translate("main", "Folder of the modules to load (default: %1).").arg(HostPaths::modules()),
         QStringLiteral("folder"),
         HostPaths::modules()},
        {QStringLiteral("observer"), QCoreApplication::translate("main", "Run in observer mode.")},
        {QStringLiteral("log-requests"), QCoreApplication::translate("main", "Log every controller request.")},
        {QStringLiteral("lang"),
         QCoreApplication::translate("main", "Language of the texts, e.g. de or en (default: the system's)."),
         QStringLiteral("language")},
        {QStringLiteral("log-file"),
         QCoreApplication::translate("main", "Also write the message log to file (appending)."),
         QStringLiteral("file")},
        {QStringLiteral("verbose"),
         QCoreApplication::translate("main", "Also write the message log to standard error.")},
    });
}

bool HostCommandLine::parse(HostOptions *options, int *exitCode)
{
    *exitCode = 2;
    if (!parser.parse(QCoreApplication::arguments())) {
        usageError(parser.errorText());
        return false;
    }
    parser.process(QCoreApplication::arguments()); // the arguments are known good: this serves --help
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    const QString portText = parser.value(QStringLiteral("port"));
    bool portOk = false;
    const unsigned port = portText.toUInt(&portOk);
    if (!portOk || port == 0 || port > 65535) {
        usageError(QCoreApplication::translate("main", "invalid port %1").arg(portText));
        return false;
    }
    options->port = quint16(port);
    options->modules = parser.value(QStringLiteral("modules"));
    options->observer = parser.isSet(QStringLiteral("observer"));
    options->logRequests = parser.isSet(QStringLiteral("log-requests"));
    options->logFile = parser.value(QStringLiteral("log-file"));
    options->verbose = parser.isSet(QStringLiteral("verbose"));
    return true;
}

int HostCommandLine::usageError(const QString &reason) const
{
    std::fprintf(stderr, "%s: %s\n\n%s", qPrintable(QCoreApplication::applicationName()), qPrintable(reason),
                 qPrintable(parser.helpText()));
    return 2;
}

HostSession::HostSession(const HostOptions &options) : m_options(options), m_logFile(options.logFile) {}

HostSession::~HostSession() = default;

bool HostSession::start(QString *why)
{
    if (!m_options.logFile.isEmpty() && !m_logFile.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        *why = QCoreApplication::translate("main", "cannot write the log file %1: %2")
                   .arg(m_logFile.fileName(), m_logFile.errorString());
        return false;
    }
    // The modules' translations live next to them.
    installTranslations(QLocale(), QDir(m_options.modules).filePath(QStringLiteral("translations")));
    m_iom.set_request_logging(m_options.logRequests);
    const QByteArray address = m_options.address.toLatin1();
    const bool connected = m_iom.open_connection(address.constData(), m_options.port) == HostIOManager::Ok;

    m_window = std::make_unique<MainWindow>(&m_iom, &m_versions, m_options.observer);
    QObject::connect(m_window.get(), &MainWindow::lineLogged, m_window.get(), [this](const QString &line) {
        const QByteArray bytes = line.toUtf8() + '\n';
        if (m_logFile.isOpen()) {
            m_logFile.write(bytes);
            m_logFile.flush(); // each line on disk at once, so that a crash loses none
        }
        if (m_options.verbose)
            std::fputs(bytes.constData(), stderr);
    });
    if (connected)
        m_window->refreshVersions(); // the modules read the controller model as they load
    else
        m_window->log(QCoreApplication::translate("main", "Cannot connect to the controller at %1:%2 (%3)")
                          .arg(m_options.address)
                          .arg(m_options.port)
                          .arg(m_iom.last_error()));
    m_window->loadModules(m_options.modules); // also shows the controller's state
    return true;
}
