// The slave records, the two tables, the connected and available lists and
// the select and deselect moves, driven against a scripted controller.
#include <QtTest>
#include <algorithm>
#include <memory>

#include "slavetests.h"

using namespace SlaveTests;

class CascadedSettingsDlgTest : public QObject
{
    Q_OBJECT

private:
    ScriptedIOManager *iom = nullptr;
    BackendVersions be = backend();
    QWidget *host = nullptr;
    std::unique_ptr<CascadedSettingsDlg> dlg;

    void makeDialog()
    {
        dlg.reset(new CascadedSettingsDlg(iom, host, &be));
    }
    QTableWidget *selected() { return dlg->ui.tableWidget_selected; }
    QTableWidget *available() { return dlg->ui.tableWidget_available; }
    QString buttons()
    {
        return QString(dlg->ui.pushButton_select->isEnabled() ? "S" : "-")
               + (dlg->ui.pushButton_deselect->isEnabled() ? "D" : "-");
    }
    // Qt keeps a row at least as high as the header's minimum section size.
    static int rowHeight(QTableWidget *t, int set) { return qMax(set, t->verticalHeader()->minimumSectionSize()); }
    void prefill(QList<SlaveInfo *> &list, bool selectedTable)
    {
        list << new SlaveInfo("stale", "10.9.9.9", "yes") << new SlaveInfo("stale2", "10.9.9.8", "no");
        selectedTable ? dlg->update_tableWidget_selected() : dlg->update_tableWidget_available();
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

    void slaveInfoAvailability_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("available");
        QTest::newRow("no") << "no" << false;
        QTest::newRow("yes") << "yes" << true;
        QTest::newRow("empty") << "" << true;
        QTest::newRow("No") << "No" << true;
        QTest::newRow("NO") << "NO" << true;
        QTest::newRow("trailing blank") << "no " << true;
        QTest::newRow("newline") << "no\n" << true;
    }
    void slaveInfoAvailability()
    {
        QFETCH(QString, text);
        QFETCH(bool, available);
        SlaveInfo s("h", "10.0.0.1", text);
        QCOMPARE(s.available(), available);
        QCOMPARE(s.availableStr(), QString(available ? "yes" : "no"));
    }

    void sortByHostname()
    {
        QList<SlaveInfo *> l;
        for (const char *n : {"beta", "Alpha", "", "alpha2", "ALPHA"})
            l << new SlaveInfo(n, QString("10.0.0.%1").arg(l.size() + 1), "yes");
        std::sort(l.begin(), l.end(), SlaveInfo::sortAscendingByHostname);
        QStringList names;
        for (SlaveInfo *s : l)
            names << s->hostname();
        QCOMPARE(names.at(0), QString());
        QCOMPARE(QSet<QString>({names.at(1), names.at(2)}), QSet<QString>({"Alpha", "ALPHA"}));
        QCOMPARE(names.mid(3), QStringList({"alpha2", "beta"}));
        // Names equal but for case are neither before nor after each other.
        QVERIFY(!SlaveInfo::sortAscendingByHostname(l[1], l[2]));
        QVERIFY(!SlaveInfo::sortAscendingByHostname(l[2], l[1]));
        qDeleteAll(l);
    }

