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

namespace {

void scriptController(ScriptedIOManager &iom)
{
    for (const char *r : {"config is_changeable", "cascade available", "cascade scan_slaves_lan"})
        iom.answer(QLatin1String(r), "yes");
    iom.answer(QStringLiteral("cascade wol_slaves"), "no");
    for (const char *w : {"cascade scan_slaves_lan yes", "cascade scan_slaves_lan no",
                          "cascade wol_slaves yes", "cascade wol_slaves no"})
        iom.answer(QLatin1String(w), QByteArray());
    iom.answer(QStringLiteral("korvane cascade scan_slaves"), "korvane ok");
    iom.answerInt(QStringLiteral("cascade number_of_connected_slaves"), 1);
    iom.answer(QStringLiteral("cascade connected_slave d01"), "127.0.0.3");
    iom.answer(QStringLiteral("system hostname_slave 127.0.0.3"), "slave-a");
    iom.answer(QStringLiteral("cascade connected_slave_available 127.0.0.3"), "yes");
    iom.answerInt(QStringLiteral("cascade number_of_scanned_slaves"), 3);
    const char *scanned[][2] = {{"127.0.0.5", "lab-east"}, {"127.0.0.6", "lab-west"}, {"127.0.0.7", "bench"}};
    for (int i = 0; i < 3; ++i) {
        const QString ip = QLatin1String(scanned[i][0]);
        iom.answer(QString::asprintf("cascade scanned_slave d%02d", i + 1), ip.toLatin1());
        iom.answer(QStringLiteral("cascade scanned_slave_controller ") + ip,
                   QByteArray(scanned[i][1]) + " VESTRAL v2.7.1");
        iom.answer(QStringLiteral("cascade scanned_slave_available ") + ip, i == 2 ? "no" : "yes");
    }
    for (const char *ip : {"127.0.0.3", "127.0.0.5", "127.0.0.6"}) {
        iom.answer(QStringLiteral("korvane cascade add_slave ") + QLatin1String(ip), "korvane ok");
        iom.answer(QStringLiteral("korvane cascade sub_slave ") + QLatin1String(ip), "korvane ok");
    }
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int openings = argc > 1 ? QByteArray(argv[1]).toInt() : 100;

    ScriptedIOManager iom;
    scriptController(iom);
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
