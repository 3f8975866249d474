// The probe of a controller named by hand, without a dialog, against UDP
// responders on 127.0.9.1 - 127.0.9.8 at the controller port.
#include <gtest/gtest.h>

#include "handprobe.h"
#include "udpresponder.h"

namespace {


const QByteArray GetVersion = "korvane get system version", GetAccess = "korvane get system access",
                 GetCanSlave = "korvane get system can_slave";

// The replies of a controller that can become a slave.
QHash<QByteArray, QByteArray> eligible()
{
    return {{GetVersion, datagram("korvane set system version v2.6.0")},
            {GetAccess, datagram("korvane set system access full")},
            {GetCanSlave, datagram("korvane set system can_slave yes")}};
}

struct Case
{
    const char *name;
    const char *addr;
    QByteArray request; // the request whose reply differs from eligible()
    QByteArray reply;   // null: no reply at all
    bool controller;    // answersAsController
    bool slave;         // qualifiesAsSlave
    const char *seen;   // requests received over both probes: V(ersion), A(ccess), C(an_slave)
};

void PrintTo(const Case &c, std::ostream *os) { *os << c.name; }

class HandProbeTest : public testing::TestWithParam<Case>
{
};

// Both probes in turn: answersAsController asks version then access, and
// qualifiesAsSlave asks access, version and can_slave, stopping at the first
// reply that does not do.
TEST_P(HandProbeTest, AsksInOrderAndStopsAtTheFirstRefusal)
{
    const Case &c = GetParam();
    UdpResponder r;
    r.replies = eligible();
    r.replies[c.request] = c.reply;
    ASSERT_TRUE(r.start(c.addr)) << "cannot bind " << c.addr;

    EXPECT_EQ(HandProbe::answersAsController(QString::fromLatin1(c.addr)), c.controller);
    EXPECT_EQ(HandProbe::qualifiesAsSlave(QString::fromLatin1(c.addr)), c.slave);

    QList<QByteArray> expected;
    for (const char *k = c.seen; *k; ++k)
        expected << datagram(*k == 'V' ? GetVersion : *k == 'A' ? GetAccess : GetCanSlave);
    EXPECT_EQ(r.seen(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, HandProbeTest,
    testing::Values(Case{"eligible", "127.0.9.1", GetCanSlave, datagram("korvane set system can_slave yes"), true, true, "VAAVC"},
                    Case{"version_too_old", "127.0.9.2", GetVersion, datagram("korvane set system version v2.5.9"), true, false, "VAAV"},
                    Case{"version_unanswered", "127.0.9.3", GetVersion, QByteArray(), false, false, "VAV"},
                    Case{"reply_without_zero_byte", "127.0.9.4", GetVersion, "korvane set system version", false,
                         false, "VAV"},
                    Case{"access_not_full", "127.0.9.5", GetAccess, datagram("korvane set system access read"), true, false, "VAA"},
                    Case{"access_without_zero_byte", "127.0.9.7", GetAccess, "korvane set system access full", true,
                         false, "VAA"},
                    Case{"can_slave_without_zero_byte", "127.0.9.8", GetCanSlave, "korvane set system can_slave yes",
                         true, false, "VAAVC"},
                    Case{"can_slave_no", "127.0.9.6", GetCanSlave, datagram("korvane set system can_slave no"), true, false, "VAAVC"}),
    [](const testing::TestParamInfo<Case> &info) { return std::string(info.param.name); });

} // namespace
