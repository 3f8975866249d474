// The "Cascaded System Settings" dialog: its form, the opening sequence that
// checks the controller and scans the LAN before the dialog shows, the
// version gates, the configuration lock, the unavailable state and the ways
// of closing it without applying anything.
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QtTest>
#include <functional>

#include "BackendVersions.h"
#include "cascadedsettingsdlg.h"
#include "modaldriver.h"
#include "scriptediomanager.h"
#include "testmessages.h"

namespace {

const QString RedNotice = QStringLiteral("<b><font color=red>Cascaded System is not available!</font></b>");
const QString ScanLine = QStringLiteral("cmd korvane cascade scan_slaves");

// The requests of an opening with the cascade available and a controller of
// protocol 1.9 or later, up to and including the first available-list refresh.
const QStringList OpeningRequests{
    QStringLiteral("get config is_changeable"),
    QStringLiteral("get cascade available"),
    QStringLiteral("get cascade scan_slaves_lan"),
    ScanLine,
    QStringLiteral("getint cascade number_of_scanned_slaves"), // the progress dialog's poll
    QStringLiteral("getint cascade number_of_connected_slaves"),
    QStringLiteral("get cascade wol_slaves"),
    QStringLiteral("getint cascade number_of_scanned_slaves"), // the available-list refresh
};

// Everything a user could change; in the unavailable state none is enabled.
const QStringList GuardedWidgets{
    QStringLiteral("checkBox_scanLan"),    QStringLiteral("label_selected"),
    QStringLiteral("label_available"),     QStringLiteral("tableWidget_selected"),
    QStringLiteral("tableWidget_available"), QStringLiteral("pushButton_select"),
    QStringLiteral("pushButton_deselect"), QStringLiteral("checkBox_wol"),
    QStringLiteral("pushButton_update"),   QStringLiteral("label_addSlave"),
    QStringLiteral("lineEdit_addSlave"),   QStringLiteral("pushButton_addSlave"),
    QStringLiteral("pushButton_ok"),
};

enum CloseBy { CancelButton, EscapeKey, CloseButton };

QStringList linesStartingWith(const QStringList &log, const QString &prefix)
{
    QStringList out;
    for (const QString &l : log)
        if (l.startsWith(prefix))
            out << l;
    return out;
}

QImage iconImage(const QIcon &icon)
{
    return icon.pixmap(48, 48).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class CascadedSettingsDlgTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form();
    void formKeepsAGivenObjectName();
    void lockIcon();
    void openingSequence_data();
    void openingSequence();
    void versionGates_data();
    void versionGates();
    void availabilityAnswer_data();
    void availabilityAnswer();
    void configLock_data();
    void configLock();
    void lockIsAskedAtEveryOpening();
    void closingRestoresScanLan_data();
    void closingRestoresScanLan();
    void returnPressesNoButton();
    void updateButtonRescans();
    void reopening();

private:
    void scriptController(const QByteArray &scanLan = "no", const QByteArray &wol = "no");
    void setProtocol(int major, int minor, int patch);
    int open(CascadedSettingsDlg &dlg, bool expectScan, const std::function<void()> &act);
    bool waitRefreshed(CascadedSettingsDlg &dlg);
    void close(CascadedSettingsDlg &dlg, CloseBy how);
    template <class T = QWidget> T *child(CascadedSettingsDlg &dlg, const QString &name);
    void verifyUnavailableState(CascadedSettingsDlg &dlg);

    ScriptedIOManager iom;
    BackendVersions versions;
    QWidget host;
    QIcon hostIcon;
};

void CascadedSettingsDlgTest::initTestCase()
{
    TestMessages::install();
    QPixmap red(16, 16);
    red.fill(Qt::red);
    hostIcon = QIcon(red);
    host.setObjectName(QStringLiteral("host"));
    host.setWindowIcon(hostIcon);
}

void CascadedSettingsDlgTest::init()
{
    iom = ScriptedIOManager();
    setProtocol(1, 9, 0);
    ModalDriver::reset();
}

void CascadedSettingsDlgTest::cleanup()
{
    QVERIFY2(ModalDriver::ok(), qPrintable(ModalDriver::failures().join(QLatin1Char('\n'))));
    ModalDriver::reset();
    const QStringList warnings = TestMessages::take();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
    for (QWidget *w : QApplication::topLevelWidgets())
        QVERIFY2(!w->isVisible(), qPrintable(QStringLiteral("left open: ") + w->objectName()));
}

// A controller with the cascade available, no lock, nothing connected and an
// empty scan result; option writes succeed.
void CascadedSettingsDlgTest::scriptController(const QByteArray &scanLan, const QByteArray &wol)
{
    iom.answer(QStringLiteral("config is_changeable"), "yes");
    iom.answer(QStringLiteral("cascade available"), "yes");
    iom.answer(QStringLiteral("cascade scan_slaves_lan"), scanLan);
    iom.answer(QStringLiteral("korvane cascade scan_slaves"), "korvane ok");
    iom.answerInt(QStringLiteral("cascade number_of_scanned_slaves"), 0);
    iom.answerInt(QStringLiteral("cascade number_of_connected_slaves"), 0);
    iom.answer(QStringLiteral("cascade wol_slaves"), wol);
    iom.answer(QStringLiteral("cascade scan_slaves_lan yes"), QByteArray());
    iom.answer(QStringLiteral("cascade scan_slaves_lan no"), QByteArray());
}

void CascadedSettingsDlgTest::setProtocol(int major, int minor, int patch)
{
    versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(major, minor, patch), VersionInfo(2, 0, 0),
                               QStringLiteral("VESTRAL"));
}

