// SPDX-License-Identifier: MIT
// cascade-host: a minimal measurement-system frontend. Connects to a
// controller, loads the modules of a folder and shows their menu entries.
#include <QApplication>
#include <QDir>
#include <cstdio>

#include "hostsetup.h"
#include "mainwindow.h"

namespace {

// The host's options; 0 when it may run, else the exit code.
int parseOptions(HostOptions *options)
{
    HostCommandLine commandLine(
        QCoreApplication::translate("main", "Minimal host for measurement-system modules.\n"
                                            "If a module does not load, run with QT_DEBUG_PLUGINS=1 to see why."));
    commandLine.parser.addPositionalArgument(
        QStringLiteral("address"), QCoreApplication::translate("main", "Controller address (default 127.0.0.2)."),
        QStringLiteral("[address]"));
    int exitCode = 0;
    if (!commandLine.parse(options, &exitCode))
        return exitCode;
    const QStringList positional = commandLine.parser.positionalArguments();
    if (positional.size() > 1)
        return commandLine.usageError(QCoreApplication::translate("main", "more than one controller address given"));
    options->address = positional.value(0, QStringLiteral("127.0.0.2"));
    return 0;
}

int fail(const QString &why)
{
    std::fprintf(stderr, "cascade-host: %s\n", qPrintable(why));
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    const bool noDisplay = HostSetup::offscreenWithoutDisplay();
    QApplication app(argc, argv);
    HostSetup::setUpApplication(QStringLiteral("cascade-host"));

    HostOptions options;
    if (const int exitCode = parseOptions(&options))
        return exitCode;
    if (noDisplay)
        return fail(QCoreApplication::translate(
            "main", "no display; set DISPLAY, or QT_QPA_PLATFORM=offscreen to run without a window"));

    HostSession session(options);
    QString why;
    if (!session.start(&why))
        return fail(why);
    session.window()->show();
    return app.exec();
}
