// Every request the dialogs send, answered badly in three ways: the request
// fails, the answer is a wrong word, the answer fills the whole buffer
// (199 characters). Whatever the answer, the dialogs report exactly the
// errors they are meant to, never crash or hang, and still close.
//
// The matrix is generated from the command catalogue: a request added there
// without an expectation here fails the test, and every catalogue request
// must be sent by at least one of the scripted user sessions.
//
// A session drives the dialogs' time: it runs the scan progress dialog's
// poll and the list timer's rebuild at once instead of waiting for their
// 500 ms and 100 ms timers. Every catalogue entry is one row of fault() and
// one CTest test (gui.faultmatrix.<entry>); initTestCase runs and checks the
// healthy sessions that every row compares with.
#include <QCheckBox>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <functional>
#include <memory>
#include <QtTest>

#include "BackendVersions.h"
#include "ControllerProtocol.h"
#include "cascadecommands.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "guitest.h"
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

const QString Poll = QStringLiteral("getint cascade number_of_scanned_slaves");

// A healthy controller: protocol 1.9.0, scan option on, wake-on-LAN `wol`,
// one connected slave and two scanned controllers. After the scan option is
// switched off, the rescan finds only IpB, so that OK must register IpA.
void scriptHealthy(ScriptedIOManager &io, bool wol)
{
    io.scriptCascade({{QStringLiteral("slave1"), QString::fromLatin1(IpSlave)}},
                     {{QStringLiteral("alpha"), QString::fromLatin1(IpA)}, {QStringLiteral("beta"), QString::fromLatin1(IpB)}},
                     "yes", wol ? "yes" : "no");
}

// Overrides every scripted request that comes from the entry's format with
// the fault. Standing answers replace the healthy ones for the whole run; the
// wrong count, -3, never ends the scan.
void injectFault(ScriptedIOManager &io, const Entry &entry, Fault fault, const QStringList &requests)
{
    for (const QString &req : requests) {
        if (fault == Fault::None || !matches(req, entry.text))
            continue;
        if (entry.kind == Kind::ReadInt)
            io.answerInt(req, fault == Fault::Fail ? 0 : -3, fault == Fault::Fail ? 1 : 0);
        else if (fault == Fault::Fail)
            io.fail(req, 1);
        else
            io.answer(req, fault == Fault::Long ? QByteArray(ControllerProtocol::MaxAnswerLength, 'x') : QByteArray("Yes "));
    }
}

// Ends a scan progress dialog at once: runs its poll if the scan started
// (the work of its timer), and closes it as a user would if that did not end
// it (the scan did not start, the poll failed, or the count stays negative).
void finishProgress(QWidget *w, ScriptedIOManager &io)
{
    if (!io.log.isEmpty() && io.log.last() == QLatin1String("cmd ") + QLatin1String(CmdScanSlaves))
        QMetaObject::invokeMethod(w, "onTimer");
    if (w->isVisible())
        static_cast<QDialog *>(w)->reject();
}

void click(QWidget *dlg, const char *name)
{
    if (auto *b = dlg->findChild<QPushButton *>(QLatin1String(name)))
        if (b->isEnabled())
            b->click();
}

// Clicks the row that shows ip, if there is one.
void clickIp(QTableWidget *table, const char *ip)
{
    const int row = GuiTest::rowOfIp(table, QString::fromLatin1(ip));
    if (row >= 0)
        GuiTest::clickRow(table, row);
}

enum class Session { Apply, ApplyWolOn, CancelRestore };

// Runs the list timer's work once, as its next tick would, so that the
// available list shows what the controller last said.
void tickList(CascadedSettingsDlg &dlg)
{
    if (DialogAccess::listTimer(dlg).isActive())
        DialogAccess::rebuildAvailable(dlg);
}

