// SPDX-License-Identifier: MIT
// Every request the dialogs send, answered badly in three ways: the request
// fails, the answer is a wrong word, the answer fills the whole buffer
// (199 characters). Whatever the answer, the dialogs report exactly the
// errors they are meant to, never crash or hang, and still close. The rows
// are the command catalogue's entries: a request added there without an
// expectation here, or that no healthy session sends, fails the test.
#include <QCheckBox>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

#include "BackendVersions.h"
#include "ControllerProtocol.h"
#include "cascadecommands.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "guitest.h"
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

// Overrides every known request that comes from the entry's format with the
// fault. The wrong count, -3, never ends the scan.
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
void finishProgress(QDialog *w, const ScriptedIOManager &io)
{
    if (!io.log.isEmpty() && io.log.last() == QLatin1String("cmd ") + QLatin1String(CmdScanSlaves))
        GuiTest::poll(w);
    if (w->isVisible())
        w->reject();
}

void clickIfEnabled(QAbstractButton *b)
{
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

struct Outcome
{
    QStringList requests, errors, problems;
    bool closed = false;
};

// A user session on a controller with one connected slave and two scanned
// ones, the scan option on and wake-on-LAN `wol`: select IpA, switch the scan
// off (the rescan finds only IpB, so that OK must register IpA), deselect the
// slave, toggle wake-on-LAN, then OK or Cancel. Every step is best-effort: a
// fault may leave a widget disabled or a table empty.
Outcome run(bool wol, bool apply, const Entry *target, Fault fault, const QStringList &known)
{
    ScriptedIOManager io;
    io.scriptCascade({{QStringLiteral("slave1"), QString::fromLatin1(IpSlave)}},
                     {{QStringLiteral("alpha"), QString::fromLatin1(IpA)}, {QStringLiteral("beta"), QString::fromLatin1(IpB)}},
                     "yes", wol ? "yes" : "no");
    const auto inject = [&] {
        if (target)
            injectFault(io, *target, fault, known);
    };
    inject();
    GuiTest::drivePolls(true, [&io](QDialog *w) { finishProgress(w, io); });
    BackendVersions versions(VersionInfo(2, 7, 0), VersionInfo(1, 9, 0), VersionInfo(2, 7, 0),
                             QStringLiteral("VESTRAL"));
    QWidget parent;
    Outcome out;
    {
        CascadedSettingsDlg dlg(&io, &parent, &versions);
        Ui::CascadedSettingsDlgClass &ui = DialogAccess::ui(dlg);
        GuiTest::openAndRun(&dlg, nullptr, [&] {
            DialogAccess::tickList(dlg);
            clickIp(ui.tableWidget_available, IpA);
            clickIfEnabled(ui.pushButton_select);
            io.answerInt(QString::fromLatin1(NumberOfScannedSlaves), 1);
            io.answer(QStringLiteral("cascade scanned_slave d01"), IpB);
            inject();
            clickIfEnabled(ui.checkBox_scanLan);
            DialogAccess::tickList(dlg);
            clickIp(ui.tableWidget_selected, IpSlave);
            clickIfEnabled(ui.pushButton_deselect);
            if (ui.checkBox_wol->isEnabled())
                ui.checkBox_wol->setChecked(!ui.checkBox_wol->isChecked());
            clickIfEnabled(apply && ui.pushButton_ok->isEnabled() ? ui.pushButton_ok : ui.pushButton_cancel);
            out.closed = !dlg.isVisible();
        });
    }
    out.requests = io.requests();
    out.errors = io.errors();
    out.errors.removeDuplicates();
    out.errors.sort();
    out.problems = GuiTest::problems();
    return out;
}

// Wake-on-LAN on and off at opening, applied; and a cancel that restores the
// scan option.
const struct
{
    bool wol, apply;
} Sessions[] = {{true, true}, {false, true}, {true, false}};

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

    QStringList m_known; // every formatted request of the healthy sessions

private slots:
    // The healthy sessions pass, and together send every catalogue request,
    // each of which has an expectation.
    void initTestCase()
    {
        GuiTest::install();
        for (const auto &s : Sessions) {
            const Outcome o = run(s.wol, s.apply, nullptr, Fault::None, {});
            QVERIFY2(o.problems.isEmpty(), qPrintable(o.problems.join(QLatin1Char('\n'))));
            QVERIFY2(o.errors.isEmpty(), qPrintable(o.errors.join(QLatin1Char('\n'))));
            QVERIFY2(o.closed, "a healthy session must close the dialog");
            for (const QString &line : o.requests)
                m_known << line.section(QLatin1Char(' '), 1);
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
    void cleanup() { VERIFY_CLEAN(); }

    void fault_data()
    {
        QTest::addColumn<int>("entry");
        for (std::size_t i = 0; i < catalogueSize; ++i)
            QTest::newRow(qPrintable(entryName(catalogue[i]))) << int(i);
    }
    // Each fault the entry can suffer (a write has no answer to get wrong, an
    // integer no length), in every session; the reports of all sessions
    // together are the expected ones.
    void fault()
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
            for (const auto &s : Sessions) {
                const Outcome o = run(s.wol, s.apply, &target, f, m_known);
                QVERIFY2(o.problems.isEmpty(), qPrintable(what + o.problems.join(QLatin1Char('\n'))));
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
};

GUITEST_MAIN(FaultMatrixTest)
#include "tst_faultmatrix.moc"
