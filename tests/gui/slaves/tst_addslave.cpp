// Adding a slave by hand: the address checks, the UDP probe of the named
// controller against responders on 127.0.7.x:50105, the warning boxes, the
// command to the connected controller and the refresh that follows.
#include <QtTest>
#include <arpa/inet.h>
#include <atomic>
#include <utility>
#include <dirent.h>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "slavetests.h"

using namespace SlaveTests;

// Every datagram this process sends goes through here: the tests record the
// destinations and refuse anything outside 127.0.0.0/8, so that no test can
// ever put a probe on a real network.
namespace {
struct Sent
{
    quint32 ip;
    quint16 port;
};
std::mutex g_sentLock;
QList<Sent> g_sent;
int g_blocked = 0;

QList<Sent> sentSince(int from)
{
    std::lock_guard<std::mutex> l(g_sentLock);
    return g_sent.mid(from);
}
int sentCount()
{
    std::lock_guard<std::mutex> l(g_sentLock);
    return g_sent.size();
}
} // namespace

extern "C" ssize_t sendto(int fd, const void *buf, size_t len, int flags, const struct sockaddr *to,
                          socklen_t tolen)
{
    if (to && to->sa_family == AF_INET) {
        const auto *in = reinterpret_cast<const sockaddr_in *>(to);
        const quint32 ip = ntohl(in->sin_addr.s_addr);
        std::lock_guard<std::mutex> l(g_sentLock);
        g_sent << Sent{ip, ntohs(in->sin_port)};
        if ((ip >> 24) != 127) {
            ++g_blocked;
            errno = EPERM;
            return -1;
        }
    }
    return syscall(SYS_sendto, fd, buf, len, flags, to, tolen);
}

namespace {

// Open sockets of this process.
int openSockets()
{
    int n = 0;
    DIR *d = opendir("/proc/self/fd");
    while (dirent *e = readdir(d)) {
        char link[64] = {};
        const QByteArray path = QByteArray("/proc/self/fd/") + QByteArray(e->d_name);
        if (readlink(path.constData(), link, sizeof link - 1) > 0 && qstrncmp(link, "socket:", 7) == 0)
            ++n;
    }
    closedir(d);
    return n;
}

QByteArray z(const QByteArray &text) { return text + '\0'; }

// A controller's probe port on its own loopback address, answered from a
// thread of its own (the probe blocks the GUI thread while it waits).
// Requests are keyed by their text without the zero byte; an unknown
// request, or one mapped to a null array, gets no reply.
class Responder
{
public:
    QHash<QByteArray, QByteArray> replies;
    QByteArray replyFrom; // reply from a socket on this address instead

    explicit Responder(const QByteArray &addr) : m_addr(addr) {}
    ~Responder() { stop(); }

    bool start()
    {
        m_fd = bound(m_addr, 50105);
        m_replyFd = replyFrom.isEmpty() ? m_fd : bound(replyFrom, 0);
        if (m_fd < 0 || m_replyFd < 0)
            return false;
        m_thread = std::thread([this] { run(); });
        return true;
    }
    void stop()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        if (m_replyFd >= 0 && m_replyFd != m_fd)
            ::close(m_replyFd);
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = m_replyFd = -1;
    }
    QList<QByteArray> received()
    {
        std::lock_guard<std::mutex> l(m_lock);
        return m_received;
    }

private:
    static int bound(const QByteArray &addr, quint16 port)
    {
        const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        const int one = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        ::inet_pton(AF_INET, addr.constData(), &a.sin_addr);
        if (::bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0) {
            ::close(fd);
            return -1;
        }
        return fd;
    }
    void run()
    {
        while (!m_stop) {
            pollfd p{m_fd, POLLIN, 0};
            if (::poll(&p, 1, 20) <= 0)
                continue;
            char buf[2048];
            sockaddr_in from{};
            socklen_t fl = sizeof from;
            const ssize_t n = ::recvfrom(m_fd, buf, sizeof buf, 0, reinterpret_cast<sockaddr *>(&from), &fl);
            if (n < 0)
                continue;
            const QByteArray req(buf, int(n));
            {
                std::lock_guard<std::mutex> l(m_lock);
                m_received << req;
            }
            QByteArray key = req;
            if (key.endsWith('\0'))
                key.chop(1);
            const QByteArray reply = replies.value(key);
            if (!reply.isNull())
                ::sendto(m_replyFd, reply.constData(), size_t(reply.size()), 0,
                         reinterpret_cast<sockaddr *>(&from), fl);
        }
    }