// Opens the dialog as the menu action does. With expectScan the LAN scan's
// progress dialog must show first, on the host widget, while the settings
// dialog is still hidden. act runs on the open settings dialog and should
// close it; if it does not, the dialog is ended with -1.
int CascadedSettingsDlgTest::open(CascadedSettingsDlg &dlg, bool expectScan, const std::function<void()> &act)
{
    if (expectScan)
        ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [this, &dlg](QWidget *w) {
            QVERIFY2(!dlg.isVisible(), "the settings dialog showed before its LAN scan");
            QCOMPARE(w->parentWidget(), &host);
        });
    ModalDriver::when(QStringLiteral("CascadedSettingsDlgClass"), [&dlg, act](QWidget *) {
        act();
        if (dlg.isVisible())
            dlg.done(-1);
    });
    return dlg.update_and_exec();
}

// Waits until the available-list refresh that the opening scheduled has run.
bool CascadedSettingsDlgTest::waitRefreshed(CascadedSettingsDlg &dlg)
{
    return QTest::qWaitFor([&] { return !dlg.timerUpdateAvailableSlaves.isActive(); }, 3000);
}

void CascadedSettingsDlgTest::close(CascadedSettingsDlg &dlg, CloseBy how)
{
    switch (how) {
    case CancelButton:
        QTest::mouseClick(child<QPushButton>(dlg, QStringLiteral("pushButton_cancel")), Qt::LeftButton);
        break;
    case EscapeKey:
        QTest::keyClick(&dlg, Qt::Key_Escape);
        break;
    case CloseButton:
        dlg.close(); // what the title bar's close button does
        break;
    }
}

template <class T> T *CascadedSettingsDlgTest::child(CascadedSettingsDlg &dlg, const QString &name)
{
    T *w = dlg.findChild<T *>(name);
    if (!w)
        qWarning("no child %s of type %s", qPrintable(name), T::staticMetaObject.className());
    return w;
}

void CascadedSettingsDlgTest::verifyUnavailableState(CascadedSettingsDlg &dlg)
{
    for (const QString &name : GuardedWidgets) {
        QWidget *w = child(dlg, name);
        QVERIFY(w);
        QVERIFY2(!w->isEnabled(), qPrintable(name + QStringLiteral(" is enabled")));
    }
    QVERIFY(child(dlg, QStringLiteral("pushButton_cancel"))->isEnabled());
    auto *error = child<QLabel>(dlg, QStringLiteral("label_error"));
    QVERIFY(error->isVisible());
    QCOMPARE(error->text(), RedNotice);
}

