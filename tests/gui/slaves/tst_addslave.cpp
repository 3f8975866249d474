// SPDX-License-Identifier: MIT
// Adding a slave by hand: the address checks and the UDP probe of the named
// controller against responders on 127.0.7.x at the controller port.
#include <QMessageBox>
#include <QtTest>
#include <arpa/inet.h>
#include <dirent.h>
#include <memory>
#include <atomic>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "BackendVersions.h"
#include "ControllerProtocol.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "guitest.h"
#include "scriptediomanager.h"
#include "udpresponder.h"

// Every datagram of this process passes here: those to the controller port
// are counted, and anything outside 127.0.0.0/8 is refused, so that no probe
// reaches a real network.
namespace {
std::atomic<int> g_probes{0}, g_blocked{0};
} // namespace

extern "C" ssize_t sendto(int fd, const void *buf, size_t len, int flags, const struct sockaddr *to, socklen_t tolen)
{
    if (to && to->sa_family == AF_INET) {
        const auto *in = reinterpret_cast<const sockaddr_in *>(to);
        g_probes += ntohs(in->sin_port) == ControllerProtocol::Port;
        if ((ntohl(in->sin_addr.s_addr) >> 24) != 127) {
            ++g_blocked;
            errno = EPERM;
            return -1;
        }
    }
    return syscall(SYS_sendto, fd, buf, len, flags, to, tolen);
}

namespace {

int openSockets()
{
    int n = 0;
    DIR *d = opendir("/proc/self/fd");
    while (dirent *e = readdir(d)) {
        char link[64] = {};
        if (readlink((QByteArray("/proc/self/fd/") + QByteArray(e->d_name)).constData(), link, sizeof link - 1) > 0)
            n += qstrncmp(link, "socket:", 7) == 0;
    }
    closedir(d);
    return n;
}


const QByteArray GetVersion = datagram("korvane get system version"), GetAccess = datagram("korvane get system access"),
                 GetCanSlave = datagram("korvane get system can_slave");
QByteArray version(const char *v) { return datagram(QByteArray("korvane set system version ") + v); }
const QString NotValid = "IP address or hostname is not valid";
const QString AlreadyListed = "IP address is already as a Cascaded System slave available";
const QString NotAvailable = "IP address is not available as a Cascaded System slave";

struct Probe
{
    QString typed;
    QByteArray addr;
    bool listed;
    QByteArray ver, acc, can, from; // the replies; from: another address they leave from
    int addResult;
    QString box; // empty: added
    int seen;    // datagrams the controller receives
};

} // namespace

Q_DECLARE_METATYPE(Probe)

class AddSlaveTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<ScriptedIOManager> iom;
    std::unique_ptr<QWidget> host;
    BackendVersions be{VersionInfo(2, 1, 0), VersionInfo(2, 0, 0), VersionInfo(2, 1, 0), "VESTRAL"};
    std::unique_ptr<CascadedSettingsDlg> dlg;

    Ui::CascadedSettingsDlgClass &ui() { return DialogAccess::ui(*dlg); }

    // Types text, presses the add button and returns the texts of the warning
    // boxes shown meanwhile (each closed with OK).
    QStringList add(const QString &text)
    {
        QStringList boxes;
        ModalDriver::whenever([](QWidget *w) { return qobject_cast<QMessageBox *>(w) != nullptr; }, [&boxes](QWidget *w) {
            auto *b = static_cast<QMessageBox *>(w);
            boxes << b->text();
            QVERIFY(b->windowTitle() == "VESTRAL" && b->icon() == QMessageBox::Warning
                    && b->standardButtons() == QMessageBox::Ok);
            b->button(QMessageBox::Ok)->click();
        });
        ui().lineEdit_addSlave->setText(text);
        ui().pushButton_addSlave->click();
        ModalDriver::endWhenever();
        return boxes;
    }