    QByteArray m_addr;
    int m_fd = -1, m_replyFd = -1;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
    std::mutex m_lock;
    QList<QByteArray> m_received;
};

const QByteArray GetVersion = z("korvane get system version");
const QByteArray GetAccess = z("korvane get system access");
const QByteArray GetCanSlave = z("korvane get system can_slave");
const QByteArray Silent; // null: no reply

QByteArray version(const char *v) { return z(QByteArray("korvane set system version ") + v); }

const QString NotValid = "IP address or hostname is not valid";
const QString AlreadyListed = "IP address is already as a Cascaded System slave available";
const QString NotAvailable = "IP address is not available as a Cascaded System slave";

} // namespace

class CascadedSettingsDlgTest : public QObject
{
    Q_OBJECT

private:
    ScriptedIOManager *iom = nullptr;
    BackendVersions be = backend();
    QWidget *host = nullptr;
    std::unique_ptr<CascadedSettingsDlg> dlg;

    // Types text into the add field and presses the add button; returns the
    // warning boxes shown meanwhile.
    QList<BoxCatcher::Box> add(const QString &text)
    {
        BoxCatcher boxes;
        dlg->ui.lineEdit_addSlave->setText(text);
        dlg->ui.pushButton_addSlave->click();
        return boxes.boxes;
    }

private slots:
    void initTestCase() { installWarningTrap(); }
    void init()
    {
        iom = new ScriptedIOManager;
        host = new QWidget;
        scriptController(*iom, {}, {});
        dlg.reset(new CascadedSettingsDlg(iom, host, &be));
    }
    void cleanup()
    {
        dlg.reset();
        delete host;
        delete iom;
        QVERIFY2(trappedWarnings().isEmpty(), qPrintable(trappedWarnings().join('\n')));
        int blocked = 0;
        {
            std::lock_guard<std::mutex> l(g_sentLock);
            blocked = std::exchange(g_blocked, 0);
        }
        QVERIFY2(blocked == 0, "a datagram to an address outside 127.0.0.0/8 was attempted");
        for (QWidget *w : QApplication::topLevelWidgets())
            QVERIFY2(!w->isVisible(), qPrintable("left open: " + w->objectName()));
    }

