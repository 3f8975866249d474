// The scan progress dialog: starts the controller's LAN scan, polls the
// number of scanned controllers every 500 ms and closes itself once the
// controller reports a count of 0 or more.
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>
#include <QtTest>

#include "endlessprogressdlg.h"
#include "modaldriver.h"
#include "scriptediomanager.h"
#include "testmessages.h"
#include "ui_endlessprogressdlg.h"

namespace {

const QString ScanCommand = QStringLiteral("korvane cascade scan_slaves");
const QString CountRequest = QStringLiteral("cascade number_of_scanned_slaves");
const QString PollLine = QStringLiteral("getint ") + CountRequest;
const QString StartError = QStringLiteral("Error: Unable to start scan for Controller as slaves");
const QString PollError = QStringLiteral("Error: Unable to get number of slaves");

ScriptedIOManager::Reply failure()
{
    ScriptedIOManager::Reply r;
    r.result = 1;
    r.writeNothing = true;
    return r;
}

// Runs the dialog; a dialog that does not close itself within 15 s is
// rejected, and gaveUp says so.
int execBounded(EndlessProgressDlg &dlg, bool &gaveUp)
{
    gaveUp = false;
    QTimer::singleShot(15000, &dlg, [&] {
        gaveUp = true;
        dlg.reject();
    });
    return dlg.update_and_exec();
}

} // namespace

Q_DECLARE_METATYPE(QList<int>)

class EndlessProgressDlgTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestMessages::install(); }
    void init();
    void cleanup();

    void form();
    void formKeepsAGivenObjectName();
    void finishesOnACount_data();
    void finishesOnACount();
    void failedPollsAreReportedEveryTime();
    void failedStartShowsWithoutPolling_data();
    void failedStartShowsWithoutPolling();
    void closingByHandReturnsZero_data();
    void closingByHandReturnsZero();

private:
    ScriptedIOManager iom;
    QWidget host;
};

void EndlessProgressDlgTest::init()
{
    iom = ScriptedIOManager();
    ModalDriver::reset();
}

void EndlessProgressDlgTest::cleanup()
{
    QVERIFY2(ModalDriver::ok(), qPrintable(ModalDriver::failures().join(QLatin1Char('\n'))));
    ModalDriver::reset();
    const QStringList warnings = TestMessages::take();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
    for (QWidget *w : QApplication::topLevelWidgets())
        QVERIFY2(!w->isVisible(), qPrintable(QStringLiteral("left open: ") + w->objectName()));
}

void EndlessProgressDlgTest::form()
{
    EndlessProgressDlg dlg(&host, &iom);
    QCOMPARE(dlg.objectName(), QStringLiteral("EndlessProgressDlgClass"));
    QCOMPARE(dlg.parentWidget(), &host);
    QCOMPARE(dlg.windowTitle(), QStringLiteral("Cascaded System Settings"));
    auto *desc = dlg.findChild<QLabel *>(QStringLiteral("label_desc"));
    QVERIFY(desc);
    QCOMPARE(desc->text(), QStringLiteral("scanning for Cascaded System slaves..."));
    auto *bar = dlg.findChild<QProgressBar *>(QStringLiteral("progressBar"));
    QVERIFY(bar);
    QCOMPARE(bar->minimum(), 0); // 0..0 is Qt's busy indicator, no percentage
    QCOMPARE(bar->maximum(), 0);
    QVERIFY(!bar->isTextVisible());
    auto *label = dlg.findChild<QLabel *>(QStringLiteral("label"));
    QVERIFY(label);
    QVERIFY(label->text().isEmpty());
    QVERIFY(iom.log.isEmpty()); // constructing sends nothing
}

void EndlessProgressDlgTest::formKeepsAGivenObjectName()
{
    QDialog dlg;
    dlg.setObjectName(QStringLiteral("hostsName"));
    Ui::EndlessProgressDlgClass ui;
    ui.setupUi(&dlg);
    QCOMPARE(dlg.objectName(), QStringLiteral("hostsName"));
}

void EndlessProgressDlgTest::finishesOnACount_data()
{
    QTest::addColumn<QList<int>>("counts"); // answers to successive polls
    QTest::newRow("0 at once") << QList<int>{0};
    QTest::newRow("12 at once") << QList<int>{12};
    QTest::newRow("running twice, then 0") << QList<int>{-1, -1, 0};
    QTest::newRow("other negatives, then 3") << QList<int>{-5, -1, 3};
}

