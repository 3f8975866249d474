// SPDX-License-Identifier: MIT
// The settings dialog's opening, version gates, lock, unavailable state and
// closing without applying; and the scan progress dialog.
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QtTest>

#include "BackendVersions.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "endlessprogressdlg.h"
#include "guitest.h"
#include "scriptediomanager.h"

using GuiTest::openAndRun;

namespace {
const QString Scan = QStringLiteral("cmd korvane cascade scan_slaves");
const QString Poll = QStringLiteral("getint cascade number_of_scanned_slaves");
const QString ScanYes = QStringLiteral("set cascade scan_slaves_lan yes");
const QString ScanNo = QStringLiteral("set cascade scan_slaves_lan no");
const int Fails = -1000; // a poll answer that fails instead

QStringList writes(const QStringList &log) { return log.filter(QRegularExpression(QStringLiteral("^set "))); }
Ui::CascadedSettingsDlgClass &ui(CascadedSettingsDlg &dlg) { return DialogAccess::ui(dlg); }
QImage image(const QIcon &icon) { return icon.pixmap(48, 48).toImage().convertToFormat(QImage::Format_ARGB32); }
} // namespace

Q_DECLARE_METATYPE(QList<int>)

class DialogsTest : public QObject
{
    Q_OBJECT

    ScriptedIOManager iom;
    BackendVersions versions;
    QWidget host;
    QIcon hostIcon;

    void setProtocol(int major, int minor, int patch)
    {
        versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(major, minor, patch), VersionInfo(2, 0, 0),
                                   QStringLiteral("VESTRAL"));
    }
    void verifyUnavailable(CascadedSettingsDlg &dlg)
    {
        const auto guarded = dlg.findChildren<QWidget *>(
            QRegularExpression(QStringLiteral("^(checkBox|label_[sa]|table|pushButton_[^c]|lineEdit)")));
        QCOMPARE(guarded.size(), 13);
        for (QWidget *w : guarded)
            QVERIFY2(!w->isEnabled(), qPrintable(w->objectName()));
        QVERIFY(ui(dlg).pushButton_cancel->isEnabled());
        QVERIFY(ui(dlg).label_error->isVisible());
        QVERIFY(ui(dlg).label_error->text().contains(QLatin1String("Cascaded System is not available!")));
    }

