// SPDX-License-Identifier: MIT
// The slave records and tables, the connected and available lists, select
// and deselect, and applying the arranged cascade on OK.
#include <QtTest>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

#include "BackendVersions.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "guitest.h"
#include "scriptediomanager.h"

using namespace GuiTest;
using Slave = ScriptedIOManager::Slave;

namespace {
const QString Timeout = "timeout 0,20000,0";
const QStringList Notices{"msg GlobalEvent|Korvane|2|New Hardware",
                          "msg Main_Window|CascadedSystemModule|1|CascadedSettingsChanged"};
QString err(const char *text) { return QString("msg standard|VESTRAL|1|") + text; }
const Slave A{"ctrlA", "10.1.0.1"}, B{"ctrlB", "10.1.0.2"}, C{"ctrlC", "10.1.0.3"}, D{"ctrlD", "10.1.0.4"};
} // namespace

class SlavesTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<ScriptedIOManager> iom;
    std::unique_ptr<QWidget> host;
    BackendVersions be;
    std::unique_ptr<CascadedSettingsDlg> dlg;

    Ui::CascadedSettingsDlgClass &ui() { return DialogAccess::ui(*dlg); }

    void makeDialog(const QString &model = "VESTRAL")
    {
        be = BackendVersions(VersionInfo(2, 1, 0), VersionInfo(2, 0, 0), VersionInfo(2, 1, 0), model);
        dlg.reset(new CascadedSettingsDlg(iom.get(), host.get(), &be));
    }
    void fillLists()
    {
        DialogAccess::readConnectedSlaves(*dlg);
        DialogAccess::rebuildAvailable(*dlg);
    }
    // The list timer's next tick, run at once: does the available list then
    // hold n rows?
    bool listed(int n)
    {
        DialogAccess::tickList(*dlg);
        return available()->rowCount() == n;
    }
    QTableWidget *selected() { return ui().tableWidget_selected; }
    QTableWidget *available() { return ui().tableWidget_available; }
    QString buttons()
    {
        return QString(ui().pushButton_select->isEnabled() ? "S" : "-") + (ui().pushButton_deselect->isEnabled() ? "D" : "-");
    }
    // The user's steps: "sel <ip>", "desel <ip>", "wol <state>", "rescan <ip>"
    // (the controller's scan result now holds that one only).
    void perform(const QStringList &steps)
    {
        for (const QString &step : steps) {
            const QString what = step.section(' ', 0, 0), arg = step.section(' ', 1);
            if (what == "wol") {
                ui().checkBox_wol->setCheckState(Qt::CheckState(arg.toInt()));
            } else if (what == "rescan") {
                iom->answerInt("cascade number_of_scanned_slaves", 1);
                iom->answer("cascade scanned_slave d01", arg.toLatin1());
                DialogAccess::rebuildAvailable(*dlg);
            } else {
                QTableWidget *t = what == "sel" ? available() : selected();
                clickRow(t, rowOfIp(t, arg));
                QVERIFY2(buttons().contains(what == "sel" ? "S" : "D"), qPrintable(step));
                (what == "sel" ? ui().pushButton_select : ui().pushButton_deselect)->click();
            }
        }
    }