    void addressForm_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("dotted");
        QTest::addColumn<bool>("lastAllowed");
        QTest::newRow("address") << "192.168.1.20" << true << true;
        QTest::newRow("last 1") << "10.0.0.1" << true << true;
        QTest::newRow("last 254") << "10.0.0.254" << true << true;
        QTest::newRow("last 0") << "192.168.1.0" << true << false;
        QTest::newRow("last 255") << "192.168.1.255" << true << false;
        QTest::newRow("three dots") << "..." << true << false;
        QTest::newRow("long component") << "1234.5.6.7" << true << true;
        QTest::newRow("two dots") << "1.2.3" << false << false;
        QTest::newRow("four dots") << "1.2.3.4.5" << false << true;
        QTest::newRow("hostname") << "ctrl-a.lab" << false << false;
        QTest::newRow("letters and three dots") << "a.b.c.d" << false << false;
        QTest::newRow("last not a number") << "1.2.3.x" << false << false;
    }
    void addressForm()
    {
        QFETCH(QString, text);
        QFETCH(bool, dotted);
        QFETCH(bool, lastAllowed);
        QCOMPARE(dlg->isIpAddress(text), dotted);
        QCOMPARE(dlg->isLastPartOfIpAllowed(text), lastAllowed);
    }

    // Texts refused before any socket is opened or any datagram sent.
    void refusedWithoutTraffic_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("last 0") << "192.168.1.0";
        QTest::newRow("last 255") << "192.168.1.255";
        QTest::newRow("three dots") << "...";
    }
    void refusedWithoutTraffic()
    {
        QFETCH(QString, text);
        const int sockets = openSockets();
        const int sent = sentCount();
        const QList<BoxCatcher::Box> boxes = add(text);
        QCOMPARE(sentSince(sent).size(), 0);
        QCOMPARE(openSockets(), sockets);
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes[0].text, NotValid);
        QCOMPARE(iom->log, QStringList());
        QVERIFY(!dlg->bSomethingChanged);
    }

    // The probe against a responder: validation (version, access), the list
    // check, then eligibility (access, version, can_slave).
    void probe_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QByteArray>("addr");
        QTest::addColumn<QString>("listed");   // an address already in the available list
        QTest::addColumn<QByteArray>("ver");
        QTest::addColumn<QByteArray>("acc");
        QTest::addColumn<QByteArray>("can");
        QTest::addColumn<QByteArray>("from");   // reply from this address
        QTest::addColumn<QString>("box");       // expected warning, empty: added
        QTest::addColumn<int>("seen");          // datagrams the responder receives

        const QByteArray v26 = version("v2.6.0"), full = z("korvane set system access full"),
                         yes = z("korvane set system can_slave yes"), none;
        const QString ok; // no warning: the controller is added
        auto row = [](const char *name, const char *typed, const char *addr, const char *listed,
                      const QByteArray &ver, const QByteArray &acc, const QByteArray &can,
                      const QByteArray &from, const QString &box, int seen) {
            QTest::newRow(name) << QString(typed) << QByteArray(addr) << QString(listed) << ver << acc
                                << can << from << box << seen;
        };
        row("2.6.0 accepted", "127.0.7.254", "127.0.7.254", "", v26, full, yes, none, ok, 5);
        row("3.0.0 accepted", "127.0.7.2", "127.0.7.2", "", version("v3.0.0"), full, yes, none, ok, 5);
        row("2.5.9 refused", "127.0.7.3", "127.0.7.3", "", version("v2.5.9"), full, yes, none, NotAvailable, 4);
        row("1.9.0 refused", "127.0.7.4", "127.0.7.4", "", version("v1.9.0"), full, yes, none, NotAvailable, 4);
        row("version without three numbers", "127.0.7.5", "127.0.7.5", "", version("v2.6"), full, yes, none,
            NotAvailable, 4);
        row("access read", "127.0.7.6", "127.0.7.6", "", v26, z("korvane set system access read"), yes, none,
            NotAvailable, 3);
        row("access full with blank", "127.0.7.7", "127.0.7.7", "", v26, z("korvane set system access full "), yes,
            none, NotAvailable, 3);
        row("can_slave no", "127.0.7.8", "127.0.7.8", "", v26, full, z("korvane set system can_slave no"), none,
            NotAvailable, 5);
        row("can_slave silent", "127.0.7.9", "127.0.7.9", "", v26, full, Silent, none, NotAvailable, 5);
        row("no reply", "127.0.7.10", "127.0.7.10", "", Silent, full, yes, none, NotValid, 1);
        row("access silent", "127.0.7.11", "127.0.7.11", "", v26, Silent, yes, none, NotValid, 2);
        row("version reply of 300 bytes", "127.0.7.12", "127.0.7.12", "", v26.leftJustified(300, '\0'), full, yes,
            none, NotValid, 1);
        row("version reply of 299 bytes", "127.0.7.13", "127.0.7.13", "", v26.leftJustified(299, '\0'), full, yes,
            none, ok, 5);
        row("26-byte version reply", "127.0.7.14", "127.0.7.14", "", "korvane set system version", full, yes, none,
            NotValid, 1);
        row("reply from another host", "127.0.7.15", "127.0.7.15", "", v26, full, yes, "127.0.7.115", ok, 5);
        row("already listed", "127.0.7.16", "127.0.7.16", "127.0.7.16", v26, full, yes, none, AlreadyListed, 2);
        // 127.0.1793 is the resolver's short form of 127.0.7.1.
        row("name of a listed controller", "127.0.1793", "127.0.7.1", "127.0.7.1", v26, full, yes, none,
            AlreadyListed, 2);
        // Dotted text is compared as typed: 042 (octal, 34) is not 34.
        row("dotted text as typed", "127.0.7.042", "127.0.7.34", "127.0.7.34", v26, full, yes, none, ok, 5);
    }
    void probe()
    {
        QFETCH(QString, typed);
        QFETCH(QByteArray, addr);
        QFETCH(QString, listed);
        QFETCH(QByteArray, ver);
        QFETCH(QByteArray, acc);
        QFETCH(QByteArray, can);
        QFETCH(QByteArray, from);
        QFETCH(QString, box);
        QFETCH(int, seen);

        Responder r(addr);
        r.replies.insert("korvane get system version", ver);
        r.replies.insert("korvane get system access", acc);
        r.replies.insert("korvane get system can_slave", can);
        r.replyFrom = from;
        QVERIFY2(r.start(), "cannot bind the responder");
        if (!listed.isEmpty())
            dlg->list_availableSlaves << new SlaveInfo("listed", listed, "yes");
        iom->answer("korvane cascade add_scanned_slave " + typed, "korvane ok");
        iom->answerInt("cascade number_of_scanned_slaves", 1);
        iom->answer("cascade scanned_slave d01", addr);
        iom->answer("cascade scanned_slave_controller " + addr, "manual x");
        iom->answer("cascade scanned_slave_available " + addr, "yes");
        const int sockets = openSockets();
        const int sent = sentCount();

        const QList<BoxCatcher::Box> boxes = add(typed);

        const QList<QByteArray> got = r.received();
        QCOMPARE(openSockets(), sockets); // every probe socket closed
        const QList<QByteArray> order{GetVersion, GetAccess, GetAccess, GetVersion, GetCanSlave};
        QCOMPARE(got, order.mid(0, seen));
        int probes = 0;
        for (const Sent &s : sentSince(sent))
            if (s.port == 50105) {
                QCOMPARE(s.ip, quint32(ntohl(inet_addr(addr.constData()))));
                ++probes;
            }
        QCOMPARE(probes, seen); // one datagram per request, nothing retried
        QCOMPARE(dlg->ui.lineEdit_addSlave->text(), typed);
        QCOMPARE(dlg->cursor().shape(), Qt::ArrowCursor);
        if (!box.isEmpty()) {
            QCOMPARE(boxes.size(), 1);
            QCOMPARE(boxes[0].title, QString("VESTRAL"));
            QCOMPARE(boxes[0].text, box);
            QCOMPARE(boxes[0].buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
            QCOMPARE(boxes[0].icon, QMessageBox::Warning);
            QCOMPARE(iom->log, QStringList());
            QVERIFY(!dlg->bSomethingChanged);
            QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
            return;
        }
        QCOMPARE(boxes.size(), 0);
        QCOMPARE(iom->log, QStringList({"cmd korvane cascade add_scanned_slave " + typed}));
        QVERIFY(dlg->bSomethingChanged);
        QVERIFY(dlg->timerUpdateAvailableSlaves.isActive());
        QCOMPARE(dlg->timerUpdateAvailableSlaves.interval(), 100);
        // The refresh fetches the controller's scan result with the new entry.
        QTRY_COMPARE_WITH_TIMEOUT(rows(dlg->ui.tableWidget_available),
                                  QStringList({"manual|" + QString(addr) + "|yes"}), 2000);
    }

    // A failing add command is reported; the change and the refresh follow
    // as on success.
    void addCommandFails()
    {
        Responder r("127.0.7.30");
        r.replies.insert("korvane get system version", version("v2.7.1"));
        r.replies.insert("korvane get system access", z("korvane set system access full"));
        r.replies.insert("korvane get system can_slave", z("korvane set system can_slave yes"));
        QVERIFY(r.start());
        iom->fail("korvane cascade add_scanned_slave 127.0.7.30");
        const QList<BoxCatcher::Box> boxes = add("127.0.7.30");
        QCOMPARE(boxes.size(), 0);
        QCOMPARE(iom->errors(), QStringList({"Error: Unable to add Cascaded System slave 127.0.7.30"}));
        QVERIFY(dlg->bSomethingChanged);
        QVERIFY(dlg->timerUpdateAvailableSlaves.isActive());
        QTRY_VERIFY_WITH_TIMEOUT(iom->log.contains("getint cascade number_of_scanned_slaves"), 2000);
        QVERIFY(!dlg->timerUpdateAvailableSlaves.isActive());
    }
};

QTEST_MAIN(CascadedSettingsDlgTest)
#include "tst_addslave.moc"
