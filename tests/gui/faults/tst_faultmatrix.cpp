// Every request the dialogs send, answered badly in three ways: the request
// fails, the answer is a wrong word, the answer fills the whole buffer
// (199 characters). Whatever the answer, the dialogs report exactly the
// errors they are meant to, never crash or hang, and still close.
//
// The matrix is generated from the command catalogue: a request added there
// without an expectation here fails the test, and every catalogue request
// must be sent by at least one of the scripted user sessions.
#include <QCheckBox>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <functional>
#include <memory>
#include <QtTest>

#include "BackendVersions.h"
#include "cascadecommands.h"
#include "cascadedsettingsdlg.h"
#include "modaldriver.h"
#include "scriptediomanager.h"

using namespace CascadeCommands;

namespace {

enum class Fault { None, Fail, WrongWord, Long };

// Texts of the two scanned controllers and the connected slave.
const char IpA[] = "10.1.0.11";
const char IpB[] = "10.1.0.12";
const char IpSlave[] = "10.1.0.21";

// The errors a fault of one request may cause, by variant. Requests whose
// results are not judged, or whose failure falls back silently, expect none.
struct Expectation
{
    const char *text;
    QStringList onFail;
    QStringList onWrongAnswer; // also used for the 199-character answer
};

QList<Expectation> expectations()
{
    const QString startScan = QStringLiteral("Error: Unable to start scan for Controller as slaves");
    return {
        {ConfigIsChangeable, {}, {}},
        {CascadeAvailable, {QStringLiteral("Error: Unable to get availability of the Cascaded System")}, {}},
        {ScanSlavesLan, {QStringLiteral("Error: Unable to get the status for scanning for Cascaded System slaves in the LAN")}, {}},
        {WolSlaves, {QStringLiteral("Error: Unable to get the WOL status of the Cascaded System slaves")}, {}},
        {ConnectedSlave, {QStringLiteral("Error: Unable to get the IP address of the connected Cascaded System slave")}, {}},
        {HostnameSlave, {}, {}},
        {ConnectedSlaveAvailable, {}, {}},
        {ScannedSlave, {}, {}},
        {ScannedSlaveController, {}, {}},
        {ScannedSlaveAvailable, {}, {}},
        {NumberOfConnectedSlaves, {QStringLiteral("Error: Unable to get the number of the connected slaves")}, {}},
        {NumberOfScannedSlaves,
         {QStringLiteral("Error: Unable to get number of slaves"),
          QStringLiteral("Error: Unable to get the number of the scanned slaves")},
         {}},
        {SetScanSlavesLanYes, {QStringLiteral("Error: Unable to enable scan LAN for the Cascaded System")}, {}},
        {SetScanSlavesLanNo, {QStringLiteral("Error: Unable to disable scan LAN for the Cascaded System")}, {}},
        {SetWolSlavesYes, {QStringLiteral("Error: Unable set WOL to Cascaded System slaves")}, {}},
        {SetWolSlavesNo, {QStringLiteral("Error: Unable reset WOL to Cascaded System slaves")}, {}},
        {CmdScanSlaves, {startScan}, {startScan}},
        {CmdAddSlave, {QStringLiteral("Error: Unable to connect Cascaded System slave")},
         {QStringLiteral("Error: Unable to connect the Cascaded System slave")}},
        {CmdSubSlave, {QStringLiteral("Error: Unable to disconnect Cascaded System slave")},
         {QStringLiteral("Error: Unable to disconnect the Cascaded System slave")}},
        {CmdAddScannedSlave, {}, {}},
    };
}

// Does a formatted request come from the catalogue format `format`?
bool matches(const QString &request, const char *format)
{
    QString pattern = QRegularExpression::escape(QString::fromLatin1(format));
    pattern.replace(QStringLiteral("d\\%2\\.2d"), QStringLiteral("d\\d{2,}"));
    pattern.replace(QStringLiteral("\\%s"), QStringLiteral("\\S*"));
    return QRegularExpression(QStringLiteral("^") + pattern + QStringLiteral("$")).match(request).hasMatch();
}

// A healthy controller: protocol 1.9.0, scan option on, wake-on-LAN `wol`,
// one connected slave and two scanned controllers. After the scan option is
// switched off, the rescan finds only IpB, so that OK must register IpA.
void scriptHealthy(ScriptedIOManager &io, bool wol)
{
    io.answer(QString::fromLatin1(ConfigIsChangeable), "yes");
    io.answer(QString::fromLatin1(CascadeAvailable), "yes");
    io.answer(QString::fromLatin1(ScanSlavesLan), "yes");
    io.answer(QString::fromLatin1(WolSlaves), wol ? "yes" : "no");
    io.answer(QString::fromLatin1(CmdScanSlaves), "korvane ok");
    io.answerInt(QString::fromLatin1(NumberOfScannedSlaves), 2);
    io.answer(QStringLiteral("cascade scanned_slave d01"), IpA);
    io.answer(QStringLiteral("cascade scanned_slave d02"), IpB);
    io.answer(QStringLiteral("cascade scanned_slave_controller %1").arg(IpA), "alpha VESTRAL v2.7.0");
    io.answer(QStringLiteral("cascade scanned_slave_controller %1").arg(IpB), "beta VESTRAL v2.7.0");
    io.answer(QStringLiteral("cascade scanned_slave_available %1").arg(IpA), "yes");
    io.answer(QStringLiteral("cascade scanned_slave_available %1").arg(IpB), "yes");
    io.answerInt(QString::fromLatin1(NumberOfConnectedSlaves), 1);
    io.answer(QStringLiteral("cascade connected_slave d01"), IpSlave);
    io.answer(QStringLiteral("system hostname_slave %1").arg(IpSlave), "slave1");
    io.answer(QStringLiteral("cascade connected_slave_available %1").arg(IpSlave), "yes");
    for (const char *write : {SetScanSlavesLanYes, SetScanSlavesLanNo, SetWolSlavesYes, SetWolSlavesNo})
        io.answer(QString::fromLatin1(write), QByteArray());
    for (const char *ip : {IpA, IpB, IpSlave}) {
        io.answer(QStringLiteral("korvane cascade add_slave %1").arg(ip), "korvane ok");
        io.answer(QStringLiteral("korvane cascade sub_slave %1").arg(ip), "korvane ok");
        io.answer(QStringLiteral("korvane cascade add_scanned_slave %1").arg(ip), "korvane ok");
    }
}

// Overrides every scripted request that comes from `format` with the fault.
void injectFault(ScriptedIOManager &io, const Entry &entry, Fault fault, const QStringList &requests)
{
    for (const QString &req : requests) {
        if (!matches(req, entry.text))
            continue;
        ScriptedIOManager::Reply r;
        switch (fault) {
        case Fault::None:
            return;
        case Fault::Fail:
            r.result = 1;
            r.writeNothing = true;
            break;
        case Fault::WrongWord:
            r.text = "Yes ";
            r.value = -3; // a count that never ends the scan
            break;
        case Fault::Long:
            r.text = QByteArray(199, 'x');
            break;
        }
        // Standing answers replace the healthy ones for the whole run.
        if (entry.kind == Kind::ReadInt)
            io.answerInt(req, r.value, r.result);
        else if (r.writeNothing)
            io.fail(req, r.result);
        else
            io.answer(req, r.text, r.result);
    }
}

// Closes a scan progress dialog that does not finish by itself (a failed
// start, or a count that stays negative) as a user would.
void closeStuckProgress(QWidget *w)
{
    QPointer<QWidget> p(w);
    QTimer::singleShot(1200, w, [p] {
        if (p && p->isVisible())
            static_cast<QDialog *>(p.data())->reject();
    });
}

void click(QWidget *dlg, const char *name)
{
    if (auto *b = dlg->findChild<QPushButton *>(QLatin1String(name)))
        if (b->isEnabled())
            b->click();
}

void selectRow(QWidget *dlg, const char *table, int row)
{
    auto *t = dlg->findChild<QTableWidget *>(QLatin1String(table));
    if (t && row >= 0 && row < t->rowCount()) {
        t->setCurrentCell(row, 1);
        emit t->cellClicked(row, 1); // as a click on the row would
    }
}

int rowOf(QWidget *dlg, const char *table, const char *ip)
{
    auto *t = dlg->findChild<QTableWidget *>(QLatin1String(table));
    for (int r = 0; t && r < t->rowCount(); ++r)
        if (t->item(r, 1) && t->item(r, 1)->text() == QLatin1String(ip))
            return r;
    return -1;
}

enum class Session { Apply, ApplyWolOn, CancelRestore };

// Bound on waiting for the 100 ms list timer to show what a step needs.
const int ListWaitMs = 2000;

// One opening of the dialog with a user session on top. Every step is
// best-effort: a fault may leave a widget disabled or a table empty.
int runSession(CascadedSettingsDlg &dlg, Session session, const std::function<void()> &scanSwitchedOff)
{
    ModalDriver::reset();
    const auto progress = ModalDriver::named(QStringLiteral("EndlessProgressDlgClass"));
    const auto settings = ModalDriver::named(QStringLiteral("CascadedSettingsDlgClass"));
    // The scan runs first, unless the cascade is unavailable.
    ModalDriver::when([progress, settings](QWidget *w) { return progress(w) || settings(w); },
                      [progress](QWidget *w) {
                          if (progress(w))
                              closeStuckProgress(w);
                      });

    auto finish = [](QWidget *w, bool ok) {
        if (ok && w->findChild<QPushButton *>(QStringLiteral("pushButton_ok"))->isEnabled())
            click(w, "pushButton_ok");
        else
            click(w, "pushButton_cancel");
    };

    if (session == Session::ApplyWolOn) {
        ModalDriver::when(settings, [finish](QWidget *w) {
            QTest::qWait(250); // let the list timer rebuild once
            if (auto *wol = w->findChild<QCheckBox *>(QStringLiteral("checkBox_wol")))
                if (wol->isEnabled())
                    wol->setChecked(!wol->isChecked());
            finish(w, true);
        });
    } else {
        // Select the first scanned controller, then switch the scan option;
        // the click runs a nested scan, so it is posted, and the next steps
        // wait until it has returned (with or without a progress dialog).
        auto clicked = std::make_shared<bool>(false);
        ModalDriver::when(settings, [scanSwitchedOff, clicked](QWidget *w) {
            // The list timer's first rebuild shows IpA; a fault may keep it out.
            (void)QTest::qWaitFor([w] { return rowOf(w, "tableWidget_available", IpA) >= 0; }, ListWaitMs);
            selectRow(w, "tableWidget_available", rowOf(w, "tableWidget_available", IpA));
            click(w, "pushButton_select");
            scanSwitchedOff();
            QPointer<QWidget> p(w);
            QTimer::singleShot(0, w, [p, clicked] {
                if (auto *scan = p ? p->findChild<QCheckBox *>(QStringLiteral("checkBox_scanLan")) : nullptr)
                    if (scan->isEnabled())
                        scan->click();
                *clicked = true;
            });
        });
        ModalDriver::when([progress, settings, clicked](QWidget *w) { return progress(w) || (settings(w) && *clicked); },
                          [progress](QWidget *w) {
                              if (progress(w))
                                  closeStuckProgress(w);
                          });
        const bool apply = session == Session::Apply;
        ModalDriver::when([settings, clicked](QWidget *w) { return settings(w) && *clicked; }, [finish, apply](QWidget *w) {
            // The rebuild after the rescan no longer lists IpA.
            (void)QTest::qWaitFor([w] { return rowOf(w, "tableWidget_available", IpA) < 0; }, ListWaitMs);
            selectRow(w, "tableWidget_selected", rowOf(w, "tableWidget_selected", IpSlave));
            click(w, "pushButton_deselect");
            if (auto *wol = w->findChild<QCheckBox *>(QStringLiteral("checkBox_wol")))
                if (wol->isEnabled())
                    wol->setChecked(!wol->isChecked());
            finish(w, apply);
        }, 8000);
    }
    return dlg.update_and_exec();
}

struct Outcome
{
    QStringList requests;
    QStringList errors;
    bool closed;
    QStringList driverFailures;
};

Outcome run(Session session, bool wol, const Entry *target, Fault fault, const QStringList &known)
{
    ScriptedIOManager io;
    scriptHealthy(io, wol);
    if (target)
        injectFault(io, *target, fault, known);
    BackendVersions versions(VersionInfo(2, 7, 0), VersionInfo(1, 9, 0), VersionInfo(2, 7, 0),
                             QStringLiteral("VESTRAL"));
    QWidget parent;
    Outcome out;
    {
        CascadedSettingsDlg dlg(&io, &parent, &versions);
        // Without the LAN scan the controller no longer lists IpA, so OK
        // must register it before connecting it.
        auto scanSwitchedOff = [&io, target, fault, &known] {
            io.answerInt(QString::fromLatin1(NumberOfScannedSlaves), 1);
            io.answer(QStringLiteral("cascade scanned_slave d01"), IpB);
            if (target)
                injectFault(io, *target, fault, known);
        };
        runSession(dlg, session, scanSwitchedOff);
        QElapsedTimer clock;
        clock.start();
        while (ModalDriver::pending() > 0 && ModalDriver::failures().isEmpty() && clock.elapsed() < 10000)
            QTest::qWait(10);
        out.closed = !dlg.isVisible();
        if (dlg.isVisible())
            static_cast<QDialog &>(dlg).reject();
    }
    out.requests = io.requests();
    QStringList errors = io.errors();
    errors.removeDuplicates();
    errors.sort();
    out.errors = errors;
    out.driverFailures = ModalDriver::failures();
    return out;
}

} // namespace

class FaultMatrixTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyRequestHasAnExpectation();
    void healthySessionsSendEveryRequest();
    void fault_data();
    void fault();

private:
    QStringList m_known;                  // every formatted request of the healthy sessions
    QMap<int, QStringList> m_sentBySession; // the same, per session
};

void FaultMatrixTest::initTestCase()
{
    for (Session s : {Session::Apply, Session::ApplyWolOn, Session::CancelRestore}) {
        const Outcome o = run(s, s != Session::ApplyWolOn, nullptr, Fault::None, {});
        if (qEnvironmentVariableIsSet("FAULTMATRIX_TRACE"))
            fprintf(stderr, "%s\n", qPrintable(o.requests.join(QLatin1Char(0x0a))));
        QVERIFY2(o.errors.isEmpty(), qPrintable(o.errors.join(QLatin1Char('\n'))));
        QVERIFY2(o.closed, "a healthy session must close the dialog");
        for (const QString &line : o.requests) {
            m_known << line.section(QLatin1Char(' '), 1);
            m_sentBySession[int(s)] << line.section(QLatin1Char(' '), 1);
        }
    }
    m_known.removeDuplicates();
}

void FaultMatrixTest::everyRequestHasAnExpectation()
{
    const QList<Expectation> table = expectations();
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const bool found = std::any_of(table.begin(), table.end(), [i](const Expectation &e) {
            return qstrcmp(e.text, catalogue[i].text) == 0;
        });
        QVERIFY2(found, catalogue[i].text);
    }
}

