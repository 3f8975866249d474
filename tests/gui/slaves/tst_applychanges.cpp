// Applying the arranged cascade on OK, and the scan-LAN and wake-on-LAN
// options, driven through the dialog's real opening against a scripted
// controller.
#include <QtTest>
#include <memory>

#include "slavetests.h"

using namespace SlaveTests;

namespace {
const QString Timeout = "timeout 0,20000,0";
const QString NewHardware = "msg GlobalEvent|Korvane|2|New Hardware";
const QString SettingsChanged = "msg Main_Window|CascadedSystemModule|1|CascadedSettingsChanged";
QString err(const char *text) { return QString("msg standard|VESTRAL|1|") + text; }

// Connected A and B; the scan finds A, C and D.
const Ctrl A{"ctrlA", "10.1.0.1"}, B{"ctrlB", "10.1.0.2"}, C{"ctrlC", "10.1.0.3"}, D{"ctrlD", "10.1.0.4"};
} // namespace

class CascadedSettingsDlgTest : public QObject
{
    Q_OBJECT

private:
    ScriptedIOManager *iom = nullptr;
    BackendVersions be = backend();
    QWidget *host = nullptr;
    std::unique_ptr<CascadedSettingsDlg> dlg;

    void makeDialog(const QString &model = "VESTRAL")
    {
        be = backend(model);
        dlg.reset(new CascadedSettingsDlg(iom, host, &be));
    }
    bool opened() { return dlg->ui.tableWidget_available->rowCount() == 3; }

    // Runs the user's steps: "sel <ip>", "desel <ip>", "wol <state>" and
    // "rescan <ip>" (the controller's scan result now holds that one).
    void perform(const QStringList &steps)
    {
        QTableWidget *sel = dlg->ui.tableWidget_selected, *avail = dlg->ui.tableWidget_available;
        for (const QString &step : steps) {
            const QString what = step.section(' ', 0, 0), arg = step.section(' ', 1);
            if (what == "sel" || what == "desel") {
                QTableWidget *t = what == "sel" ? avail : sel;
                QPushButton *b = what == "sel" ? dlg->ui.pushButton_select : dlg->ui.pushButton_deselect;
                const int row = rowOfIp(t, arg);
                QVERIFY2(row >= 0, qPrintable(step));
                clickRow(t, row);
                QVERIFY2(b->isEnabled(), qPrintable(step));
                b->click();
            } else if (what == "wol") {
                dlg->ui.checkBox_wol->setCheckState(Qt::CheckState(arg.toInt()));
            } else if (what == "rescan") {
                iom->answerInt("cascade number_of_scanned_slaves", 1);
                iom->answer("cascade scanned_slave d01", arg.toLatin1());
                dlg->update_listAvailableSlaves();
                QCOMPARE(column(avail, 1), QStringList{arg});
            }
        }
    }

private slots:
    void initTestCase() { installWarningTrap(); }
    void init()
    {
        iom = new ScriptedIOManager;
        host = new QWidget;
        ModalDriver::reset();
    }
    void cleanup()
    {
        dlg.reset();
        delete host;
        delete iom;
        QVERIFY2(trappedWarnings().isEmpty(), qPrintable(trappedWarnings().join('\n')));
        QVERIFY2(ModalDriver::ok(), qPrintable(ModalDriver::failures().join('\n')));
        for (QWidget *w : QApplication::topLevelWidgets())
            QVERIFY2(!w->isVisible(), qPrintable("left open: " + w->objectName()));
    }

