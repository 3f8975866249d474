// SPDX-License-Identifier: MIT
// Opens the Cascaded System settings dialog again and again, as the host's
// menu entry does (one dialog, reopened), against a scripted controller with
// connected and scanned slaves; every other opening moves a slave and applies
// it with OK, the others end with Cancel. Run under valgrind by
// scripts/valgrind-dialogs; exits 0 when every opening went as planned.
//
// Usage: valgrind_dialogs [openings, default 100]
#include <QApplication>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <cstdio>

#include "BackendVersions.h"
#include "cascadedsettingsdlg.h"
#include "modaldriver.h"
#include "scriptediomanager.h"

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int openings = argc > 1 ? QByteArray(argv[1]).toInt() : 100;

    // The healthy controller: one connected slave, three scanned controllers
    // (the last one not available).
    ScriptedIOManager iom;
    iom.scriptCascade({{QStringLiteral("slave-a"), QStringLiteral("127.0.0.3")}},
                      {{QStringLiteral("lab-east"), QStringLiteral("127.0.0.5")},
                       {QStringLiteral("lab-west"), QStringLiteral("127.0.0.6")},
                       {QStringLiteral("bench"), QStringLiteral("127.0.0.7"), "no"}},
                      "yes", "no");
    BackendVersions versions(VersionInfo(2, 1, 0), VersionInfo(2, 0, 0), VersionInfo(2, 1, 0),
                             QStringLiteral("VESTRAL"));
    QWidget host;
    auto *dlg = new CascadedSettingsDlg(&iom, &host, &versions);

    int failed = 0;
    for (int i = 0; i < openings; ++i) {
        const bool apply = i % 2;
        bool filled = false;
        ModalDriver::when(QStringLiteral("CascadedSettingsDlgClass"), [&](QWidget *) {
            auto *available = dlg->findChild<QTableWidget *>(QStringLiteral("tableWidget_available"));
            filled = QTest::qWaitFor([&] { return available->rowCount() == 3; }, 30000);
            if (apply) {
                available->setCurrentCell(1, 0); // lab-east; row 0 is the unavailable bench
                dlg->findChild<QPushButton *>(QStringLiteral("pushButton_select"))->click();
            }
            dlg->findChild<QPushButton *>(apply ? QStringLiteral("pushButton_ok")
                                                : QStringLiteral("pushButton_cancel"))->click();
        }, 60000);
        const int result = dlg->update_and_exec();
        if (!filled || result != (apply ? 1 : 0) || !ModalDriver::ok()) {
            std::fprintf(stderr, "opening %d: list %s, result %d, %s\n", i + 1, filled ? "filled" : "empty",
                         result, qPrintable(ModalDriver::failures().join(QLatin1Char(' '))));
            ++failed;
            ModalDriver::reset();
        }
    }
    delete dlg;
    const QStringList errors = iom.errors();
    const int added = iom.count(QStringLiteral("cmd korvane cascade add_slave 127.0.0.5"));
    std::printf("%d openings, %d failed, %d slaves added, %d error messages%s%s\n", openings, failed, added,
                int(errors.size()), errors.isEmpty() ? "" : ": ", qPrintable(errors.join(QStringLiteral("; "))));
    return failed == 0 && added == openings / 2 && errors.isEmpty() ? 0 : 1;
}