void CascadedSettingsDlgTest::form()
{
    CascadedSettingsDlg dlg(&iom, &host, &versions);
    QVERIFY(iom.log.isEmpty()); // building the dialog asks the controller nothing
    QCOMPARE(dlg.objectName(), QStringLiteral("CascadedSettingsDlgClass"));
    QCOMPARE(dlg.parentWidget(), &host);
    QCOMPARE(dlg.windowTitle(), QStringLiteral("Cascaded System Settings"));

    QCOMPARE(dlg.size(), QSize(720, 500));
    QCOMPARE(dlg.minimumSize(), QSize(720, 500));
    dlg.resize(400, 300);
    QCOMPARE(dlg.size(), QSize(720, 500));
    QVERIFY(dlg.isSizeGripEnabled());

    // The label's mnemonic leads into the add field.
    QCOMPARE(child<QLabel>(dlg, QStringLiteral("label_addSlave"))->buddy(),
             child(dlg, QStringLiteral("lineEdit_addSlave")));

    const QStringList tabOrder{
        QStringLiteral("checkBox_scanLan"),   QStringLiteral("tableWidget_selected"),
        QStringLiteral("pushButton_select"),  QStringLiteral("pushButton_deselect"),
        QStringLiteral("tableWidget_available"), QStringLiteral("pushButton_update"),
        QStringLiteral("lineEdit_addSlave"),  QStringLiteral("pushButton_addSlave"),
        QStringLiteral("checkBox_wol"),       QStringLiteral("pushButton_ok"),
        QStringLiteral("pushButton_cancel"),
    };
    QStringList chain;
    QWidget *w = child(dlg, tabOrder.first());
    QVERIFY(w);
    for (int guard = 0; guard < 200 && chain.size() < tabOrder.size(); ++guard, w = w->nextInFocusChain())
        if (tabOrder.contains(w->objectName()) && !chain.contains(w->objectName()))
            chain << w->objectName();
    QCOMPARE(chain, tabOrder);
}

void CascadedSettingsDlgTest::formKeepsAGivenObjectName()
{
    QDialog dlg;
    dlg.setObjectName(QStringLiteral("hostsName"));
    Ui::CascadedSettingsDlgClass form;
    form.setupUi(&dlg);
    QCOMPARE(dlg.objectName(), QStringLiteral("hostsName"));
}

void CascadedSettingsDlgTest::lockIcon()
{
    const QImage image(QStringLiteral(":/lock.png"));
    QCOMPARE(image.size(), QSize(48, 48));
    QVERIFY(image.hasAlphaChannel());
    QVERIFY(image.allGray());
}

void CascadedSettingsDlgTest::openingSequence_data()
{
    QTest::addColumn<QByteArray>("scanLan");
    QTest::addColumn<QByteArray>("wol");
    QTest::addColumn<bool>("scanLanOn");
    QTest::addColumn<bool>("wolOn");
    QTest::newRow("both off") << QByteArray("no") << QByteArray("no") << false << false;
    QTest::newRow("both on") << QByteArray("yes") << QByteArray("yes") << true << true;
    QTest::newRow("near misses") << QByteArray("yes ") << QByteArray("Yes") << false << false;
    QTest::newRow("line ends") << QByteArray("yes\n") << QByteArray("yes\r\n") << false << false;
}

// The refresh reads everything afresh and scans once; setting the check
// boxes from the controller neither writes the options back nor counts as a
// change by the user.
void CascadedSettingsDlgTest::openingSequence()
{
    QFETCH(QByteArray, scanLan);
    QFETCH(QByteArray, wol);
    QFETCH(bool, scanLanOn);
    QFETCH(bool, wolOn);
    scriptController(scanLan, wol);

    CascadedSettingsDlg dlg(&iom, &host, &versions);
    const int result = open(dlg, true, [&] {
        QVERIFY(waitRefreshed(dlg));
        QCOMPARE(iom.log, OpeningRequests);
        QVERIFY(!child(dlg, QStringLiteral("label_error"))->isVisible());
        QVERIFY(child(dlg, QStringLiteral("pushButton_ok"))->isEnabled());
        QCOMPARE(child<QCheckBox>(dlg, QStringLiteral("checkBox_scanLan"))->isChecked(), scanLanOn);
        QCOMPARE(child<QCheckBox>(dlg, QStringLiteral("checkBox_wol"))->isChecked(), wolOn);
        QCOMPARE(dlg.m_scan_LAN, scanLanOn);
        QCOMPARE(dlg.m_old_scan_LAN, scanLanOn);
        QVERIFY(!dlg.bSomethingChanged);
        QVERIFY(dlg.bUserAction);
        QVERIFY(dlg.timerConntectedSlavesAvailable.isActive());
        QCOMPARE(dlg.timerConntectedSlavesAvailable.interval(), 1000);
        QCOMPARE(dlg.cursor().shape(), Qt::ArrowCursor);
        close(dlg, CancelButton);
    });
    QCOMPARE(result, 0);
    QVERIFY(!dlg.timerUpdateAvailableSlaves.isActive());
    QVERIFY(!dlg.timerConntectedSlavesAvailable.isActive());
    QCOMPARE(linesStartingWith(iom.log, QStringLiteral("set ")), QStringList());
    QCOMPARE(iom.count(ScanLine), 1);
    QCOMPARE(iom.errors(), QStringList());
}