private slots:
    void initTestCase()
    {
        GuiTest::install();
        QPixmap red(16, 16);
        red.fill(Qt::red);
        hostIcon = QIcon(red);
        host.setWindowIcon(hostIcon);
    }
    void init()
    {
        iom = ScriptedIOManager();
        setProtocol(1, 9, 0);
        GuiTest::drivePolls();
    }
    void cleanup() { VERIFY_CLEAN(); }

    // The opening reads everything and scans once, in this order, before the
    // dialog shows; setting the check boxes neither writes nor counts as a change.
    void openingSequence_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("on");
        QTest::newRow("on") << QByteArray("yes") << true;
        QTest::newRow("near misses") << QByteArray("Yes") << false;
        QTest::newRow("line end") << QByteArray("yes\n") << false;
    }
    void openingSequence()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, on);
        iom.scriptCascade({}, {}, answer, answer);
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        bool hiddenDuringScan = false;
        GuiTest::drivePolls(false);
        ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [&](QWidget *w) {
            hiddenDuringScan = !dlg.isVisible() && w->parentWidget() == &host;
            GuiTest::poll(w);
        });
        QCOMPARE(openAndRun(&dlg, nullptr, [&] {
                     QVERIFY(DialogAccess::tickList(dlg));
                     QCOMPARE(iom.log, (QStringList{"get config is_changeable", "get cascade available",
                                                    "get cascade scan_slaves_lan", Scan, Poll,
                                                    "getint cascade number_of_connected_slaves",
                                                    "get cascade wol_slaves", Poll}));
                     QCOMPARE(ui(dlg).checkBox_scanLan->isChecked(), on);
                     QCOMPARE(ui(dlg).checkBox_wol->isChecked(), on);
                     QVERIFY(!DialogAccess::somethingChanged(dlg));
                     QVERIFY(DialogAccess::availabilityTimer(dlg).isActive());
                     QTest::keyClick(ui(dlg).tableWidget_available, Qt::Key_Return); // no default button
                     QVERIFY(dlg.isVisible());
                     ui(dlg).pushButton_cancel->click();
                 }),
                 0);
        QVERIFY(hiddenDuringScan);
        QVERIFY(!DialogAccess::availabilityTimer(dlg).isActive());
        QCOMPARE(writes(iom.log), QStringList());
        QCOMPARE(iom.errors(), QStringList());
    }

    // Every row ends in the unavailable state; what differs is what is asked
    // and reported.
    void versionGates_data()
    {
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("patch");
        QTest::addColumn<QByteArray>("available");
        QTest::addColumn<int>("result");
        QTest::addColumn<bool>("asksLock");
        QTest::addColumn<QString>("error");
        const QString tooOld = QStringLiteral("Error: Version of the Controller (pv v1.6) is too old ");
        QTest::newRow("1.6.99") << 6 << 99 << QByteArray("no") << 0 << false << tooOld;
        QTest::newRow("1.6.-1") << 6 << -1 << QByteArray("no") << 0 << false << tooOld;
        QTest::newRow("1.7.0") << 7 << 0 << QByteArray("no") << 0 << false << "";
        QTest::newRow("1.9.-2") << 9 << -2 << QByteArray("no") << 0 << false << "";
        QTest::newRow("1.9.-1") << 9 << -1 << QByteArray("no") << 0 << true << "";
        QTest::newRow("1.10.0") << 10 << 0 << QByteArray("no") << 0 << true << "";
        QTest::newRow("yes and blank") << 9 << 0 << QByteArray("yes ") << 0 << true << "";
        QTest::newRow("read fails") << 9 << 0 << QByteArray("yes") << 1 << true
                                    << "Error: Unable to get availability of the Cascaded System";
    }
    void versionGates()
    {
        QFETCH(int, minor);
        QFETCH(int, patch);
        QFETCH(QByteArray, available);
        QFETCH(int, result);
        QFETCH(bool, asksLock);
        QFETCH(QString, error);
        setProtocol(1, minor, patch);
        iom.scriptCascade({}, {});
        iom.answer(QStringLiteral("config is_changeable"), "no");
        iom.answer(QStringLiteral("cascade available"), available, result);
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        QCOMPARE(openAndRun(&dlg, nullptr, [&] {
                     verifyUnavailable(dlg);
                     QTest::keyClick(&dlg, Qt::Key_Escape);
                 }),
                 0);
        QStringList expected;
        if (asksLock)
            expected << QStringLiteral("get config is_changeable");
        if (minor > 6)
            expected << QStringLiteral("get cascade available");
        QCOMPARE(iom.log.filter(QRegularExpression(QStringLiteral("^(get|cmd|set)"))), expected);
        QCOMPARE(iom.errors(), error.isEmpty() ? QStringList() : QStringList{error});
        QCOMPARE(DialogAccess::configLocked(dlg), asksLock);
    }

    void configLock_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("result");
        QTest::addColumn<bool>("locked");
        QTest::newRow("no") << QByteArray("no") << 0 << true;
        QTest::newRow("no and blank") << QByteArray("no ") << 0 << false;
        QTest::newRow("read fails") << QByteArray("no") << 1 << false;
    }
    void configLock()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, result);
        QFETCH(bool, locked);
        iom.scriptCascade({}, {}, "yes", "yes");
        iom.answer(QStringLiteral("config is_changeable"), answer, result);
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        openAndRun(&dlg, nullptr, [&] {
            QVERIFY(DialogAccess::tickList(dlg));
            QVERIFY(image(dlg.windowIcon()) == image(locked ? QIcon(QStringLiteral(":/lock.png")) : hostIcon));
            for (QWidget *w : {(QWidget *)ui(dlg).pushButton_ok, (QWidget *)ui(dlg).checkBox_scanLan,
                               (QWidget *)ui(dlg).checkBox_wol, (QWidget *)ui(dlg).pushButton_select})
                QVERIFY2(w->isEnabled() == (!locked && w != ui(dlg).pushButton_select), qPrintable(w->objectName()));
            for (QWidget *w : {(QWidget *)ui(dlg).tableWidget_available, (QWidget *)ui(dlg).pushButton_update,
                               (QWidget *)ui(dlg).pushButton_addSlave})
                QVERIFY2(w->isEnabled(), qPrintable(w->objectName()));
        });
        QCOMPARE(iom.errors(), QStringList()); // an unreadable lock is not reported
    }

    // Every opening asks again; one that finds the cascade unavailable keeps
    // the previous lists, disabled.
    void reopening()
    {
        iom.scriptCascade({{"ctrl5", "10.0.0.5"}}, {});
        iom.answer(QStringLiteral("config is_changeable"), "no");
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        openAndRun(&dlg, nullptr, [&] { QVERIFY(!ui(dlg).pushButton_ok->isEnabled()); });
        iom.answer(QStringLiteral("config is_changeable"), "yes");
        openAndRun(&dlg, nullptr, [&] {
            QVERIFY(ui(dlg).pushButton_ok->isEnabled());
            QVERIFY(image(dlg.windowIcon()) == image(hostIcon));
        });
        iom.answer(QStringLiteral("cascade available"), "no");
        openAndRun(&dlg, nullptr, [&] {
            verifyUnavailable(dlg);
            QCOMPARE(GuiTest::rows(ui(dlg).tableWidget_selected), QStringList{"ctrl5|10.0.0.5|yes"});
        });
        QCOMPARE(iom.count(Scan), 2);
        QCOMPARE(iom.count(QStringLiteral("get config is_changeable")), 3);
        QCOMPARE(iom.count(QStringLiteral("getint cascade number_of_connected_slaves")), 2);
    }

    // The scan-LAN option is written at once and rescans; closing without OK
    // writes the opening value back only if it differs.
    void scanLanOption_data()
    {
        QTest::addColumn<QByteArray>("atOpening");
        QTest::addColumn<int>("toggles");
        QTest::addColumn<QString>("closeBy");
        QTest::addColumn<QString>("failing");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("error");
        QTest::newRow("untouched") << QByteArray("no") << 0 << "cancel" << "" << QStringList() << "";
        QTest::newRow("on, cancel") << QByteArray("no") << 1 << "cancel" << "" << QStringList{ScanYes, ScanNo} << "";
        QTest::newRow("off, escape") << QByteArray("yes") << 1 << "escape" << "" << QStringList{ScanNo, ScanYes} << "";
        QTest::newRow("on, close button") << QByteArray("no") << 1 << "close" << "" << QStringList{ScanYes, ScanNo} << "";
        QTest::newRow("on and off, cancel") << QByteArray("no") << 2 << "cancel" << "" << QStringList{ScanYes, ScanNo} << "";
        QTest::newRow("on, OK keeps it") << QByteArray("no") << 1 << "ok" << "" << QStringList{ScanYes} << "";
        QTest::newRow("switching fails") << QByteArray("no") << 1 << "cancel" << ScanYes << QStringList{ScanYes}
                                         << "Error: Unable to enable scan LAN for the Cascaded System";
        QTest::newRow("restoring fails") << QByteArray("yes") << 1 << "cancel" << ScanYes
                                         << QStringList{ScanNo, ScanYes}
                                         << "Error: Unable to enable scan LAN for the Cascaded System";
    }
    void scanLanOption()
    {
        QFETCH(QByteArray, atOpening);
        QFETCH(int, toggles);
        QFETCH(QString, closeBy);
        QFETCH(QString, failing);
        QFETCH(QStringList, expected);
        QFETCH(QString, error);
        iom.scriptCascade({}, {}, atOpening);
        if (!failing.isEmpty())
            iom.fail(failing.mid(4));
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        const int result = openAndRun(&dlg, nullptr, [&] {
            QVERIFY(DialogAccess::tickList(dlg));
            for (int i = 0; i < toggles; ++i)
                ui(dlg).checkBox_scanLan->click(); // a rescan each time its switch succeeds
            if (closeBy == QLatin1String("cancel"))
                ui(dlg).pushButton_cancel->click();
            else if (closeBy == QLatin1String("escape"))
                QTest::keyClick(&dlg, Qt::Key_Escape);
            else if (closeBy == QLatin1String("close"))
                dlg.close();
            else
                ui(dlg).pushButton_ok->click();
        });
        QCOMPARE(result, closeBy == QLatin1String("ok") ? 1 : 0);
        QCOMPARE(writes(iom.log), expected);
        QCOMPARE(iom.count(Scan), 1 + (failing == ScanYes && atOpening == "no" ? 0 : toggles));
        QCOMPARE(iom.errors(), error.isEmpty() ? QStringList() : QStringList{error});
        QVERIFY(!DialogAccess::listTimer(dlg).isActive() && !DialogAccess::availabilityTimer(dlg).isActive());
    }

    // Update runs the progress dialog on top of the open dialog, then the
    // available-list refresh 100 ms later.
    void updateRescans()
    {
        iom.scriptCascade({}, {});
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        openAndRun(&dlg, nullptr, [&] {
            QVERIFY(DialogAccess::tickList(dlg));
            iom.clearLog();
            ui(dlg).pushButton_update->click(); // the progress dialog closes itself
            QVERIFY(DialogAccess::listTimer(dlg).isActive());
            QCOMPARE(DialogAccess::listTimer(dlg).interval(), 100);
            QVERIFY(DialogAccess::tickList(dlg));
            QCOMPARE(iom.requests(), (QStringList{Scan, Poll, Poll}));
        });
    }

    // The progress dialog polls every 500 ms (its real timer: the timing is
    // checked) and closes itself on a count of 0 or more; a failed poll is
    // reported every time.
    void progressPolls_data()
    {
        QTest::addColumn<QList<int>>("counts");
        QTest::newRow("0 at once") << QList<int>{0};
        QTest::newRow("running, failing, then 3") << QList<int>{-1, Fails, -5, Fails, 3};
    }
    void progressPolls()
    {
        QFETCH(QList<int>, counts);
        iom.answer(QStringLiteral("korvane cascade scan_slaves"), "korvane ok");
        for (int c : counts)
            iom.queueInt(Poll.mid(7), c == Fails ? 0 : c, c == Fails);
        GuiTest::drivePolls(false);
        EndlessProgressDlg dlg(&host, &iom);
        QElapsedTimer clock;
        clock.start();
        QTimer::singleShot(15000, &dlg, &QDialog::reject);
        QCOMPARE(dlg.update_and_exec(), 1);
        QVERIFY(clock.elapsed() >= 450 * counts.size()); // timers may fire up to 5 % early
        QCOMPARE(iom.requests(), QStringList{Scan} + QVector<QString>(counts.size(), Poll).toList());
        QCOMPARE(iom.errors(), QVector<QString>(counts.count(Fails), "Error: Unable to get number of slaves").toList());
    }

    // The dialog waits for the user when the scan did not start (nothing
    // polls within the poll interval) or never ends.
    void progressStaysOpen_data()
    {
        QTest::addColumn<int>("result");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("count");
        QTest::newRow("send failed") << 1 << QByteArray("korvane ok") << 0;
        QTest::newRow("trailing blank") << 0 << QByteArray("korvane ok ") << 0;
        QTest::newRow("scan never ends") << 0 << QByteArray("korvane ok") << -1;
    }
    void progressStaysOpen()
    {
        QFETCH(int, result);
        QFETCH(QByteArray, reply);
        QFETCH(int, count);
        iom.answer(QStringLiteral("korvane cascade scan_slaves"), reply, result);
        iom.answerInt(Poll.mid(7), count);
        GuiTest::drivePolls(false);
        EndlessProgressDlg dlg(&host, &iom);
        bool stayed = false;
        ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [&](QWidget *w) {
            if (count < 0)
                GuiTest::poll(w);
            stayed = !QSignalSpy(&dlg, &QDialog::finished).wait(700);
            QTest::keyClick(w, Qt::Key_Escape);
        });
        QCOMPARE(dlg.update_and_exec(), 0);
        QVERIFY(stayed);
        const QStringList requests = iom.requests();
        QCOMPARE(requests.first(), Scan);
        QCOMPARE(requests.count(Poll), count < 0 ? requests.size() - 1 : 0);
        QVERIFY(requests.size() >= (count < 0 ? 2 : 1));
        QCOMPARE(iom.errors(), count < 0 ? QStringList() : QStringList{"Error: Unable to start scan for Controller as slaves"});
        if (count < 0) { // a scan that finds no controller ends at its first poll
            iom.answerInt(Poll.mid(7), 0);
            ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), GuiTest::poll);
            QCOMPARE(dlg.update_and_exec(), 1);
        }
    }
};

GUITEST_MAIN(DialogsTest)
#include "tst_dialogs.moc"
