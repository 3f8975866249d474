// SPDX-License-Identifier: MIT
// The framing facts both ends share: the longest request is the same number
// for the host (what it sends) and the simulator (what it accepts), and the
// simulator takes exactly the indexes the host formats.
#include <gtest/gtest.h>

#include <string>

#include "ControllerProtocol.h"
#include "hostprotocol.h"
#include "protocol.h"

using ControllerProtocol::MaxRequestLength;

TEST(LongestRequest, BothEndsDrawTheLineAtTheSamePlace)
{
    const std::string head = "korvane get system ", longest = head + std::string(MaxRequestLength - head.size(), 'x');
    EXPECT_TRUE(HostProtocol::isSendable(longest));
    EXPECT_FALSE(HostProtocol::isSendable(longest + 'x'));
    EXPECT_EQ(SimProtocol::parseRequest(longest).kind, SimProtocol::Kind::Read);
    const SimProtocol::Request tooLong = SimProtocol::parseRequest(longest + 'x');
    EXPECT_EQ(tooLong.kind, SimProtocol::Kind::Invalid);
    EXPECT_EQ(tooLong.error, "request too long");
}

// An index as the host formats it ("d%2.2d"): d01 to d99, then d100 to d9999.
TEST(Indexes, OnlyWhatTheHostFormats)
{
    const std::pair<const char *, int> cases[] = {
        {"d01", 1},  {"d10", 10},   {"d99", 99},     {"d100", 100}, {"d9999", 9999}, {"d00", 0},  {"d1", 0},
        {"d001", 0}, {"d0100", 0},  {"d10000", 0},   {"x01", 0},    {"d-1", 0},       {"d0a", 0},  {"", 0},
    };
    for (const auto &c : cases) {
        int index = 0;
        EXPECT_EQ(SimProtocol::parseIndex(c.first, &index), c.second != 0) << c.first;
        EXPECT_EQ(index, c.second) << c.first;
    }
}