private slots:
    void initTestCase() { install(); }
    void init()
    {
        iom.reset(new ScriptedIOManager);
        host.reset(new QWidget);
        GuiTest::drivePolls();
    }
    void cleanup()
    {
        dlg.reset();
        VERIFY_CLEAN();
    }

    // The connected list replaces what the table showed, then the poll marks
    // every slave whose answer is not exactly "yes".
    void connectedList_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("overrides");
        QTest::addColumn<QStringList>("expectRows");
        QTest::addColumn<QStringList>("expectColours");
        QTest::addColumn<QStringList>("errors");
        QStringList twelve;
        for (int i = 1; i <= 12; ++i)
            twelve << QString("ctrl%1|10.2.0.%1|yes").arg(i);
        QTest::newRow("twelve") << 12 << QStringList() << twelve << QStringList(QVector<QString>(12, "default").toList())
                                << QStringList();
        QTest::newRow("failures")
            << 4
            << QStringList{"cascade connected_slave d02=1|", "system hostname_slave 10.2.0.1=1|",
                           "cascade connected_slave_available 10.2.0.3=0|yes ",
                           "cascade connected_slave_available 10.2.0.4=1|yes"}
            << QStringList{"unknown|10.2.0.1|yes", "ctrl3|10.2.0.3|no", "ctrl4|10.2.0.4|no"}
            << QStringList{"default", "red", "red"}
            << QStringList{"Error: Unable to get the IP address of the connected Cascaded System slave"};
        QTest::newRow("count fails") << 2 << QStringList{"cascade number_of_connected_slaves=1|"} << QStringList()
                                     << QStringList() << QStringList{"Error: Unable to get the number of the connected slaves"};
    }
    void connectedList()
    {
        QFETCH(int, count);
        QFETCH(QStringList, overrides);
        QFETCH(QStringList, expectRows);
        QFETCH(QStringList, expectColours);
        QFETCH(QStringList, errors);
        QList<Slave> connected;
        for (int i = 1; i <= count; ++i)
            connected << Slave{QString("ctrl%1").arg(i), QString("10.2.0.%1").arg(i)};
        iom->scriptCascade(connected, {});
        iom->apply(overrides);
        makeDialog();
        DialogAccess::connectedSlaves(*dlg) << new SlaveInfo("stale", "10.9.9.9", "yes");
        DialogAccess::refillSelectedTable(*dlg);
        DialogAccess::readConnectedSlaves(*dlg);
        QStringList asked;
        for (int i = 1; i <= count && !overrides.join(' ').contains("number_of"); ++i)
            asked << QString::asprintf("get cascade connected_slave d%02d", i);
        QCOMPARE(iom->log.filter("get cascade connected_slave d"), asked);
        QCOMPARE(rows(selected()), expectRows);
        QCOMPARE(colours(selected()), expectColours);
        QCOMPARE(iom->errors(), errors);
        QCOMPARE(DialogAccess::connectedSlaves(*dlg).size(), expectRows.size());
    }

    // Connected ctrl1..ctrl3; the user selects ctrl4, deselects ctrl2 and
    // selects it again. The poll covers the rows above the first row that is
    // not a connected slave, and a red row stays red.
    void pollStopsAtFirstNewRow()
    {
        iom->scriptCascade({{"ctrl1", "10.3.0.1"}, {"ctrl2", "10.3.0.2"}, {"ctrl3", "10.3.0.3"}}, {{"ctrl4", "10.3.0.4"}});
        makeDialog();
        fillLists();
        perform({"sel 10.3.0.4", "desel 10.3.0.2", "sel 10.3.0.2"});
        QCOMPARE(rows(selected()), QStringList({"ctrl1|10.3.0.1|yes", "ctrl3|10.3.0.3|yes", "ctrl4|10.3.0.4|yes",
                                                "ctrl2|10.3.0.2|yes"}));
        iom->clearLog();
        iom->answer("cascade connected_slave_available 10.3.0.3", "no");
        DialogAccess::pollConnectedAvailability(*dlg);
        QCOMPARE(iom->requests(), QStringList({"get cascade connected_slave_available 10.3.0.1",
                                               "get cascade connected_slave_available 10.3.0.3"}));
        iom->answer("cascade connected_slave_available 10.3.0.3", "yes");
        DialogAccess::pollConnectedAvailability(*dlg);
        QCOMPARE(colours(selected()), QStringList({"default", "red", "default", "default"}));
        QCOMPARE(rows(selected()).filter("|no"), QStringList({"ctrl3|10.3.0.3|no"}));
    }

    // While the count is negative the scan runs: the list stays, the timer too.
    void availableWaitsWhileScanRuns()
    {
        iom->scriptCascade({}, {{"old", "10.4.0.9"}});
        makeDialog();
        DialogAccess::rebuildAvailable(*dlg);
        iom->scriptCascade({}, {{"b", "10.4.0.2"}, {"a", "10.4.0.1"}});
        iom->queueInt("cascade number_of_scanned_slaves", -1);
        DialogAccess::listTimer(*dlg).start(100);
        iom->clearLog();
        DialogAccess::rebuildAvailable(*dlg);
        QCOMPARE(iom->requests(), QStringList({"getint cascade number_of_scanned_slaves"}));
        QCOMPARE(rows(available()), QStringList({"old|10.4.0.9|yes"}));
        QVERIFY(DialogAccess::listTimer(*dlg).isActive());
        DialogAccess::rebuildAvailable(*dlg);
        QCOMPARE(rows(available()), QStringList({"a|10.4.0.1|yes", "b|10.4.0.2|yes"}));
        QVERIFY(!DialogAccess::listTimer(*dlg).isActive());
    }

    // Entries "ip;description;availability"; "-" makes that request fail.
    void availableRebuild_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<int>("countResult");
        QTest::addColumn<QStringList>("expectRows");
        QTest::addColumn<QStringList>("expectColours");
        QTest::newRow("name is the first word, sorted, availability")
            << QStringList{"10.4.0.1;ctrl-b rack 2;yes", "10.4.0.2;Ctrl-A rack;no", "10.4.0.3; lead;No",
                           "10.5.0.1;sel;yes"}
            << 0 << QStringList{"|10.4.0.3|yes", "Ctrl-A|10.4.0.2|no", "ctrl-b|10.4.0.1|yes", "sel|10.5.0.1|no"}
            << QStringList{"default", "grey", "default", "grey"};
        // A failed request leaves an empty text, never the previous answer.
        QTest::newRow("failures after a good entry")
            << QStringList{"10.4.0.1;alpha x;no", "-;-;-"} << 0 << QStringList{"||yes", "alpha|10.4.0.1|no"}
            << QStringList{"default", "grey"};
        QTest::newRow("count fails") << QStringList{"10.4.0.1;a;yes"} << 1 << QStringList() << QStringList();
    }
    void availableRebuild()
    {
        QFETCH(QStringList, entries);
        QFETCH(int, countResult);
        QFETCH(QStringList, expectRows);
        QFETCH(QStringList, expectColours);
        iom->answerInt("cascade number_of_scanned_slaves", entries.size(), countResult);
        QStringList asked{"getint cascade number_of_scanned_slaves"};
        for (int i = 0; i < entries.size() && !countResult; ++i) {
            const QStringList f = entries[i].split(';');
            const QString ip = f[0] == "-" ? "" : f[0];
            const QStringList req{QString::asprintf("cascade scanned_slave d%02d", i + 1),
                                  "cascade scanned_slave_controller " + ip, "cascade scanned_slave_available " + ip};
            for (int k = 0; k < 3; ++k) {
                f[k] == "-" ? iom->fail(req[k]) : iom->answer(req[k], f[k].toLatin1());
                asked << "get " + req[k];
            }
        }
        makeDialog();
        DialogAccess::connectedSlaves(*dlg) << new SlaveInfo("sel", "10.5.0.1", "yes");
        DialogAccess::availableSlaves(*dlg) << new SlaveInfo("stale", "10.9.9.9", "yes");
        DialogAccess::refillSelectedTable(*dlg);
        DialogAccess::refillAvailableTable(*dlg);
        DialogAccess::listTimer(*dlg).start(100);
        DialogAccess::rebuildAvailable(*dlg);
        QCOMPARE(iom->requests(), asked);
        QCOMPARE(rows(available()), expectRows);
        QCOMPARE(colours(available()), expectColours);
        QCOMPARE(DialogAccess::availableSlaves(*dlg).size(), expectRows.size());
        QVERIFY(!DialogAccess::listTimer(*dlg).isActive());
        QCOMPARE(iom->errors().size(), countResult);
    }

    // A controller may report 2^31 scanned controllers: the rebuild reads
    // entry after entry (the test stops it after two) within a small address
    // space, and never reserves room by the count.
    void absurdScanCount()
    {
        struct Stop {};
        struct EndlessScan : ScriptedIOManager {
            int reads = 0;
            int get_parameter(char *answer, const char *, ...) override
            {
                if (++reads > 6)
                    throw Stop();
                *answer = '\0';
                return 1;
            }
        };
        iom.reset(new EndlessScan);
        iom->answerInt("cascade number_of_scanned_slaves", 2147483647);
        makeDialog();
        rlimit saved{}, limit{};
        QVERIFY(getrlimit(RLIMIT_AS, &saved) == 0);
        QFile statm("/proc/self/statm");
        QVERIFY(statm.open(QIODevice::ReadOnly));
        limit.rlim_cur = rlim_t(statm.readAll().split(' ').value(0).toULongLong()) * rlim_t(getpagesize()) + (1 << 30);
        limit.rlim_max = saved.rlim_max;
        QVERIFY(setrlimit(RLIMIT_AS, &limit) == 0);
        QString outcome = "the rebuild ended";
        try {
            DialogAccess::rebuildAvailable(*dlg);
        } catch (const Stop &) {
            outcome = "stopped";
        } catch (const std::bad_alloc &) {
            outcome = "out of memory";
        }
        setrlimit(RLIMIT_AS, &saved);
        QCOMPARE(outcome, QStringLiteral("stopped"));
        QCOMPARE(DialogAccess::availableSlaves(*dlg).size(), 2);
    }

    // A deselected connected slave that the scan did not list is appended
    // with its row's availability; one the scan listed becomes available.
    void deselectConnectedSlave_data()
    {
        QTest::addColumn<bool>("scanned");
        QTest::addColumn<QStringList>("expectRows");
        QTest::addColumn<QString>("buttonsAfterClick");
        QTest::newRow("red, not scanned") << false << QStringList({"aaa|10.6.0.9|yes", "ctrl1|10.6.0.1|no"}) << "--";
        QTest::newRow("scanned") << true << QStringList({"aaa|10.6.0.9|yes", "ctrl1|10.6.0.1|yes"}) << "S-";
    }
    void deselectConnectedSlave()
    {
        QFETCH(bool, scanned);
        QFETCH(QStringList, expectRows);
        QFETCH(QString, buttonsAfterClick);
        QList<Slave> scan{{"aaa", "10.6.0.9"}};
        if (scanned)
            scan.prepend({"ctrl1", "10.6.0.1"});
        iom->scriptCascade({{"ctrl1", "10.6.0.1", scanned ? "yes" : "no"}}, scan);
        makeDialog();
        fillLists();
        perform({"desel 10.6.0.1"});
        QCOMPARE(rows(available()), expectRows);
        QCOMPARE(colours(available()).last(), QString(scanned ? "default" : "grey"));
        clickRow(available(), 1);
        QCOMPARE(buttons(), buttonsAfterClick);
    }

    void ok_data()
    {
        QTest::addColumn<QByteArray>("scanLan");
        QTest::addColumn<QByteArray>("wol");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("overrides");
        QTest::addColumn<QStringList>("expected");
        const QStringList none;
        const QString wolNo = "set cascade wol_slaves no";
        QTest::newRow("nothing changed") << QByteArray("yes") << QByteArray("no") << none << none << none;
        QTest::newRow("removals first, in list and row order")
            << QByteArray("yes") << QByteArray("no") << QStringList{"sel 10.1.0.4", "sel 10.1.0.3", "desel 10.1.0.2", "desel 10.1.0.1"}
            << none
            << QStringList{Timeout, "cmd korvane cascade sub_slave 10.1.0.1", Timeout, "cmd korvane cascade sub_slave 10.1.0.2",
                           Timeout, "cmd korvane cascade add_slave 10.1.0.4", Timeout, "cmd korvane cascade add_slave 10.1.0.3", wolNo}
                   + Notices;
        QTest::newRow("scan off, still listed") << QByteArray("no") << QByteArray("no") << QStringList{"sel 10.1.0.3"} << none
                                                << QStringList{Timeout, "cmd korvane cascade add_slave 10.1.0.3", wolNo} + Notices;
        QTest::newRow("scan off, no longer listed")
            << QByteArray("no") << QByteArray("no") << QStringList{"sel 10.1.0.3", "rescan 10.1.0.4"} << none
            << QStringList{"cmd korvane cascade add_scanned_slave 10.1.0.3", Timeout, "cmd korvane cascade add_slave 10.1.0.3", wolNo}
                   + Notices;
        QTest::newRow("scan on, no longer listed")
            << QByteArray("yes") << QByteArray("no") << QStringList{"sel 10.1.0.3", "rescan 10.1.0.4"} << none
            << QStringList{Timeout, "cmd korvane cascade add_slave 10.1.0.3", wolNo} + Notices;
        QTest::newRow("deselected and selected back")
            << QByteArray("yes") << QByteArray("no") << QStringList{"desel 10.1.0.2", "sel 10.1.0.2"} << none << QStringList{wolNo} + Notices;
        QTest::newRow("failures and refusals")
            << QByteArray("yes") << QByteArray("no") << QStringList{"desel 10.1.0.1", "desel 10.1.0.2", "sel 10.1.0.3", "sel 10.1.0.4"}
            << QStringList{"korvane cascade sub_slave 10.1.0.1=1|", "korvane cascade sub_slave 10.1.0.2=0|korvane ok ",
                           "korvane cascade add_slave 10.1.0.3=0|korvane OK", "korvane cascade add_slave 10.1.0.4=1|",
                           "cascade wol_slaves no=1|"}
            << QStringList{Timeout, "cmd korvane cascade sub_slave 10.1.0.1", err("Error: Unable to disconnect Cascaded System slave"),
                           Timeout, "cmd korvane cascade sub_slave 10.1.0.2", err("Error: Unable to disconnect the Cascaded System slave"),
                           Timeout, "cmd korvane cascade add_slave 10.1.0.3", err("Error: Unable to connect the Cascaded System slave"),
                           Timeout, "cmd korvane cascade add_slave 10.1.0.4", err("Error: Unable to connect Cascaded System slave"),
                           wolNo, err("Error: Unable reset WOL to Cascaded System slaves")}
                   + Notices;
        QTest::newRow("wol checked, write fails")
            << QByteArray("yes") << QByteArray("no") << QStringList{"wol 2"} << QStringList{"cascade wol_slaves yes=1|"}
            << QStringList{"set cascade wol_slaves yes", err("Error: Unable set WOL to Cascaded System slaves")} + Notices;
        QTest::newRow("wol partially checked") << QByteArray("yes") << QByteArray("yes") << QStringList{"wol 1"} << none
                                               << QStringList{wolNo} + Notices;
    }
    void ok()
    {
        QFETCH(QByteArray, scanLan);
        QFETCH(QByteArray, wol);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, overrides);
        QFETCH(QStringList, expected);
        iom->scriptCascade({A, B}, {C, A, D}, scanLan, wol);
        iom->apply(overrides);
        makeDialog();
        QStringList afterOk;
        const int result = openAndRun(dlg.get(), [this] { return listed(3); }, [&] {
            perform(steps);
            iom->clearLog();
            ui().pushButton_ok->click();
            afterOk = iom->log;
        });
        QCOMPARE(result, 1);
        QCOMPARE(afterOk, expected);
        QVERIFY(!DialogAccess::listTimer(*dlg).isActive() && !DialogAccess::availabilityTimer(*dlg).isActive());
        QCOMPARE(dlg->cursor().shape(), Qt::ArrowCursor);
    }

    // For HARROWGLINT (exactly) the wake-on-LAN option is hidden and forced
    // on; the forced value is no change and is written only with one.
    void wakeOnLan_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<int>("wolResult");
        QTest::addColumn<bool>("deselect");
        QTest::addColumn<QString>("state"); // hidden, checked, enabled
        QTest::addColumn<QStringList>("writes");
        QTest::newRow("HARROWGLINT") << "HARROWGLINT" << 0 << false << "HCE" << QStringList();
        QTest::newRow("HARROWGLINT, other change") << "HARROWGLINT" << 0 << true << "HCE" << QStringList{"set cascade wol_slaves yes"};
        QTest::newRow("Harrowglint") << "Harrowglint" << 0 << false << "--E" << QStringList();
        QTest::newRow("read fails") << "VESTRAL" << 1 << true << "---" << QStringList{"set cascade wol_slaves no"};
    }
    void wakeOnLan()
    {
        QFETCH(QString, model);
        QFETCH(int, wolResult);
        QFETCH(bool, deselect);
        QFETCH(QString, state);
        QFETCH(QStringList, writes);
        iom->scriptCascade({A, B}, {C, A, D}, "yes");
        iom->answer("cascade wol_slaves", "no", wolResult);
        makeDialog(model);
        openAndRun(dlg.get(), [this] { return listed(3); }, [&] {
            QCOMPARE(QString(ui().checkBox_wol->isHidden() ? "H" : "-") + (ui().checkBox_wol->isChecked() ? "C" : "-")
                         + (ui().checkBox_wol->isEnabled() ? "E" : "-"),
                     state);
            QCOMPARE(ui().line_wol->isHidden(), state.startsWith('H'));
            QVERIFY(!DialogAccess::somethingChanged(*dlg));
            if (deselect)
                perform({"desel 10.1.0.2"});
            ui().pushButton_ok->click();
        });
        QCOMPARE(iom->log.filter("set cascade wol_slaves"), writes);
        QCOMPARE(iom->errors().size(), wolResult);
    }
};

GUITEST_MAIN(SlavesTest)
#include "tst_slaves.moc"