    void tableSetup_data()
    {
        QTest::addColumn<QString>("table");
        QTest::newRow("selected") << "tableWidget_selected";
        QTest::newRow("available") << "tableWidget_available";
    }
    void tableSetup()
    {
        QFETCH(QString, table);
        makeDialog();
        auto *t = widget<QTableWidget>(dlg.get(), qPrintable(table));
        QCOMPARE(t->columnCount(), 3);
        QCOMPARE(t->rowCount(), 0);
        QStringList labels;
        for (int c = 0; c < 3; ++c)
            labels << t->horizontalHeaderItem(c)->text();
        QCOMPARE(labels, QStringList({"Name", "IP", "Available"}));
        QVERIFY(t->verticalHeader()->isHidden());
        QVERIFY(t->horizontalHeader()->isSectionHidden(2));
        QVERIFY(!t->horizontalHeader()->isSectionHidden(0) && !t->horizontalHeader()->isSectionHidden(1));
        QVERIFY(!t->horizontalHeader()->sectionsClickable());
        QVERIFY(t->horizontalHeader()->stretchLastSection());
        QCOMPARE(t->selectionMode(), QAbstractItemView::SingleSelection);
        QCOMPARE(t->selectionBehavior(), QAbstractItemView::SelectRows);
        QCOMPARE(t->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(t->columnWidth(0), 140);
    }

    // The connected list: requests, failures, and a rebuild that replaces
    // whatever the table showed before.
    void connectedList_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("countResult");
        QTest::addColumn<QList<int>>("failIp");
        QTest::addColumn<QList<int>>("failHost");
        QTest::addColumn<QStringList>("expectRows");
        QTest::addColumn<QStringList>("expectErrors");
        QStringList twelve;
        for (int i = 1; i <= 12; ++i)
            twelve << QString("ctrl%1|10.2.0.%1|yes").arg(i);
        QTest::newRow("twelve slaves") << 12 << 0 << QList<int>() << QList<int>() << twelve << QStringList();
        QTest::newRow("second IP fails")
            << 3 << 0 << QList<int>{2} << QList<int>()
            << QStringList{"ctrl1|10.2.0.1|yes", "ctrl3|10.2.0.3|yes"}
            << QStringList{"Error: Unable to get the IP address of the connected Cascaded System slave"};
        QTest::newRow("hostname fails") << 2 << 0 << QList<int>() << QList<int>{1}
                                        << QStringList{"unknown|10.2.0.1|yes", "ctrl2|10.2.0.2|yes"} << QStringList();
        QTest::newRow("count fails") << 2 << 1 << QList<int>() << QList<int>() << QStringList()
                                     << QStringList{"Error: Unable to get the number of the connected slaves"};
        QTest::newRow("count zero") << 0 << 0 << QList<int>() << QList<int>() << QStringList() << QStringList();
        QTest::newRow("count negative") << -2 << 0 << QList<int>() << QList<int>() << QStringList() << QStringList();
    }
    void connectedList()
    {
        QFETCH(int, count);
        QFETCH(int, countResult);
        QFETCH(QList<int>, failIp);
        QFETCH(QList<int>, failHost);
        QFETCH(QStringList, expectRows);
        QFETCH(QStringList, expectErrors);
        QList<Ctrl> connected;
        for (int i = 1; i <= qMax(count, 3); ++i)
            connected << Ctrl{QString("ctrl%1").arg(i), QString("10.2.0.%1").arg(i)};
        scriptController(*iom, connected, {});
        iom->answerInt("cascade number_of_connected_slaves", count, countResult);
        for (int i : failIp)
            iom->fail(QString::asprintf("cascade connected_slave d%02d", i));
        for (int i : failHost)
            iom->fail(QString("system hostname_slave 10.2.0.%1").arg(i));
        makeDialog();
        prefill(dlg->list_primarySelectedSlaves, true);

        dlg->update_listPrimarySelectedSlaves();

        QStringList asked;
        for (int i = 1; i <= count && countResult == 0; ++i)
            asked << QString::asprintf("get cascade connected_slave d%02d", i);
        QCOMPARE(linesWith(iom->log, {"get cascade connected_slave d"}), asked);
        QCOMPARE(rows(selected()), expectRows);
        QCOMPARE(iom->errors(), expectErrors);
        QCOMPARE(dlg->list_primarySelectedSlaves.size(), expectRows.size());
        for (int r = 0; r < selected()->rowCount(); ++r)
            QCOMPARE(selected()->rowHeight(r), rowHeight(selected(), 28));
        // The poll ran once, over every row, after the table was built.
        QCOMPARE(linesWith(iom->log, {"get cascade connected_slave_available"}).size(), expectRows.size());
        QCOMPARE(colours(selected()), QVector<QString>(expectRows.size(), "default").toList());
    }