private slots:
    void initTestCase() { GuiTest::install(); }
    void init()
    {
        iom.reset(new ScriptedIOManager);
        host.reset(new QWidget);
        dlg.reset(new CascadedSettingsDlg(iom.get(), host.get(), &be));
    }
    void cleanup()
    {
        dlg.reset();
        VERIFY_CLEAN();
        QVERIFY2(g_blocked.exchange(0) == 0, "a datagram to an address outside 127.0.0.0/8 was attempted");
    }

    void addressForm_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("dotted");
        QTest::addColumn<bool>("lastAllowed");
        QTest::newRow("address") << "192.168.1.20" << true << true;
        QTest::newRow("last 0") << "192.168.1.0" << true << false;
        QTest::newRow("last 255") << "192.168.1.255" << true << false;
        QTest::newRow("three dots") << "..." << true << false;
        QTest::newRow("two dots") << "1.2.3" << false << false;
        QTest::newRow("four dots") << "1.2.3.4.5" << false << true;
        QTest::newRow("letters") << "a.b.c.d" << false << false;
    }
    void addressForm()
    {
        QFETCH(QString, text);
        QFETCH(bool, dotted);
        QFETCH(bool, lastAllowed);
        QCOMPARE(DialogAccess::isIpAddress(*dlg, text), dotted);
        QCOMPARE(DialogAccess::isLastPartOfIpAllowed(*dlg, text), lastAllowed);
    }

    // Only ASCII letters, digits, '-' and '.' can be typed into the add field.
    // Qt 5 and Qt 6 builds use different validator classes for it; both must
    // take the same texts.
    void addFieldTakesOnlyNameCharacters()
    {
        QLineEdit *edit = ui().lineEdit_addSlave;
        const QValidator *validator = edit->validator();
        QVERIFY(validator && validator->parent() == dlg.get());
        for (const char *text : {"", "lab-annex.local", "192.168.1.20", "AZaz09-."}) {
            QString s = QString::fromUtf8(text);
            int pos = 0;
            QCOMPARE(validator->validate(s, pos), QValidator::Acceptable);
        }
        for (const char *text : {"a b", "host_1", "m\xc3\xbcller", "x/y", "1,2", "a\n", "[a]"}) {
            QString s = QString::fromUtf8(text);
            int pos = 0;
            QCOMPARE(validator->validate(s, pos), QValidator::Invalid);
        }
        QTest::keyClicks(edit, QStringLiteral("lab_annex 1.2!/"));
        QCOMPARE(edit->text(), QStringLiteral("labannex1.2"));
    }

    // Refused before any socket is opened or any datagram sent.
    void refusedWithoutTraffic()
    {
        for (const char *text : {"192.168.1.0", "192.168.1.255"}) {
            const int sockets = openSockets(), probes = g_probes;
            QCOMPARE(add(text), QStringList{NotValid});
            QCOMPARE(g_probes - probes, 0);
            QCOMPARE(openSockets(), sockets);
        }
        QCOMPARE(iom->log, QStringList());
        QVERIFY(!DialogAccess::somethingChanged(*dlg));
    }

    // Validation (version, access), the list check, then eligibility
    // (access, version, can_slave); one datagram per request, and what each
    // outcome does in the dialog.
    void probe_data()
    {
        QTest::addColumn<Probe>("c");
        const QByteArray v26 = version("v2.6.0"), full = datagram("korvane set system access full"),
                         yes = datagram("korvane set system can_slave yes");
        QTest::newRow("2.6.0 accepted") << Probe{"127.0.7.254", "127.0.7.254", false, v26, full, yes, {}, 0, "", 5};
        QTest::newRow("reply from another address")
            << Probe{"127.0.7.2", "127.0.7.2", false, v26, full, yes, "127.0.7.102", 0, "", 5};
        QTest::newRow("add command fails") << Probe{"127.0.7.3", "127.0.7.3", false, v26, full, yes, {}, 1, "", 5};
        QTest::newRow("2.5.9")
            << Probe{"127.0.7.4", "127.0.7.4", false, version("v2.5.9"), full, yes, {}, 0, NotAvailable, 4};
        QTest::newRow("version without patch")
            << Probe{"127.0.7.5", "127.0.7.5", false, version("v2.6"), full, yes, {}, 0, NotAvailable, 4};
        QTest::newRow("access full and blank")
            << Probe{"127.0.7.6", "127.0.7.6", false, v26, datagram("korvane set system access full "), yes, {}, 0,
                     NotAvailable, 3};
        QTest::newRow("can_slave no") << Probe{"127.0.7.7", "127.0.7.7", false, v26, full,
                                               datagram("korvane set system can_slave no"), {}, 0, NotAvailable, 5};
        QTest::newRow("no reply") << Probe{"127.0.7.8", "127.0.7.8", false, {}, full, yes, {}, 0, NotValid, 1};
        QTest::newRow("access silent") << Probe{"127.0.7.9", "127.0.7.9", false, v26, {}, yes, {}, 0, NotValid, 2};
        QTest::newRow("reply fills the buffer")
            << Probe{"127.0.7.10", "127.0.7.10", false, v26.leftJustified(300, '\0'), full, yes, {}, 0, NotValid, 1};
        QTest::newRow("reply without its zero byte")
            << Probe{"127.0.7.11", "127.0.7.11", false, "korvane set system version", full, yes, {}, 0, NotValid, 1};
        QTest::newRow("can_slave without its zero byte")
            << Probe{"127.0.7.13", "127.0.7.13", false, v26, full, "korvane set system can_slave yes", {}, 0, NotAvailable, 5};
        QTest::newRow("already listed") << Probe{"127.0.7.12", "127.0.7.12", true, v26, full, yes, {}, 0, AlreadyListed, 2};
        // The resolver's short form of 127.0.7.1 is compared by its address.
        QTest::newRow("name of a listed controller")
            << Probe{"127.0.1793", "127.0.7.1", true, v26, full, yes, {}, 0, AlreadyListed, 2};
    }
    void probe()
    {
        QFETCH(Probe, c);
        UdpResponder r;
        r.replies = {{GetVersion.left(GetVersion.size() - 1), c.ver}, {GetAccess.left(GetAccess.size() - 1), c.acc},
                     {GetCanSlave.left(GetCanSlave.size() - 1), c.can}};
        QVERIFY2(r.start(c.addr, c.from), "cannot bind the responder");
        if (c.listed)
            DialogAccess::availableSlaves(*dlg) << new SlaveInfo("listed", c.addr, "yes");
        iom->scriptCascade({}, {{"manual", c.addr}});
        iom->answer("korvane cascade add_scanned_slave " + c.typed, "korvane ok", c.addResult);
        const int sockets = openSockets(), probes = g_probes;

        QCOMPARE(add(c.typed), c.box.isEmpty() ? QStringList() : QStringList{c.box});

        QCOMPARE(openSockets(), sockets); // every probe socket closed
        QCOMPARE(r.seen(), (QList<QByteArray>{GetVersion, GetAccess, GetAccess, GetVersion, GetCanSlave}.mid(0, c.seen)));
        QCOMPARE(g_probes - probes, c.seen); // to no other controller either
        QCOMPARE(dlg->cursor().shape(), Qt::ArrowCursor);
        QCOMPARE(DialogAccess::somethingChanged(*dlg), c.box.isEmpty());
        if (!c.box.isEmpty()) {
            QCOMPARE(iom->log, QStringList());
            return;
        }
        QCOMPARE(iom->log.first(), "cmd korvane cascade add_scanned_slave " + c.typed);
        QCOMPARE(iom->errors(), c.addResult ? QStringList{"Error: Unable to add Cascaded System slave " + c.typed} : QStringList());
        // The list is refreshed 100 ms later, also after a failed add.
        QVERIFY(DialogAccess::listTimer(*dlg).isActive() && DialogAccess::listTimer(*dlg).interval() == 100);
        DialogAccess::rebuildAvailable(*dlg);
        QCOMPARE(GuiTest::rows(ui().tableWidget_available), QStringList({"manual|" + c.addr + "|yes"}));
    }
};

GUITEST_MAIN(AddSlaveTest)
#include "tst_addslave.moc"