void FaultMatrixTest::healthySessionsSendEveryRequest()
{
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const bool sent = std::any_of(m_known.begin(), m_known.end(),
                                      [i](const QString &r) { return matches(r, catalogue[i].text); });
        QVERIFY2(sent, catalogue[i].text);
    }
}

void FaultMatrixTest::fault_data()
{
    QTest::addColumn<int>("entry");
    QTest::addColumn<int>("fault");
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const Kind kind = catalogue[i].kind;
        QTest::newRow(qPrintable(QStringLiteral("%1 / fails").arg(catalogue[i].text))) << int(i) << int(Fault::Fail);
        if (kind == Kind::Write)
            continue; // a write has no answer to get wrong
        QTest::newRow(qPrintable(QStringLiteral("%1 / wrong word").arg(catalogue[i].text)))
            << int(i) << int(Fault::WrongWord);
        if (kind == Kind::ReadInt)
            continue; // an integer has no length; the host parses the text
        QTest::newRow(qPrintable(QStringLiteral("%1 / 199 characters").arg(catalogue[i].text)))
            << int(i) << int(Fault::Long);
    }
}

void FaultMatrixTest::fault()
{
    QFETCH(int, entry);
    QFETCH(int, fault);
    const Entry &target = catalogue[entry];
    const Fault f = Fault(fault);

    const QList<Expectation> table = expectations();
    const auto exp = std::find_if(table.begin(), table.end(),
                                  [&target](const Expectation &e) { return qstrcmp(e.text, target.text) == 0; });
    QVERIFY(exp != table.end());
    QStringList expected = f == Fault::Fail ? exp->onFail : exp->onWrongAnswer;
    expected.sort();

    // Run every session that sends the request when the controller is healthy.
    QStringList seen;
    for (Session s : {Session::Apply, Session::ApplyWolOn, Session::CancelRestore}) {
        const QStringList &sent = m_sentBySession.value(int(s));
        if (!std::any_of(sent.begin(), sent.end(), [&target](const QString &r) { return matches(r, target.text); }))
            continue;
        const Outcome o = run(s, s != Session::ApplyWolOn, &target, f, m_known);
        QVERIFY2(o.driverFailures.isEmpty(), qPrintable(o.driverFailures.join(QLatin1Char('\n'))));
        QVERIFY2(o.closed, "the dialog did not close");
        for (const QString &e : o.errors)
            QVERIFY2(expected.contains(e), qPrintable(QStringLiteral("unexpected report: ") + e));
        seen << o.errors;
    }
    seen.removeDuplicates();
    seen.sort();
    QCOMPARE(seen, expected);
}

QTEST_MAIN(FaultMatrixTest)
#include "tst_faultmatrix.moc"
