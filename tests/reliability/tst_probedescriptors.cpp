// 1000 probes of controllers named by hand leave no descriptor open: most
// are answered, some are refused, some time out. A UDP responder thread
// serves 127.0.8.1 (a controller that can become a slave) and 127.0.8.3 (one
// that refuses every request); nothing listens on 127.0.8.2.
#include <QDir>
#include <QtTest>

#include <arpa/inet.h>
#include <atomic>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "cascadedsettingsdlg.h"

namespace {

const char Eligible[] = "127.0.8.1";
const char Silent[] = "127.0.8.2";
const char Refusing[] = "127.0.8.3";

int openFds()
{
    return int(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

class Responder
{
public:
    bool start()
    {
        for (int i = 0; i < 2; ++i) {
            fds[i] = socket(AF_INET, SOCK_DGRAM, 0);
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_port = htons(50105);
            inet_pton(AF_INET, i == 0 ? Eligible : Refusing, &a.sin_addr);
            if (fds[i] < 0 || bind(fds[i], reinterpret_cast<sockaddr *>(&a), sizeof a) != 0)
                return false;
        }
        thread = std::thread([this] { run(); });
        return true;
    }
    ~Responder()
    {
        stop = true;
        if (thread.joinable())
            thread.join();
        for (int fd : fds)
            if (fd >= 0)
                close(fd);
    }

private:
    void run()
    {
        pollfd p[2] = {{fds[0], POLLIN, 0}, {fds[1], POLLIN, 0}};
        while (!stop) {
            if (poll(p, 2, 50) <= 0)
                continue;
            for (int i = 0; i < 2; ++i) {
                if (!(p[i].revents & POLLIN))
                    continue;
                char req[512] = {0};
                sockaddr_in from{};
                socklen_t len = sizeof from;
                if (recvfrom(fds[i], req, sizeof req - 1, 0, reinterpret_cast<sockaddr *>(&from), &len) <= 0)
                    continue;
                const char *reply = i == 1 ? "korvane error refused"
                    : !std::strcmp(req, "korvane get system version") ? "korvane set system version v2.7.1"
                    : !std::strcmp(req, "korvane get system access") ? "korvane set system access full"
                    : "korvane set system can_slave yes";
                sendto(fds[i], reply, std::strlen(reply) + 1, 0, reinterpret_cast<sockaddr *>(&from), len);
            }
        }
    }

    int fds[2] = {-1, -1};
    std::atomic<bool> stop{false};
    std::thread thread;
};

} // namespace

class CascadedSettingsDlgTest : public QObject
{
    Q_OBJECT

private slots:
    void probesLeaveNoDescriptorOpen()
    {
        Responder responder;
        QVERIFY2(responder.start(), "cannot bind 127.0.8.1 and 127.0.8.3 at port 50105");
        CascadedSettingsDlg dlg(nullptr, nullptr, nullptr);
        QVERIFY(dlg.isAvailableAsSlave(QString::fromLatin1(Eligible))); // first use may open descriptors of its own

        const int before = openFds();
        int timedOut = 0;
        for (int i = 0; i < 1000; ++i) {
            // Every 64th probe goes unanswered (0.5 s each), every 8th is refused.
            const char *target = i % 64 == 0 ? Silent : i % 8 == 1 ? Refusing : Eligible;
            const QString name = QString::fromLatin1(target);
            const bool ok = i % 2 ? dlg.isAvailableAsSlave(name) : dlg.isValidIpOrHostname(name);
            QVERIFY2(ok == (target == Eligible), qPrintable(QStringLiteral("probe %1 of %2 gave %3").arg(i).arg(name).arg(ok)));
            timedOut += target == Silent;
        }
        const int after = openFds();
        QVERIFY2(after == before, qPrintable(QStringLiteral("open descriptors: %1 before, %2 after").arg(before).arg(after)));
        QCOMPARE(timedOut, 16);
    }
};

QTEST_MAIN(CascadedSettingsDlgTest)
#include "tst_probedescriptors.moc"