    void ok_data()
    {
        QTest::addColumn<bool>("scanLan");
        QTest::addColumn<QByteArray>("wol");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("overrides");
        QTest::addColumn<QStringList>("expected");
        const QStringList notices{NewHardware, SettingsChanged};
        const QStringList none;

        QTest::newRow("nothing changed") << true << QByteArray("no") << none << none << none;
        QTest::newRow("removals before additions, in list and row order")
            << true << QByteArray("no")
            << QStringList{"sel 10.1.0.4", "sel 10.1.0.3", "desel 10.1.0.2", "desel 10.1.0.1"} << none
            << QStringList{Timeout, "cmd korvane cascade sub_slave 10.1.0.1", Timeout,
                           "cmd korvane cascade sub_slave 10.1.0.2", Timeout, "cmd korvane cascade add_slave 10.1.0.4",
                           Timeout, "cmd korvane cascade add_slave 10.1.0.3", "set cascade wol_slaves no"}
                   + notices;
        QTest::newRow("scan off, controller still listed")
            << false << QByteArray("no") << QStringList{"sel 10.1.0.3"} << none
            << QStringList{Timeout, "cmd korvane cascade add_slave 10.1.0.3", "set cascade wol_slaves no"} + notices;
        QTest::newRow("scan off, controller no longer listed")
            << false << QByteArray("no") << QStringList{"sel 10.1.0.3", "rescan 10.1.0.4"} << none
            << QStringList{"cmd korvane cascade add_scanned_slave 10.1.0.3", Timeout,
                           "cmd korvane cascade add_slave 10.1.0.3", "set cascade wol_slaves no"}
                   + notices;
        QTest::newRow("scan on, controller no longer listed")
            << true << QByteArray("no") << QStringList{"sel 10.1.0.3", "rescan 10.1.0.4"} << none
            << QStringList{Timeout, "cmd korvane cascade add_slave 10.1.0.3", "set cascade wol_slaves no"} + notices;
        QTest::newRow("deselected and selected back")
            << true << QByteArray("no") << QStringList{"desel 10.1.0.2", "sel 10.1.0.2"} << none
            << QStringList{"set cascade wol_slaves no"} + notices;
        QTest::newRow("failures and refusals")
            << true << QByteArray("no")
            << QStringList{"desel 10.1.0.1", "desel 10.1.0.2", "sel 10.1.0.3", "sel 10.1.0.4"}
            << QStringList{"korvane cascade sub_slave 10.1.0.1=1|", "korvane cascade sub_slave 10.1.0.2=0|korvane ok ",
                           "korvane cascade add_slave 10.1.0.3=0|korvane OK", "korvane cascade add_slave 10.1.0.4=1|"}
            << QStringList{Timeout, "cmd korvane cascade sub_slave 10.1.0.1",
                           err("Error: Unable to disconnect Cascaded System slave"), Timeout,
                           "cmd korvane cascade sub_slave 10.1.0.2",
                           err("Error: Unable to disconnect the Cascaded System slave"), Timeout,
                           "cmd korvane cascade add_slave 10.1.0.3",
                           err("Error: Unable to connect the Cascaded System slave"), Timeout,
                           "cmd korvane cascade add_slave 10.1.0.4",
                           err("Error: Unable to connect Cascaded System slave"), "set cascade wol_slaves no"}
                   + notices;
        QTest::newRow("wol checked") << true << QByteArray("no") << QStringList{"wol 2"} << none
                                     << QStringList{"set cascade wol_slaves yes"} + notices;
        QTest::newRow("wol partially checked") << true << QByteArray("yes") << QStringList{"wol 1"} << none
                                               << QStringList{"set cascade wol_slaves no"} + notices;
        QTest::newRow("wol set fails")
            << true << QByteArray("no") << QStringList{"wol 2"} << QStringList{"cascade wol_slaves yes=1|"}
            << QStringList{"set cascade wol_slaves yes", err("Error: Unable set WOL to Cascaded System slaves")} + notices;
        QTest::newRow("wol reset fails")
            << true << QByteArray("yes") << QStringList{"wol 0"} << QStringList{"cascade wol_slaves no=1|"}
            << QStringList{"set cascade wol_slaves no", err("Error: Unable reset WOL to Cascaded System slaves")}
                   + notices;
    }
    void ok()
    {
        QFETCH(bool, scanLan);
        QFETCH(QByteArray, wol);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, overrides);
        QFETCH(QStringList, expected);
        scriptController(*iom, {A, B}, {C, A, D}, scanLan, wol);
        scriptOverrides(*iom, overrides);
        makeDialog();
        QStringList afterOk;
        const int result = openAndRun(
            dlg.get(), [this] { return opened(); },
            [&] {
                perform(steps);
                iom->clearLog();
                dlg->ui.pushButton_ok->click();
                afterOk = iom->log;
            });
        QCOMPARE(result, 1);
        QCOMPARE(afterOk, expected);
        QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
        QVERIFY(!dlg->timerConntectedSlavesAvailable.isActive());
        QCOMPARE(dlg->cursor().shape(), Qt::ArrowCursor);
    }

    // The scan-LAN option is written at once and rescans; Cancel (or
    // Escape) writes the opening value back only if it differs.
    void scanLanAndCancel_data()
    {
        QTest::addColumn<bool>("initial");
        QTest::addColumn<int>("toggles");
        QTest::addColumn<QString>("close");
        QTest::addColumn<QStringList>("overrides");
        QTest::addColumn<QStringList>("expected");
        const QString yes = "set cascade scan_slaves_lan yes", no = "set cascade scan_slaves_lan no",
                      scan = "cmd korvane cascade scan_slaves";
        QTest::newRow("untouched") << false << 0 << "cancel" << QStringList() << QStringList();
        QTest::newRow("ticked once") << false << 1 << "cancel" << QStringList() << QStringList{yes, scan, no};
        QTest::newRow("ticked twice") << false << 2 << "cancel" << QStringList() << QStringList{yes, scan, no, scan};
        QTest::newRow("unticked once, escape") << true << 1 << "escape" << QStringList() << QStringList{no, scan, yes};
        QTest::newRow("ticked once, OK keeps it") << false << 1 << "ok" << QStringList() << QStringList{yes, scan};
        QTest::newRow("ticking fails")
            << false << 1 << "cancel" << QStringList{"cascade scan_slaves_lan yes=1|"}
            << QStringList{yes, err("Error: Unable to enable scan LAN for the Cascaded System")};
        QTest::newRow("restoring fails")
            << false << 1 << "cancel" << QStringList{"cascade scan_slaves_lan no=1|"}
            << QStringList{yes, scan, no, err("Error: Unable to disable scan LAN for the Cascaded System")};
    }
    void scanLanAndCancel()
    {
        QFETCH(bool, initial);
        QFETCH(int, toggles);
        QFETCH(QString, close);
        QFETCH(QStringList, overrides);
        QFETCH(QStringList, expected);
        scriptController(*iom, {A}, {C, A, D}, initial);
        scriptOverrides(*iom, overrides);
        makeDialog();
        QStringList opening;
        const int result = openAndRun(
            dlg.get(), [this] { return opened(); },
            [&] {
                opening = iom->log;
                iom->clearLog();
                for (int i = 0; i < toggles; ++i)
                    dlg->ui.checkBox_scanLan->click(); // each rescan runs the progress dialog on top
                QCOMPARE(dlg->ui.checkBox_scanLan->isChecked(), bool(toggles % 2) != initial);
                if (close == "cancel")
                    dlg->ui.pushButton_cancel->click();
                else if (close == "escape")
                    QTest::keyClick(dlg.get(), Qt::Key_Escape);
                else
                    dlg->ui.pushButton_ok->click();
            });
        QCOMPARE(result, close == "ok" ? 1 : 0);
        // The opening itself never writes the option.
        QCOMPARE(linesWith(opening, {"set "}), QStringList());
        QCOMPARE(opening.count("cmd korvane cascade scan_slaves"), 1);
        const QStringList prefixes{"set ", "cmd korvane cascade scan_slaves", "msg standard"};
        QCOMPARE(linesWith(iom->log, prefixes), expected);
        QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
        QVERIFY(!dlg->timerConntectedSlavesAvailable.isActive());
    }

    // For HARROWGLINT the wake-on-LAN option is hidden and forced on; the
    // forced value is no change of the user's and is written only with one.
    void wakeOnLan_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QByteArray>("wol");
        QTest::addColumn<int>("wolResult");
        QTest::addColumn<bool>("deselect");
        QTest::addColumn<bool>("hidden");
        QTest::addColumn<bool>("checked");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QStringList>("writes");
        QTest::newRow("HARROWGLINT, no") << "HARROWGLINT" << QByteArray("no") << 0 << false << true << true << true << QStringList();
        QTest::newRow("HARROWGLINT, no, other change")
            << "HARROWGLINT" << QByteArray("no") << 0 << true << true << true << true
            << QStringList{"set cascade wol_slaves yes"};
        QTest::newRow("HARROWGLINT, read fails")
            << "HARROWGLINT" << QByteArray("yes") << 1 << false << true << true << false << QStringList();
        QTest::newRow("Harrowglint is another model")
            << "Harrowglint" << QByteArray("no") << 0 << false << false << false << true << QStringList();
        QTest::newRow("VESTRAL, yes") << "VESTRAL" << QByteArray("yes") << 0 << false << false << true << true << QStringList();
        QTest::newRow("VESTRAL, yes with blank")
            << "VESTRAL" << QByteArray("yes ") << 0 << false << false << false << true << QStringList();
        QTest::newRow("VESTRAL, read fails")
            << "VESTRAL" << QByteArray("yes") << 1 << true << false << false << false
            << QStringList{"set cascade wol_slaves no"};
    }
    void wakeOnLan()
    {
        QFETCH(QString, model);
        QFETCH(QByteArray, wol);
        QFETCH(int, wolResult);
        QFETCH(bool, deselect);
        QFETCH(bool, hidden);
        QFETCH(bool, checked);
        QFETCH(bool, enabled);
        QFETCH(QStringList, writes);
        scriptController(*iom, {A, B}, {C, A, D}, true);
        iom->answer("cascade wol_slaves", wol, wolResult);
        makeDialog(model);
        const int result = openAndRun(
            dlg.get(), [this] { return opened(); },
            [&] {
                QCOMPARE(dlg->ui.checkBox_wol->isHidden(), hidden);
                QCOMPARE(dlg->ui.line_wol->isHidden(), hidden);
                QCOMPARE(dlg->ui.checkBox_wol->isChecked(), checked);
                QCOMPARE(dlg->ui.checkBox_wol->isEnabled(), enabled);
                QVERIFY(!dlg->bSomethingChanged);
                if (deselect)
                    perform({"desel 10.1.0.2"});
                dlg->ui.pushButton_ok->click();
            });
        QCOMPARE(result, 1);
        QCOMPARE(linesWith(iom->log, {"set cascade wol_slaves"}), writes);
        QCOMPARE(iom->errors().contains("Error: Unable to get the WOL status of the Cascaded System slaves"),
                 wolResult != 0);
    }
};

QTEST_MAIN(CascadedSettingsDlgTest)
#include "tst_applychanges.moc"