void EndlessProgressDlgTest::finishesOnACount()
{
    QFETCH(QList<int>, counts);
    iom.answer(ScanCommand, "korvane ok");
    for (int c : counts)
        iom.queueInt(CountRequest, c);
    iom.fallback.result = 1;

    EndlessProgressDlg dlg(&host, &iom);
    QElapsedTimer clock;
    clock.start();
    bool gaveUp = false;
    const int result = execBounded(dlg, gaveUp);
    const qint64 elapsed = clock.elapsed();

    QVERIFY2(!gaveUp, "the dialog did not close itself within 15 s");
    QCOMPARE(result, 1);
    QStringList expected{QStringLiteral("cmd ") + ScanCommand};
    for (int i = 0; i < counts.size(); ++i)
        expected << PollLine;
    QCOMPARE(iom.log, expected);
    // A poll every 500 ms: the first comes one interval after the start.
    // Coarse timers may fire up to 5 % early, hence the margin.
    QVERIFY2(elapsed >= 450 * counts.size(),
             qPrintable(QStringLiteral("%1 polls took only %2 ms").arg(counts.size()).arg(elapsed)));
}

void EndlessProgressDlgTest::failedPollsAreReportedEveryTime()
{
    iom.answer(ScanCommand, "korvane ok");
    iom.queue(CountRequest, failure());
    iom.queue(CountRequest, failure());
    iom.queue(CountRequest, failure());
    iom.answerInt(CountRequest, 0);

    EndlessProgressDlg dlg(&host, &iom);
    bool gaveUp = false;
    QCOMPARE(execBounded(dlg, gaveUp), 1);
    QVERIFY(!gaveUp);
    QCOMPARE(iom.requests(), (QStringList{QStringLiteral("cmd ") + ScanCommand, PollLine, PollLine, PollLine, PollLine}));
    const QString report = QStringLiteral("standard|VESTRAL|1|") + PollError;
    QCOMPARE(iom.messages(), (QStringList{report, report, report}));
}

void EndlessProgressDlgTest::failedStartShowsWithoutPolling_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("send failed") << 1 << QByteArray("korvane ok");
    QTest::newRow("error reply") << 0 << QByteArray("korvane error 4 scan busy");
    QTest::newRow("trailing blank") << 0 << QByteArray("korvane ok ");
    QTest::newRow("capitals") << 0 << QByteArray("korvane OK");
    QTest::newRow("line end") << 0 << QByteArray("korvane ok\n");
    QTest::newRow("empty reply") << 0 << QByteArray();
}

void EndlessProgressDlgTest::failedStartShowsWithoutPolling()
{
    QFETCH(int, result);
    QFETCH(QByteArray, reply);
    iom.answer(ScanCommand, reply, result);
    iom.answerInt(CountRequest, 0); // would end the dialog if it were polled

    EndlessProgressDlg dlg(&host, &iom);
    bool stayedOpen = false;
    ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [&](QWidget *w) {
        QSignalSpy finished(&dlg, &QDialog::finished);
        // Well past two poll intervals: nothing may poll or close the dialog.
        stayedOpen = !finished.wait(1300) && w->isVisible();
        QTest::keyClick(w, Qt::Key_Escape);
    });
    QCOMPARE(dlg.update_and_exec(), 0);
    QVERIFY(stayedOpen);
    QCOMPARE(iom.requests(), QStringList{QStringLiteral("cmd ") + ScanCommand});
    QCOMPARE(iom.messages(), QStringList{QStringLiteral("standard|VESTRAL|1|") + StartError});
}

void EndlessProgressDlgTest::closingByHandReturnsZero_data()
{
    QTest::addColumn<bool>("escape"); // else the title bar's close button
    QTest::newRow("escape") << true;
    QTest::newRow("close button") << false;
}

void EndlessProgressDlgTest::closingByHandReturnsZero()
{
    QFETCH(bool, escape);
    iom.answer(ScanCommand, "korvane ok");
    iom.answerInt(CountRequest, -1); // the scan never ends

    EndlessProgressDlg dlg(&host, &iom);
    bool polled = false;
    ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [&](QWidget *w) {
        polled = QTest::qWaitFor([&] { return iom.count(PollLine) >= 2; }, 5000);
        if (escape)
            QTest::keyClick(w, Qt::Key_Escape);
        else
            w->close();
    });
    QCOMPARE(dlg.update_and_exec(), 0);
    QVERIFY2(polled, "no polls while the scan was running");
    QVERIFY(iom.messages().isEmpty());
}

QTEST_MAIN(EndlessProgressDlgTest)
#include "tst_progressdialog.moc"
