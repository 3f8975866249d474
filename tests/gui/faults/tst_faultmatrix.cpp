// Every request the dialogs send, answered badly in three ways: the request
// fails, the answer is a wrong word, the answer fills the whole buffer
// (199 characters). Whatever the answer, the dialogs report exactly the
// errors they are meant to, never crash or hang, and still close.
//
// The matrix is generated from the command catalogue: a request added there
// without an expectation here fails the test, and every catalogue request
// must be sent by at least one of the scripted user sessions.
//
// A session waits for the dialogs' own timers (the 500 ms scan poll, the
// 100 ms list rebuild), so the sessions run side by side: each one in a child
// process of this program ("--run-session"), up to ParallelSessions at a time.
// "--entry N" limits the rows to catalogue entry N. "--write-healthy FILE"
// runs and checks only the healthy sessions and writes their requests to
// FILE; "--healthy FILE" reads them from there (if it exists) instead of
// running the healthy sessions again. CTest runs one test per entry, after
// the one test that writes the file.
#include <QCheckBox>
#include <QFile>
#include <QPointer>
#include <QProcess>
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
            r.text = QByteArray(ControllerProtocol::MaxAnswerLength, 'x');
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

// Closes a scan progress dialog that does not finish by itself as a user
// would: at once if the scan did not start (then nothing polls), else right
// after its first poll if that did not end it (a failed poll, or a count that
// stays negative).
void closeStuckProgress(QWidget *w, ScriptedIOManager &io)
{
    const bool started = !io.log.isEmpty() && io.log.last() == QLatin1String("cmd ") + QLatin1String(CmdScanSlaves);
    const int polls = io.count(Poll);
    auto *watch = new QTimer(w);
    QObject::connect(watch, &QTimer::timeout, w, [w, watch, started, polls, &io] {
        if (!w->isVisible()) {
            watch->stop();
        } else if (!started || io.count(Poll) > polls) {
            watch->stop();
            static_cast<QDialog *>(w)->reject();
        }
    });
    watch->start(5);
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

// Bound on waiting for the 100 ms list timer to show what a step needs.
const int ListWaitMs = 2000;

// Waits until the available list shows what the controller last said: the
// list timer has ticked since `polls` was counted, or it is not running (it
// stopped after a rebuild, or the dialog is in its unavailable state).
void waitForList(CascadedSettingsDlg &dlg, ScriptedIOManager &io, int polls)
{
    (void)QTest::qWaitFor([&] { return !DialogAccess::listTimer(dlg).isActive() || io.count(Poll) > polls; }, ListWaitMs);
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
                              closeStuckProgress(w, io);
                      });

    auto finish = [](QWidget *w, bool ok) {
        if (ok && w->findChild<QPushButton *>(QStringLiteral("pushButton_ok"))->isEnabled())
            click(w, "pushButton_ok");
        else
            click(w, "pushButton_cancel");
    };

    if (session == Session::ApplyWolOn) {
        ModalDriver::when(settings, [finish, &dlg, &io](QWidget *w) {
            waitForList(dlg, io, io.count(Poll)); // let the list timer rebuild once
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
        ModalDriver::when(settings, [scanSwitchedOff, clicked, &dlg, &io](QWidget *w) {
            // The list timer's first rebuild shows IpA; a fault may keep it out.
            waitForList(dlg, io, io.count(Poll));
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
                                  closeStuckProgress(w, io);
                          });
        const bool apply = session == Session::Apply;
        ModalDriver::when([settings, clicked](QWidget *w) { return settings(w) && *clicked; }, [finish, apply, &dlg, &io](QWidget *w) {
            // The rebuild after the rescan no longer lists IpA.
            waitForList(dlg, io, io.count(Poll));
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

// ---- Sessions in child processes ------------------------------------------

const Session Sessions[] = {Session::Apply, Session::ApplyWolOn, Session::CancelRestore};
const int ParallelSessions = 8;
const int SessionBoundMs = 60000;

// One session to run: entry -1 is the healthy controller.
struct Job
{
    Session session;
    int entry;
    Fault fault;
};

// The child's report on stdout, one item a line: "R request", "E error",
// "F driver failure" and "C 0|1" (the dialog closed).
QByteArray serialize(const Outcome &o)
{
    QByteArray out;
    for (const QString &r : o.requests)
        out += "R " + r.toUtf8() + '\n';
    for (const QString &e : o.errors)
        out += "E " + e.toUtf8() + '\n';
    for (const QString &f : o.driverFailures)
        out += "F " + f.toUtf8() + '\n';
    out += o.closed ? "C 1\n" : "C 0\n";
    return out;
}

Outcome deserialize(const QByteArray &text)
{
    Outcome o{{}, {}, false, {}};
    for (const QByteArray &line : text.split('\n')) {
        const QString item = QString::fromUtf8(line.mid(2));
        if (line.startsWith("R "))
            o.requests << item;
        else if (line.startsWith("E "))
            o.errors << item;
        else if (line.startsWith("F "))
            o.driverFailures << item;
        else if (line == "C 1")
            o.closed = true;
    }
    return o;
}

// The child: runs one session; the known requests arrive on stdin.
int runChild(const QStringList &args)
{
    const Session session = Session(args.value(2).toInt());
    const int entry = args.value(3).toInt();
    const Fault fault = Fault(args.value(4).toInt());
    QFile in;
    if (!in.open(stdin, QIODevice::ReadOnly))
        return 2;
    const QStringList known = QString::fromUtf8(in.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const Entry *target = entry >= 0 && std::size_t(entry) < catalogueSize ? &catalogue[entry] : nullptr;
    const Outcome o = run(session, session != Session::ApplyWolOn, target, fault, known);
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly))
        return 2;
    out.write(serialize(o));
    return 0;
}

// Runs every job in a child process, ParallelSessions at a time; a child that
// fails or outlives its bound gives an outcome that names the failure.
QList<Outcome> runAll(const QList<Job> &jobs, const QStringList &known)
{
    QList<Outcome> outcomes;
    for (int k = 0; k < jobs.size(); ++k)
        outcomes << Outcome{{}, {}, false, {}};
    const QByteArray input = known.join(QLatin1Char('\n')).toUtf8() + '\n';
    QList<QPair<int, QProcess *>> running;
    QList<QElapsedTimer> started;
    int next = 0;
    while (next < jobs.size() || !running.isEmpty()) {
        while (next < jobs.size() && running.size() < ParallelSessions) {
            const Job &job = jobs[next];
            auto *p = new QProcess;
            p->setProcessChannelMode(QProcess::ForwardedErrorChannel);
            p->start(QCoreApplication::applicationFilePath(),
                     {QStringLiteral("--run-session"), QString::number(int(job.session)), QString::number(job.entry),
                      QString::number(int(job.fault))});
            p->write(input);
            p->closeWriteChannel();
            running << qMakePair(next++, p);
            started << QElapsedTimer();
            started.last().start();
        }
        // Collects whichever children have ended; output is read as it comes
        // so that no child blocks on a full pipe.
        for (int k = running.size() - 1; k >= 0; --k) {
            QProcess *p = running[k].second;
            const bool ended = p->waitForFinished(5);
            if (!ended && started[k].elapsed() < SessionBoundMs)
                continue;
            Outcome &o = outcomes[running[k].first];
            if (!ended) {
                p->kill();
                p->waitForFinished(1000);
                o.driverFailures << QStringLiteral("the session did not end within %1 ms").arg(SessionBoundMs);
            } else if (p->exitStatus() != QProcess::NormalExit || p->exitCode() != 0) {
                o.driverFailures << QStringLiteral("the session's process failed (exit %1)").arg(p->exitCode());
            } else {
                o = deserialize(p->readAllStandardOutput());
            }
            delete p;
            running.removeAt(k);
            started.removeAt(k);
        }
    }
    return outcomes;
}

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

public:
    int onlyEntry = -1;        // -1: every entry
    QString healthyFile;       // shared healthy requests, see the top of this file
    bool writeHealthy = false; // healthy sessions only, written to healthyFile

private slots:
    void initTestCase();
    void everyRequestHasAnExpectation();
    void healthySessionsSendEveryRequest();
    void fault_data();
    void fault();

private:
    QList<Job> faultJobs() const;
    bool loadHealthy();
    void saveHealthy() const;

    QStringList m_known;                    // every formatted request of the healthy sessions
    QMap<int, QStringList> m_sentBySession; // the same, per session
    QMap<QString, Outcome> m_outcomes;      // of the fault sessions, by "entry/fault/session"
};

namespace {
QString key(int entry, Fault fault, Session session)
{
    return QStringLiteral("%1/%2/%3").arg(entry).arg(int(fault)).arg(int(session));
}
} // namespace

// The rows: every fault each entry can suffer.
QList<Job> FaultMatrixTest::faultJobs() const
{
    QList<Job> rows;
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        if (writeHealthy || (onlyEntry >= 0 && int(i) != onlyEntry))
            continue;
        const Kind kind = catalogue[i].kind;
        rows << Job{Session::Apply, int(i), Fault::Fail};
        if (kind == Kind::Write)
            continue; // a write has no answer to get wrong
        rows << Job{Session::Apply, int(i), Fault::WrongWord};
        if (kind == Kind::ReadInt)
            continue; // an integer has no length; the host parses the text
        rows << Job{Session::Apply, int(i), Fault::Long};
    }
    return rows;
}

bool FaultMatrixTest::loadHealthy()
{
    QFile f(healthyFile);
    if (healthyFile.isEmpty() || !f.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray &line : f.readAll().split('\n')) {
        if (line.isEmpty())
            continue;
        const int session = line.left(line.indexOf(' ')).toInt();
        const QString request = QString::fromUtf8(line.mid(line.indexOf(' ') + 1));
        m_sentBySession[session] << request;
        m_known << request;
    }
    m_known.removeDuplicates();
    return true;
}

void FaultMatrixTest::saveHealthy() const
{
    QFile f(healthyFile);
    if (healthyFile.isEmpty() || !f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    for (auto it = m_sentBySession.begin(); it != m_sentBySession.end(); ++it)
        for (const QString &request : it.value())
            f.write(QByteArray::number(it.key()) + ' ' + request.toUtf8() + '\n');
}

void FaultMatrixTest::initTestCase()
{
    if (writeHealthy || !loadHealthy()) {
        QList<Job> healthy;
        for (Session s : Sessions)
            healthy << Job{s, -1, Fault::None};
        const QList<Outcome> outcomes = runAll(healthy, {});
        for (int k = 0; k < healthy.size(); ++k) {
            const Outcome &o = outcomes[k];
            if (qEnvironmentVariableIsSet("FAULTMATRIX_TRACE"))
                fprintf(stderr, "%s\n", qPrintable(o.requests.join(QLatin1Char(0x0a))));
            QVERIFY2(o.driverFailures.isEmpty(), qPrintable(o.driverFailures.join(QLatin1Char('\n'))));
            QVERIFY2(o.errors.isEmpty(), qPrintable(o.errors.join(QLatin1Char('\n'))));
            QVERIFY2(o.closed, "a healthy session must close the dialog");
            for (const QString &line : o.requests) {
                m_known << line.section(QLatin1Char(' '), 1);
                m_sentBySession[int(healthy[k].session)] << line.section(QLatin1Char(' '), 1);
            }
        }
        m_known.removeDuplicates();
        if (writeHealthy)
            saveHealthy();
    }

    // Every session that sends a row's request when the controller is
    // healthy runs with that request faulted.
    QList<Job> jobs;
    for (const Job &row : faultJobs()) {
        for (Session s : Sessions) {
            const QStringList &sent = m_sentBySession.value(int(s));
            const char *text = catalogue[row.entry].text;
            if (std::any_of(sent.begin(), sent.end(), [text](const QString &r) { return matches(r, text); }))
                jobs << Job{s, row.entry, row.fault};
        }
    }
    const QList<Outcome> outcomes = runAll(jobs, m_known);
    for (int k = 0; k < jobs.size(); ++k)
        m_outcomes.insert(key(jobs[k].entry, jobs[k].fault, jobs[k].session), outcomes[k]);
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
    const QString names[] = {QString(), QStringLiteral("fails"), QStringLiteral("wrong word"),
                             QStringLiteral("%1 characters").arg(ControllerProtocol::MaxAnswerLength)};
    for (const Job &row : faultJobs())
        QTest::newRow(qPrintable(QStringLiteral("%1 / %2").arg(QLatin1String(catalogue[row.entry].text), names[int(row.fault)])))
            << row.entry << int(row.fault);
    if (faultJobs().isEmpty())
        QTest::newRow("no faults in this run") << -1 << int(Fault::None);
}

void FaultMatrixTest::fault()
{
    QFETCH(int, entry);
    QFETCH(int, fault);
    if (entry < 0)
        QSKIP("this run checks the healthy sessions only");
    const Entry &target = catalogue[entry];
    const Fault f = Fault(fault);

    const QList<Expectation> table = expectations();
    const auto exp = std::find_if(table.begin(), table.end(),
                                  [&target](const Expectation &e) { return qstrcmp(e.text, target.text) == 0; });
    QVERIFY(exp != table.end());
    QStringList expected = f == Fault::Fail ? exp->onFail : exp->onWrongAnswer;
    expected.sort();

    // Every session that sends the request when the controller is healthy.
    QStringList seen;
    for (Session s : Sessions) {
        const auto found = m_outcomes.constFind(key(entry, f, s));
        if (found == m_outcomes.constEnd())
            continue;
        const Outcome &o = found.value();
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

// Options of this program, before QtTest's own:
//   --list-entries FILE      writes "index name" of every catalogue entry
//   --run-session S E F         runs one session in this process (see runChild)
//   --entry N, --healthy FILE, --write-healthy FILE   see the top of this file
int main(int argc, char **argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--list-entries") == 0) {
        QFile f(QString::fromLocal8Bit(argv[2]));
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 1;
        for (std::size_t i = 0; i < catalogueSize; ++i)
            f.write(QByteArray::number(qulonglong(i)) + ' ' + entryName(catalogue[i]).toLatin1() + '\n');
        return 0;
    }
    QApplication app(argc, argv);
    QStringList args = app.arguments();
    if (args.value(1) == QLatin1String("--run-session"))
        return runChild(args);
    FaultMatrixTest test;
    for (int i = 1; i + 1 < args.size();) {
        if (args[i] == QLatin1String("--entry"))
            test.onlyEntry = args[i + 1].toInt();
        else if (args[i] == QLatin1String("--healthy") || args[i] == QLatin1String("--write-healthy")) {
            test.healthyFile = args[i + 1];
            test.writeHealthy = args[i] == QLatin1String("--write-healthy");
        }
        else {
            ++i;
            continue;
        }
        args.erase(args.begin() + i, args.begin() + i + 2);
    }
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, args);
}

#include "tst_faultmatrix.moc"