void CascadedSettingsDlgTest::versionGates_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("patch");
    QTest::addColumn<bool>("asksLock");
    QTest::addColumn<QString>("tooOld"); // the report, empty when the version suffices

    const QString v16 = QStringLiteral("Error: Version of the Controller (pv v1.6) is too old ");
    QTest::newRow("1.6.99") << 1 << 6 << 99 << false << v16;
    QTest::newRow("1.6 without patch") << 1 << 6 << -1 << false << v16;
    QTest::newRow("0.12.3") << 0 << 12 << 3 << false
                            << QStringLiteral("Error: Version of the Controller (pv v0.12) is too old ");
    QTest::newRow("1.7.0") << 1 << 7 << 0 << false << QString();
    QTest::newRow("1.7 without patch") << 1 << 7 << -1 << false << QString();
    QTest::newRow("1.8.12") << 1 << 8 << 12 << false << QString();
    QTest::newRow("1.9 patch -2") << 1 << 9 << -2 << false << QString();
    QTest::newRow("1.9.0") << 1 << 9 << 0 << true << QString();
    QTest::newRow("1.9 without patch") << 1 << 9 << -1 << true << QString();
    QTest::newRow("1.10.0") << 1 << 10 << 0 << true << QString();
    QTest::newRow("2.0.0") << 2 << 0 << 0 << true << QString();
}

// The controller answers "no" to "cascade available", so every row ends in the
// unavailable state; what differs is what is asked and reported.
void CascadedSettingsDlgTest::versionGates()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, patch);
    QFETCH(bool, asksLock);
    QFETCH(QString, tooOld);
    setProtocol(major, minor, patch);
    iom.answer(QStringLiteral("config is_changeable"), "no");
    iom.answer(QStringLiteral("cascade available"), "no");

    CascadedSettingsDlg dlg(&iom, &host, &versions);
    const int result = open(dlg, false, [&] {
        verifyUnavailableState(dlg);
        close(dlg, CancelButton);
    });
    QCOMPARE(result, 0);

    QStringList expected;
    if (asksLock)
        expected << QStringLiteral("get config is_changeable");
    if (tooOld.isEmpty())
        expected << QStringLiteral("get cascade available");
    QCOMPARE(iom.log.filter(QRegularExpression(QStringLiteral("^(get|getint|set|cmd) "))), expected);
    QCOMPARE(iom.errors(), tooOld.isEmpty() ? QStringList() : QStringList{tooOld});
    QCOMPARE(dlg.m_is_config_locked, asksLock);
    QVERIFY(!dlg.timerUpdateAvailableSlaves.isActive());
    QVERIFY(!dlg.timerConntectedSlavesAvailable.isActive());
}

void CascadedSettingsDlgTest::availabilityAnswer_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("result");
    QTest::addColumn<bool>("available");
    QTest::addColumn<QStringList>("errors");
    QTest::newRow("yes") << QByteArray("yes") << 0 << true << QStringList();
    QTest::newRow("no") << QByteArray("no") << 0 << false << QStringList();
    QTest::newRow("yes and newline") << QByteArray("yes\n") << 0 << false << QStringList();
    QTest::newRow("yes and blank") << QByteArray("yes ") << 0 << false << QStringList();
    QTest::newRow("capital Yes") << QByteArray("Yes") << 0 << false << QStringList();
    QTest::newRow("empty") << QByteArray() << 0 << false << QStringList();
    QTest::newRow("read fails") << QByteArray("yes") << 1 << false
                                << QStringList{QStringLiteral("Error: Unable to get availability of the Cascaded System")};
}

