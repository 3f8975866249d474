// SPDX-License-Identifier: MIT
// cascade-walkthrough: runs the host with its modules and drives the
// Cascaded System dialog through a walkthrough against a controller, for
// demonstrations and for checking an installation end to end.
#include <QApplication>
#include <QTimer>
#include <cstdio>

#include "hostsetup.h"
#include "mainwindow.h"
#include "walkthrough.h"

int main(int argc, char *argv[])
{
    HostSetup::offscreenWithoutDisplay();
    QApplication app(argc, argv);
    HostSetup::setUpApplication(QStringLiteral("cascade-walkthrough"));

    HostCommandLine commandLine(
        QCoreApplication::translate("Walkthrough", "Drive the Cascaded System dialog through a walkthrough, write "
                                                   "screenshots and the message log to folder, then exit."));
    commandLine.parser.addPositionalArgument(QStringLiteral("address"),
                                             QCoreApplication::translate("Walkthrough", "Controller address."));
    commandLine.parser.addPositionalArgument(
        QStringLiteral("folder"),
        QCoreApplication::translate("Walkthrough", "Folder for the screenshots, the message log and walkthrough.txt."));
    const QCommandLineOption addOption(
        QStringLiteral("add"),
        QCoreApplication::translate("Walkthrough", "Address or hostname of a controller the walkthrough adds by hand; "
                                                   "repeat it to add several (default 127.0.0.12)."),
        QStringLiteral("address"), QStringLiteral("127.0.0.12"));
    commandLine.parser.addOption(addOption);
    HostOptions options;
    int exitCode = 0;
    if (!commandLine.parse(&options, &exitCode))
        return exitCode;
    const QStringList positional = commandLine.parser.positionalArguments();
    if (positional.size() != 2)
        return commandLine.usageError(
            QCoreApplication::translate("Walkthrough", "a controller address and an output folder are needed"));
    options.address = positional.at(0);

    HostSession session(options);
    QString why;
    if (!session.start(&why)) {
        std::fprintf(stderr, "cascade-walkthrough: %s\n", qPrintable(why));
        return 1;
    }
    session.window()->show();
    Walkthrough walkthrough(session.window(), positional.at(1), commandLine.parser.values(addOption));
    QTimer::singleShot(0, &walkthrough, &Walkthrough::start);
    return app.exec();
}