    void pollAnswer_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("result");
        QTest::addColumn<bool>("red");
        QTest::newRow("yes") << QByteArray("yes") << 0 << false;
        QTest::newRow("Yes") << QByteArray("Yes") << 0 << true;
        QTest::newRow("yes blank") << QByteArray("yes ") << 0 << true;
        QTest::newRow("yes newline") << QByteArray("yes\n") << 0 << true;
        QTest::newRow("no") << QByteArray("no") << 0 << true;
        QTest::newRow("empty") << QByteArray("") << 0 << true;
        QTest::newRow("request fails") << QByteArray("yes") << 1 << true;
    }
    void pollAnswer()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, result);
        QFETCH(bool, red);
        scriptController(*iom, {{"ctrl1", "10.2.0.1"}, {"ctrl2", "10.2.0.2"}}, {});
        iom->answer("cascade connected_slave_available 10.2.0.2", answer, result);
        makeDialog();
        dlg->update_listPrimarySelectedSlaves();
        QCOMPARE(colours(selected()), QStringList({"default", red ? "red" : "default"}));
        QCOMPARE(column(selected(), 2), QStringList({"yes", red ? "no" : "yes"}));
        QCOMPARE(iom->errors(), QStringList());
        QVERIFY(dlg->isInListprimarySelectedSlaves("10.2.0.2"));
        QVERIFY(!dlg->isInListprimarySelectedSlaves("10.2.0.20"));
    }

    // Connected ctrl1..ctrl3; the user selects ctrl4, deselects ctrl2 and
    // selects it again. The poll covers the rows above the first row that is
    // not a connected slave, and a red row stays red.
    void pollStopsAtFirstNewRow()
    {
        scriptController(*iom, {{"ctrl1", "10.3.0.1"}, {"ctrl2", "10.3.0.2"}, {"ctrl3", "10.3.0.3"}},
                         {{"ctrl4", "10.3.0.4"}});
        makeDialog();
        dlg->update_listPrimarySelectedSlaves();
        dlg->update_listAvailableSlaves();
        clickRow(available(), rowOfIp(available(), "10.3.0.4"));
        dlg->ui.pushButton_select->click();
        clickRow(selected(), rowOfIp(selected(), "10.3.0.2"));
        dlg->ui.pushButton_deselect->click();
        QCOMPARE(column(available(), 1), QStringList({"10.3.0.4", "10.3.0.2"}));
        clickRow(available(), 1);
        dlg->ui.pushButton_select->click();
        QCOMPARE(column(selected(), 1), QStringList({"10.3.0.1", "10.3.0.3", "10.3.0.4", "10.3.0.2"}));

        iom->clearLog();
        iom->answer("cascade connected_slave_available 10.3.0.3", "no");
        dlg->updateConnectedSlaveAvailability();
        QCOMPARE(iom->requests(), QStringList({"get cascade connected_slave_available 10.3.0.1",
                                               "get cascade connected_slave_available 10.3.0.3"}));
        QCOMPARE(colours(selected()), QStringList({"default", "red", "default", "default"}));
        iom->answer("cascade connected_slave_available 10.3.0.3", "yes");
        dlg->updateConnectedSlaveAvailability();
        QCOMPARE(colours(selected()), QStringList({"default", "red", "default", "default"}));
        QCOMPARE(column(selected(), 2), QStringList({"yes", "no", "yes", "yes"}));
    }

    void availableWaitsWhileScanRuns()
    {
        scriptController(*iom, {}, {{"old", "10.4.0.9"}});
        makeDialog();
        dlg->update_listAvailableSlaves();
        QCOMPARE(rows(available()), QStringList({"old|10.4.0.9|yes"}));

        scriptController(*iom, {}, {{"b", "10.4.0.2"}, {"a", "10.4.0.1"}});
        for (int i = 0; i < 3; ++i)
            iom->queueInt("cascade number_of_scanned_slaves", -1);
        dlg->timerUpdateAvailableSlaves.start(100);
        dlg->setCursor(Qt::WaitCursor);
        for (int attempt = 1; attempt <= 3; ++attempt) {
            iom->clearLog();
            dlg->update_listAvailableSlaves();
            QCOMPARE(iom->requests(), QStringList({"getint cascade number_of_scanned_slaves"}));
            QCOMPARE(rows(available()), QStringList({"old|10.4.0.9|yes"}));
            QCOMPARE(dlg->list_availableSlaves.size(), 1);
            QVERIFY(dlg->timerUpdateAvailableSlaves.isActive());
            QCOMPARE(dlg->cursor().shape(), Qt::ArrowCursor);
        }
        iom->clearLog();
        dlg->update_listAvailableSlaves();
        QCOMPARE(iom->requests().size(), 1 + 3 * 2);
        QCOMPARE(rows(available()), QStringList({"a|10.4.0.1|yes", "b|10.4.0.2|yes"}));
        QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
    }

    // Scan entries "ip;description;availability"; "<fail>" makes that
    // request fail without writing an answer.
    void availableRebuild_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("selectedIps");
        QTest::addColumn<QStringList>("expectRows");
        QTest::addColumn<QStringList>("expectColours");
        QTest::newRow("split at first blank, sorted")
            << QStringList{"10.4.0.1;ctrl-b rack 2;yes", "10.4.0.2;Ctrl-A rack 1;yes"} << QStringList()
            << QStringList{"Ctrl-A|10.4.0.2|yes", "ctrl-b|10.4.0.1|yes"} << QStringList{"default", "default"};
        QTest::newRow("no blank, leading blank")
            << QStringList{"10.4.0.1;zeta;yes", "10.4.0.2; lead;yes"} << QStringList()
            << QStringList{"|10.4.0.2|yes", "zeta|10.4.0.1|yes"} << QStringList{"default", "default"};
        QTest::newRow("availability answers")
            << QStringList{"10.4.0.1;a;no", "10.4.0.2;b;yes", "10.4.0.3;c;", "10.4.0.4;d;unknown", "10.4.0.5;e;No"}
            << QStringList()
            << QStringList{"a|10.4.0.1|no", "b|10.4.0.2|yes", "c|10.4.0.3|yes", "d|10.4.0.4|yes", "e|10.4.0.5|yes"}
            << QStringList{"grey", "default", "default", "default", "default"};
        QTest::newRow("already in the selected table")
            << QStringList{"10.4.0.1;a;yes", "10.4.0.2;b;yes"} << QStringList{"10.4.0.2"}
            << QStringList{"a|10.4.0.1|yes", "b|10.4.0.2|no"} << QStringList{"default", "grey"};
        QTest::newRow("duplicates kept")
            << QStringList{"10.4.0.1;a;yes", "10.4.0.1;a;yes"} << QStringList()
            << QStringList{"a|10.4.0.1|yes", "a|10.4.0.1|yes"} << QStringList{"default", "default"};
        // A failed request must leave an empty text, never the previous
        // controller's answer or whatever the buffer held.
        QTest::newRow("IP request fails after a good entry")
            << QStringList{"10.4.0.1;alpha x;no", "<fail>;<fail>;<fail>"} << QStringList()
            << QStringList{"||yes", "alpha|10.4.0.1|no"} << QStringList{"default", "grey"};
        QTest::newRow("description and availability fail after a good entry")
            << QStringList{"10.4.0.1;alpha x;no", "10.4.0.2;<fail>;<fail>"} << QStringList()
            << QStringList{"|10.4.0.2|yes", "alpha|10.4.0.1|no"} << QStringList{"default", "grey"};
        QTest::newRow("first entry fails") << QStringList{"10.4.0.1;<fail>;<fail>"} << QStringList()
                                           << QStringList{"|10.4.0.1|yes"} << QStringList{"default"};
        QTest::newRow("count zero") << QStringList() << QStringList() << QStringList() << QStringList();
    }
    void availableRebuild()
    {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, selectedIps);
        QFETCH(QStringList, expectRows);
        QFETCH(QStringList, expectColours);
        iom->answerInt("cascade number_of_scanned_slaves", entries.size());
        QStringList asked{"getint cascade number_of_scanned_slaves"};
        for (int i = 0; i < entries.size(); ++i) {
            const QStringList f = entries[i].split(';');
            const QString idx = QString::asprintf("cascade scanned_slave d%02d", i + 1);
            const QString ip = f[0] == "<fail>" ? QString() : f[0];
            f[0] == "<fail>" ? iom->fail(idx) : iom->answer(idx, f[0].toLatin1());
            const QString ctl = "cascade scanned_slave_controller " + ip;
            const QString av = "cascade scanned_slave_available " + ip;
            f[1] == "<fail>" ? iom->fail(ctl) : iom->answer(ctl, f[1].toLatin1());
            f[2] == "<fail>" ? iom->fail(av) : iom->answer(av, f[2].toLatin1());
            asked << "get " + idx << "get " + ctl << "get " + av;
        }
        makeDialog();
        for (const QString &ip : selectedIps)
            dlg->list_primarySelectedSlaves << new SlaveInfo("sel", ip, "yes");
        dlg->update_tableWidget_selected();
        prefill(dlg->list_availableSlaves, false);
        dlg->timerUpdateAvailableSlaves.start(100);

        dlg->update_listAvailableSlaves();

        QCOMPARE(iom->requests(), asked);
        QCOMPARE(rows(available()), expectRows);
        QCOMPARE(colours(available()), expectColours);
        for (int r = 0; r < available()->rowCount(); ++r)
            QCOMPARE(available()->rowHeight(r), rowHeight(available(), 20));
        QCOMPARE(dlg->list_availableSlaves.size(), expectRows.size());
        QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
        QCOMPARE(iom->errors(), QStringList());
    }

    void availableCountFails()
    {
        scriptController(*iom, {}, {{"a", "10.4.0.1"}});
        makeDialog();
        dlg->update_listAvailableSlaves();
        clickRow(available(), 0);
        QCOMPARE(buttons(), QString("S-"));
        iom->answerInt("cascade number_of_scanned_slaves", 3, 1);
        dlg->timerUpdateAvailableSlaves.start(100);
        dlg->update_listAvailableSlaves();
        QCOMPARE(iom->errors(), QStringList({"Error: Unable to get the number of the scanned slaves"}));
        QCOMPARE(available()->rowCount(), 0);
        QVERIFY(dlg->list_availableSlaves.isEmpty());
        QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
        QCOMPARE(buttons(), QString("--"));
    }

    // Button states after every click, move and rebuild.
    void selectAndDeselect()
    {
        scriptController(*iom, {{"ctrl1", "10.5.0.1"}, {"ctrl2", "10.5.0.2"}},
                         {{"ctrlC", "10.5.0.12"}, {"ctrlA", "10.5.0.10"}, {"ctrlB", "10.5.0.11", "no"},
                          {"ctrl1", "10.5.0.1"}});
        makeDialog();
        dlg->update_listPrimarySelectedSlaves();
        dlg->update_listAvailableSlaves();
        QCOMPARE(column(available(), 0), QStringList({"ctrl1", "ctrlA", "ctrlB", "ctrlC"}));
        QCOMPARE(colours(available()), QStringList({"grey", "default", "grey", "default"}));
        QCOMPARE(buttons(), QString("--"));
        QVERIFY(!dlg->bSomethingChanged);

        clickRow(available(), 2); // ctrlB, hidden "no"
        QCOMPARE(buttons(), QString("--"));
        clickRow(available(), 0); // ctrl1, already selected
        QCOMPARE(buttons(), QString("--"));
        clickRow(available(), 1); // ctrlA
        QCOMPARE(buttons(), QString("S-"));
        QCOMPARE(dlg->m_iLastSelection_tableWidget_available, 1);
        clickRow(selected(), 0); // a click in one table keeps the other's row
        QCOMPARE(buttons(), QString("SD"));

        dlg->ui.pushButton_select->click();
        QCOMPARE(rows(selected()), QStringList({"ctrl1|10.5.0.1|yes", "ctrl2|10.5.0.2|yes", "ctrlA|10.5.0.10|yes"}));
        QCOMPARE(selected()->rowHeight(2), rowHeight(selected(), 28));
        QCOMPARE(colours(selected()), QStringList({"default", "default", "default"}));
        QCOMPARE(colours(available()), QStringList({"grey", "grey", "grey", "default"}));
        QCOMPARE(column(available(), 2), QStringList({"no", "yes", "no", "yes"}));
        QCOMPARE(available()->currentRow(), -1);
        QCOMPARE(buttons(), QString("-D"));
        QVERIFY(dlg->bSomethingChanged);
        clickRow(available(), 1); // the grey row just selected
        QCOMPARE(buttons(), QString("-D"));

        dlg->bSomethingChanged = false;
        dlg->ui.pushButton_deselect->click(); // ctrl1, current in the selected table
        QCOMPARE(column(selected(), 1), QStringList({"10.5.0.2", "10.5.0.10"}));
        QCOMPARE(rows(available()),
                 QStringList({"ctrl1|10.5.0.1|yes", "ctrlA|10.5.0.10|yes", "ctrlB|10.5.0.11|no", "ctrlC|10.5.0.12|yes"}));
        QCOMPARE(colours(available()), QStringList({"default", "default", "grey", "default"}));
        QCOMPARE(selected()->currentRow(), -1);
        QVERIFY(dlg->bSomethingChanged);
        clickRow(available(), 1); // ctrlA is shown normal but stands in the selected table
        QCOMPARE(buttons(), QString("--"));
        clickRow(available(), 0); // ctrl1 can be selected again
        QCOMPARE(buttons(), QString("S-"));

        // The next rebuild shows the user's choice grey again.
        dlg->update_listAvailableSlaves();
        QCOMPARE(rows(available()),
                 QStringList({"ctrl1|10.5.0.1|yes", "ctrlA|10.5.0.10|no", "ctrlB|10.5.0.11|no", "ctrlC|10.5.0.12|yes"}));
        const int cur = available()->currentRow();
        const bool selectable = cur >= 0 && available()->item(cur, 2) && available()->item(cur, 2)->text() == "yes";
        QCOMPARE(dlg->ui.pushButton_select->isEnabled(), selectable);

        // Moves without a current row do nothing.
        available()->setCurrentCell(-1, 0);
        selected()->setCurrentCell(-1, 0);
        dlg->on_pushButton_select_clicked();
        dlg->on_pushButton_deselect_clicked();
        QCOMPARE(column(selected(), 1), QStringList({"10.5.0.2", "10.5.0.10"}));
        QCOMPARE(available()->rowCount(), 4);
    }

    // Deselecting a connected slave: found in the list it becomes available;
    // not found it is appended at the bottom with its row's availability.
    void deselectConnectedSlave_data()
    {
        QTest::addColumn<QByteArray>("poll");
        QTest::addColumn<bool>("scanned");
        QTest::addColumn<QStringList>("expectRows");
        QTest::addColumn<QString>("expectColour");
        QTest::addColumn<bool>("selectable");
        QTest::newRow("red, not scanned")
            << QByteArray("no") << false << QStringList({"aaa|10.6.0.9|yes", "ctrl1|10.6.0.1|no"}) << "grey" << false;
        QTest::newRow("connected, not scanned")
            << QByteArray("yes") << false << QStringList({"aaa|10.6.0.9|yes", "ctrl1|10.6.0.1|yes"}) << "default" << true;
        QTest::newRow("scanned as unavailable")
            << QByteArray("yes") << true << QStringList({"aaa|10.6.0.9|yes", "ctrl1|10.6.0.1|yes"}) << "default" << true;
    }
    void deselectConnectedSlave()
    {
        QFETCH(QByteArray, poll);
        QFETCH(bool, scanned);
        QFETCH(QStringList, expectRows);
        QFETCH(QString, expectColour);
        QFETCH(bool, selectable);
        QList<Ctrl> scan{{"aaa", "10.6.0.9"}};
        if (scanned)
            scan.prepend({"ctrl1", "10.6.0.1", "no"});
        scriptController(*iom, {{"ctrl1", "10.6.0.1", poll}}, scan);
        makeDialog();
        dlg->update_listPrimarySelectedSlaves();
        dlg->update_listAvailableSlaves();
        clickRow(selected(), 0);
        QCOMPARE(buttons(), QString("-D"));
        dlg->ui.pushButton_deselect->click();
        QCOMPARE(selected()->rowCount(), 0);
        QCOMPARE(rows(available()), expectRows);
        QCOMPARE(rowColour(available(), 1), expectColour);
        QCOMPARE(buttons(), QString("--"));
        clickRow(available(), 1);
        QCOMPARE(buttons(), QString(selectable ? "S-" : "--"));
        QCOMPARE(dlg->list_primarySelectedSlaves.size(), 1); // the controller's view is kept
    }

    // The opening fills both tables and starts the poll; a slave the
    // controller reports offline is red.
    void openingFillsTables()
    {
        scriptController(*iom, {{"ctrl1", "10.7.0.1"}, {"ctrl2", "10.7.0.2", "no"}},
                         {{"ctrlX", "10.7.0.5"}, {"ctrl1", "10.7.0.1"}});
        makeDialog();
        const int result = openAndRun(
            dlg.get(), [this] { return available()->rowCount() == 2; },
            [this] {
                QCOMPARE(rows(selected()), QStringList({"ctrl1|10.7.0.1|yes", "ctrl2|10.7.0.2|no"}));
                QCOMPARE(colours(selected()), QStringList({"default", "red"}));
                QCOMPARE(rows(available()), QStringList({"ctrl1|10.7.0.1|no", "ctrlX|10.7.0.5|yes"}));
                QCOMPARE(colours(available()), QStringList({"grey", "default"}));
                QCOMPARE(dlg->cursor().shape(), Qt::ArrowCursor);
                QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
                QVERIFY(dlg->timerConntectedSlavesAvailable.isActive());
                QCOMPARE(dlg->timerConntectedSlavesAvailable.interval(), 1000);
                const QStringList r = iom->requests();
                QVERIFY(r.indexOf("cmd korvane cascade scan_slaves") < r.indexOf("getint cascade number_of_connected_slaves"));
                QVERIFY(r.indexOf("getint cascade number_of_connected_slaves") < r.indexOf("get cascade wol_slaves"));
                dlg->ui.pushButton_cancel->click();
            });
        QCOMPARE(result, 0);
    }

    void lockedConfiguration()
    {
        scriptController(*iom, {{"ctrl1", "10.8.0.1"}}, {{"ctrlA", "10.8.0.2"}, {"ctrlB", "10.8.0.3"}});
        iom->answer("config is_changeable", "no");
        makeDialog();
        const int result = openAndRun(
            dlg.get(), [this] { return available()->rowCount() == 2; },
            [this] {
                QCOMPARE(buttons(), QString("--"));
                QVERIFY(!dlg->ui.pushButton_ok->isEnabled());
                QVERIFY(!dlg->ui.checkBox_wol->isEnabled());
                QVERIFY(!dlg->ui.checkBox_scanLan->isEnabled());
                QVERIFY(available()->isEnabled() && selected()->isEnabled());
                QVERIFY(dlg->ui.pushButton_update->isEnabled() && dlg->ui.pushButton_addSlave->isEnabled());
                clickRow(available(), 0);
                QCOMPARE(buttons(), QString("--"));
                clickRow(selected(), 0);
                QCOMPARE(buttons(), QString("--"));
                clickRow(available(), 1);
                QCOMPARE(buttons(), QString("--"));
                dlg->ui.pushButton_cancel->click();
            });
        QCOMPARE(result, 0);
    }
};

QTEST_MAIN(CascadedSettingsDlgTest)
#include "tst_slavelists.moc"