void CascadedSettingsDlgTest::availabilityAnswer()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, result);
    QFETCH(bool, available);
    QFETCH(QStringList, errors);
    scriptController();
    if (result != 0)
        iom.fail(QStringLiteral("cascade available"), result);
    else
        iom.answer(QStringLiteral("cascade available"), answer);

    CascadedSettingsDlg dlg(&iom, &host, &versions);
    const int closed = open(dlg, available, [&] {
        if (available) {
            QVERIFY(waitRefreshed(dlg));
            QVERIFY(!child(dlg, QStringLiteral("label_error"))->isVisible());
            QVERIFY(child(dlg, QStringLiteral("tableWidget_available"))->isEnabled());
        } else {
            verifyUnavailableState(dlg);
        }
        close(dlg, EscapeKey);
    });
    QCOMPARE(closed, 0);
    QCOMPARE(iom.count(ScanLine), available ? 1 : 0);
    QCOMPARE(iom.errors(), errors);
}

void CascadedSettingsDlgTest::configLock_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("result");
    QTest::addColumn<bool>("locked");
    QTest::newRow("no") << QByteArray("no") << 0 << true;
    QTest::newRow("yes") << QByteArray("yes") << 0 << false;
    QTest::newRow("no and blank") << QByteArray("no ") << 0 << false;
    QTest::newRow("capital No") << QByteArray("No") << 0 << false;
    QTest::newRow("no and newline") << QByteArray("no\n") << 0 << false;
    QTest::newRow("read fails") << QByteArray("no") << 1 << false;
}

void CascadedSettingsDlgTest::configLock()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, result);
    QFETCH(bool, locked);
    scriptController("yes", "yes");
    if (result != 0)
        iom.fail(QStringLiteral("config is_changeable"), result);
    else
        iom.answer(QStringLiteral("config is_changeable"), answer);

    CascadedSettingsDlg dlg(&iom, &host, &versions);
    const int closed = open(dlg, true, [&] {
        QVERIFY(waitRefreshed(dlg));
        QCOMPARE(dlg.m_is_config_locked, locked);
        const QIcon expectedIcon = locked ? QIcon(QStringLiteral(":/lock.png")) : hostIcon;
        QVERIFY(iconImage(dlg.windowIcon()) == iconImage(expectedIcon));

        // What changes the configuration is off while it is locked.
        for (const char *name : {"pushButton_ok", "checkBox_scanLan", "checkBox_wol"})
            QVERIFY2(child(dlg, QLatin1String(name))->isEnabled() == !locked, name);
        if (locked)
            for (const char *name : {"pushButton_select", "pushButton_deselect"})
                QVERIFY2(!child(dlg, QLatin1String(name))->isEnabled(), name);
        // Looking, rescanning and typing a name stay possible.
        for (const char *name : {"tableWidget_selected", "tableWidget_available", "pushButton_update",
                                 "lineEdit_addSlave", "pushButton_addSlave", "pushButton_cancel"})
            QVERIFY2(child(dlg, QLatin1String(name))->isEnabled(), name);
        QVERIFY(!child(dlg, QStringLiteral("label_error"))->isVisible());
        close(dlg, CancelButton);
    });
    QCOMPARE(closed, 0);
    QCOMPARE(iom.errors(), QStringList()); // an unreadable lock is not reported
}

void CascadedSettingsDlgTest::lockIsAskedAtEveryOpening()
{
    scriptController();
    iom.answer(QStringLiteral("config is_changeable"), "no");
    CascadedSettingsDlg dlg(&iom, &host, &versions);
    QCOMPARE(open(dlg, true, [&] {
                 QVERIFY(waitRefreshed(dlg));
                 QVERIFY(!child(dlg, QStringLiteral("pushButton_ok"))->isEnabled());
                 close(dlg, CancelButton);
             }),
             0);

    iom.answer(QStringLiteral("config is_changeable"), "yes");
    QCOMPARE(open(dlg, true, [&] {
                 QVERIFY(waitRefreshed(dlg));
                 QVERIFY(child(dlg, QStringLiteral("pushButton_ok"))->isEnabled());
                 QVERIFY(child(dlg, QStringLiteral("checkBox_scanLan"))->isEnabled());
                 QVERIFY(iconImage(dlg.windowIcon()) == iconImage(hostIcon));
                 close(dlg, CancelButton);
             }),
             0);
    QCOMPARE(iom.count(QStringLiteral("get config is_changeable")), 2);
}

