// SPDX-License-Identifier: MIT
// What the host's programs (cascade-host, cascade-walkthrough) share around
// the main window: the application's set-up and translations, the options
// that describe the host, and a window connected to its controller with its
// modules loaded.
#pragma once

#include <QCommandLineParser>
#include <QFile>
#include <QString>
#include <memory>

#include "BackendVersions.h"
#include "hostiomanager.h"

class MainWindow;

namespace HostSetup {

// Without a display Qt aborts before the arguments are read; let it draw
// offscreen instead, so that the arguments are still checked and --help and
// --version still work. True when there is no display.
bool offscreenWithoutDisplay();

// Names the application and installs Qt's own translations (dialog buttons,
// the help of the options) and the host's, in the language of --lang, read
// before the options are parsed so that their help is translated too, or
// the system's. That language becomes the default locale.
void setUpApplication(const QString &name);

} // namespace HostSetup

// How the host reaches its controller and its modules, and where its
// message log goes besides the window.
struct HostOptions
{
    QString address;
    quint16 port = HostIOManager::DefaultPort;
    QString modules;
    bool observer = false;
    bool logRequests = false;
    QString logFile; // empty: none
    bool verbose = false;
};

// The options every host program takes: --port, --modules, --observer,
// --log-requests, --lang, --log-file, --verbose, --version and --help. A
// program adds its positional arguments and own options to parser before
// parse().
class HostCommandLine
{
public:
    explicit HostCommandLine(const QString &description);

    // Parses the application's arguments into options (all but the address)
    // and serves --help and --version. False with a usage error printed when
    // an argument is bad; exitCode is then 2.
    bool parse(HostOptions *options, int *exitCode);
    // Prints "program: reason", then the usage; returns 2.
    int usageError(const QString &reason) const;

    QCommandLineParser parser;
};

// A main window connected to its controller with its modules loaded, its
// message log also written to the file and standard error if asked.
class HostSession
{
public:
    explicit HostSession(const HostOptions &options);
    ~HostSession();

    // Opens the log file, connects, creates the window (hidden) and loads the
    // modules with their translations. False with why when the log file
    // cannot be written.
    bool start(QString *why);
    MainWindow *window() const { return m_window.get(); }

private:
    HostOptions m_options;
    HostIOManager m_iom;
    BackendVersions m_versions;
    QFile m_logFile;
    std::unique_ptr<MainWindow> m_window; // last: it goes first, while what it uses lives
};