// One opening of the dialog with a user session on top. Every step is
// best-effort: a fault may leave a widget disabled or a table empty.
int runSession(CascadedSettingsDlg &dlg, ScriptedIOManager &io, Session session,
               const std::function<void()> &scanSwitchedOff)
{
    ModalDriver::reset();
    const auto progress = ModalDriver::named(QStringLiteral("EndlessProgressDlgClass"));
    const auto settings = ModalDriver::named(QStringLiteral("CascadedSettingsDlgClass"));
    // The scan runs first, unless the cascade is unavailable.
    ModalDriver::when([progress, settings](QWidget *w) { return progress(w) || settings(w); },
                      [progress, &io](QWidget *w) {
                          if (progress(w))
                              finishProgress(w, io);
                      });

    auto finish = [](QWidget *w, bool ok) {
        if (ok && w->findChild<QPushButton *>(QStringLiteral("pushButton_ok"))->isEnabled())
            click(w, "pushButton_ok");
        else
            click(w, "pushButton_cancel");
    };

    if (session == Session::ApplyWolOn) {
        ModalDriver::when(settings, [finish, &dlg](QWidget *w) {
            tickList(dlg);
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
        ModalDriver::when(settings, [scanSwitchedOff, clicked, &dlg](QWidget *w) {
            // The list timer's first rebuild shows IpA; a fault may keep it out.
            tickList(dlg);
            clickIp(DialogAccess::ui(dlg).tableWidget_available, IpA);
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
                          [progress, &io](QWidget *w) {
                              if (progress(w))
                                  finishProgress(w, io);
                          });
        const bool apply = session == Session::Apply;
        ModalDriver::when([settings, clicked](QWidget *w) { return settings(w) && *clicked; }, [finish, apply, &dlg](QWidget *w) {
            // The rebuild after the rescan no longer lists IpA.
            tickList(dlg);
            clickIp(DialogAccess::ui(dlg).tableWidget_selected, IpSlave);
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
        runSession(dlg, io, session, scanSwitchedOff);
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

const Session Sessions[] = {Session::Apply, Session::ApplyWolOn, Session::CancelRestore};

// A name for CTest made of the entry's text: its words joined by '_',
// without the printf argument.
QString entryName(const Entry &e)
{
    QStringList words = QString::fromLatin1(e.text).split(QLatin1Char(' '));
    words.erase(std::remove_if(words.begin(), words.end(), [](const QString &w) { return w.contains(QLatin1Char('%')); }),
                words.end());
    return words.join(QLatin1Char('_'));
}

} // namespace

class FaultMatrixTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { VERIFY_CLEAN(); }
    void fault_data();
    void fault();

private:
    QStringList m_known;                    // every formatted request of the healthy sessions
    QMap<int, QStringList> m_sentBySession; // the same, per session
};

// The healthy sessions pass, and together send every catalogue request, each
// of which has an expectation.
void FaultMatrixTest::initTestCase()
{
    GuiTest::install();
    for (Session s : Sessions) {
        const Outcome o = run(s, s != Session::ApplyWolOn, nullptr, Fault::None, {});
        QVERIFY2(o.driverFailures.isEmpty(), qPrintable(o.driverFailures.join(QLatin1Char('\n'))));
        QVERIFY2(o.errors.isEmpty(), qPrintable(o.errors.join(QLatin1Char('\n'))));
        QVERIFY2(o.closed, "a healthy session must close the dialog");
        for (const QString &line : o.requests)
            m_sentBySession[int(s)] << line.section(QLatin1Char(' '), 1);
        m_known << m_sentBySession[int(s)];
    }
    m_known.removeDuplicates();
    const QList<Expectation> table = expectations();
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const char *text = catalogue[i].text;
        QVERIFY2(std::any_of(table.begin(), table.end(), [text](const Expectation &e) { return qstrcmp(e.text, text) == 0; }),
                 qPrintable(QStringLiteral("no expectation for: ") + QLatin1String(text)));
        QVERIFY2(std::any_of(m_known.begin(), m_known.end(), [text](const QString &r) { return matches(r, text); }),
                 qPrintable(QStringLiteral("no healthy session sends: ") + QLatin1String(text)));
    }
}

void FaultMatrixTest::fault_data()
{
    QTest::addColumn<int>("entry");
    for (std::size_t i = 0; i < catalogueSize; ++i)
        QTest::newRow(qPrintable(entryName(catalogue[i]))) << int(i);
}

// Each fault the entry can suffer (a write has no answer to get wrong, an
// integer no length), in every session that sends the request when the
// controller is healthy.
void FaultMatrixTest::fault()
{
    QFETCH(int, entry);
    const Entry &target = catalogue[entry];
    const QList<Expectation> table = expectations();
    const auto exp = std::find_if(table.begin(), table.end(),
                                  [&target](const Expectation &e) { return qstrcmp(e.text, target.text) == 0; });
    QVERIFY(exp != table.end());
    QList<Fault> faults{Fault::Fail};
    if (target.kind != Kind::Write)
        faults << Fault::WrongWord;
    if (target.kind != Kind::Write && target.kind != Kind::ReadInt)
        faults << Fault::Long;

    for (Fault f : faults) {
        const QString what = QStringLiteral("fault %1: ").arg(int(f));
        QStringList expected = f == Fault::Fail ? exp->onFail : exp->onWrongAnswer;
        expected.sort();
        QStringList seen;
        for (Session s : Sessions) {
            const QStringList &sent = m_sentBySession.value(int(s));
            if (std::none_of(sent.begin(), sent.end(), [&target](const QString &r) { return matches(r, target.text); }))
                continue;
            const Outcome o = run(s, s != Session::ApplyWolOn, &target, f, m_known);
            QVERIFY2(o.driverFailures.isEmpty(), qPrintable(what + o.driverFailures.join(QLatin1Char('\n'))));
            QVERIFY2(o.closed, qPrintable(what + QStringLiteral("the dialog did not close")));
            for (const QString &e : o.errors)
                QVERIFY2(expected.contains(e), qPrintable(what + QStringLiteral("unexpected report: ") + e));
            seen << o.errors;
        }
        seen.removeDuplicates();
        seen.sort();
        QCOMPARE(seen, expected);
    }
}

GUITEST_MAIN(FaultMatrixTest)
#include "tst_faultmatrix.moc"