void CascadedSettingsDlgTest::closingRestoresScanLan_data()
{
    QTest::addColumn<QByteArray>("atOpening");
    QTest::addColumn<int>("toggles");
    QTest::addColumn<int>("closeBy");
    QTest::addColumn<QString>("failingWrite");
    QTest::addColumn<QStringList>("writes");
    QTest::addColumn<QStringList>("errors");

    const QString yes = QStringLiteral("set cascade scan_slaves_lan yes");
    const QString no = QStringLiteral("set cascade scan_slaves_lan no");
    QTest::newRow("untouched") << QByteArray("no") << 0 << int(CancelButton) << QString() << QStringList()
                               << QStringList();
    QTest::newRow("on, cancel") << QByteArray("no") << 1 << int(CancelButton) << QString() << QStringList{yes, no}
                                << QStringList();
    QTest::newRow("on, escape") << QByteArray("no") << 1 << int(EscapeKey) << QString() << QStringList{yes, no}
                                << QStringList();
    QTest::newRow("on, close button") << QByteArray("no") << 1 << int(CloseButton) << QString()
                                      << QStringList{yes, no} << QStringList();
    QTest::newRow("off, escape") << QByteArray("yes") << 1 << int(EscapeKey) << QString() << QStringList{no, yes}
                                 << QStringList();
    QTest::newRow("on and off again, cancel") << QByteArray("no") << 2 << int(CancelButton) << QString()
                                              << QStringList{yes, no} << QStringList();
    QTest::newRow("off and on again, close button") << QByteArray("yes") << 2 << int(CloseButton) << QString()
                                                    << QStringList{no, yes} << QStringList();
    QTest::newRow("restoring off fails")
        << QByteArray("no") << 1 << int(CancelButton) << QStringLiteral("cascade scan_slaves_lan no")
        << QStringList{yes, no} << QStringList{QStringLiteral("Error: Unable to disable scan LAN for the Cascaded System")};
    QTest::newRow("restoring on fails")
        << QByteArray("yes") << 1 << int(EscapeKey) << QStringLiteral("cascade scan_slaves_lan yes")
        << QStringList{no, yes} << QStringList{QStringLiteral("Error: Unable to enable scan LAN for the Cascaded System")};
}

// Cancel, Escape and the close button all put the LAN-scan option back to its
// value at the opening when the user changed it, and send nothing else.
void CascadedSettingsDlgTest::closingRestoresScanLan()
{
    QFETCH(QByteArray, atOpening);
    QFETCH(int, toggles);
    QFETCH(int, closeBy);
    QFETCH(QString, failingWrite);
    QFETCH(QStringList, writes);
    QFETCH(QStringList, errors);
    scriptController(atOpening);
    if (!failingWrite.isEmpty())
        iom.fail(failingWrite);

    CascadedSettingsDlg dlg(&iom, &host, &versions);
    const int result = open(dlg, true, [&] {
        QVERIFY(waitRefreshed(dlg));
        auto *box = child<QCheckBox>(dlg, QStringLiteral("checkBox_scanLan"));
        for (int i = 0; i < toggles; ++i)
            box->click(); // each change rescans; the progress dialog closes itself
        close(dlg, CloseBy(closeBy));
    });
    QCOMPARE(result, 0);
    QVERIFY(!dlg.isVisible());
    QCOMPARE(linesStartingWith(iom.log, QStringLiteral("set ")), writes);
    QCOMPARE(iom.count(ScanLine), 1 + toggles);
    QCOMPARE(iom.errors(), errors);
    QVERIFY(!dlg.timerUpdateAvailableSlaves.isActive());
    QVERIFY(!dlg.timerConntectedSlavesAvailable.isActive());
}

void CascadedSettingsDlgTest::returnPressesNoButton()
{
    scriptController();
    CascadedSettingsDlg dlg(&iom, &host, &versions);
    bool stayedOpen = false;
    const int result = open(dlg, true, [&] {
        QVERIFY(waitRefreshed(dlg));
        const int requests = iom.requests().size();
        QSignalSpy finished(&dlg, &QDialog::finished);
        for (const char *name : {"pushButton_ok", "pushButton_cancel", "tableWidget_available", "checkBox_wol"}) {
            QWidget *w = child(dlg, QLatin1String(name));
            w->setFocus();
            QTest::keyClick(w, Qt::Key_Return);
            QTest::keyClick(w, Qt::Key_Enter);
        }
        stayedOpen = dlg.isVisible() && finished.isEmpty();
        QCOMPARE(iom.requests().size(), requests);
        close(dlg, EscapeKey);
    });
    QVERIFY(stayedOpen);
    QCOMPARE(result, 0);
}

// The Update button runs the scan progress dialog on top of the open settings
// dialog and then schedules the available-list refresh. The click is posted
// from the driver's action, so that the driver can serve the nested dialog.
void CascadedSettingsDlgTest::updateButtonRescans()
{
    scriptController();
    CascadedSettingsDlg dlg(&iom, &host, &versions);
    QWidget *progressParent = nullptr;
    bool refreshDue = false;
    QStringList requests;
    bool opened = false;
    ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [](QWidget *) {}); // the opening's scan
    ModalDriver::when(QStringLiteral("CascadedSettingsDlgClass"), [&](QWidget *) {
        opened = waitRefreshed(dlg);
        iom.clearLog();
        ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"),
                          [&](QWidget *w) { progressParent = w->parentWidget(); });
        ModalDriver::when(
            [&](QWidget *w) { return w == &dlg && iom.count(ScanLine) == 1; },
            [&](QWidget *) {
                refreshDue = dlg.timerUpdateAvailableSlaves.isActive()
                             && dlg.timerUpdateAvailableSlaves.interval() == 100;
                waitRefreshed(dlg);
                requests = iom.requests();
                close(dlg, CancelButton);
            });
        QTimer::singleShot(0, &dlg, [&] {
            QTest::mouseClick(child<QPushButton>(dlg, QStringLiteral("pushButton_update")), Qt::LeftButton);
        });
    });
    QCOMPARE(dlg.update_and_exec(), 0);
    QVERIFY(opened);
    QCOMPARE(progressParent, &host);
    QVERIFY2(refreshDue, "no available-list refresh due 100 ms after the scan");
    QCOMPARE(requests, (QStringList{ScanLine, QStringLiteral("getint cascade number_of_scanned_slaves"),
                                    QStringLiteral("getint cascade number_of_scanned_slaves")}));
    QCOMPARE(iom.errors(), QStringList());
}

// Every opening asks the controller again and scans again; an opening that
// finds the cascade unavailable keeps the previous lists, disabled.
void CascadedSettingsDlgTest::reopening()
{
    scriptController();
    iom.answerInt(QStringLiteral("cascade number_of_connected_slaves"), 1);
    iom.answer(QStringLiteral("cascade connected_slave d01"), "10.0.0.5");
    iom.answer(QStringLiteral("system hostname_slave 10.0.0.5"), "ctrl5");
    iom.answer(QStringLiteral("cascade connected_slave_available 10.0.0.5"), "yes");

    CascadedSettingsDlg dlg(&iom, &host, &versions);
    auto *selected = child<QTableWidget>(dlg, QStringLiteral("tableWidget_selected"));
    for (int opening = 1; opening <= 2; ++opening) {
        QCOMPARE(open(dlg, true, [&] {
                     QVERIFY(waitRefreshed(dlg));
                     QCOMPARE(selected->rowCount(), 1);
                     close(dlg, opening == 1 ? CancelButton : CloseButton);
                 }),
                 0);
        QCOMPARE(iom.count(ScanLine), opening);
        QCOMPARE(iom.count(QStringLiteral("getint cascade number_of_connected_slaves")), opening);
    }

    iom.answer(QStringLiteral("cascade available"), "no");
    QCOMPARE(open(dlg, false, [&] {
                 verifyUnavailableState(dlg);
                 QCOMPARE(selected->rowCount(), 1);
                 QCOMPARE(selected->item(0, 0)->text(), QStringLiteral("ctrl5"));
                 QCOMPARE(selected->item(0, 1)->text(), QStringLiteral("10.0.0.5"));
                 close(dlg, CancelButton);
             }),
             0);
    QCOMPARE(iom.count(ScanLine), 2);
    QCOMPARE(iom.errors(), QStringList());
}

QTEST_MAIN(CascadedSettingsDlgTest)
#include "tst_settingsdialog.moc"
