// SPDX-License-Identifier: MIT
// How the command catalogue judges answers: the host's answers and the
// replies to the probe of a controller named by hand.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "cascadecommands.h"

using namespace CascadeCommands;

TEST(Answers, WholeWordWithItsNul)
{
    struct { const char *answer, *word; bool exact; } cases[] = {
        {"yes", Yes, true},  {"yes ", Yes, false}, {"Yes", Yes, false},       {"yes\n", Yes, false},
        {"ye", Yes, false},  {"yesno", Yes, false}, {"", No, false},          {"no", No, true},
        {"korvane ok", KorvaneOk, true}, {"korvane ok ", KorvaneOk, false}, {"korvane OK", KorvaneOk, false},
    };
    for (const auto &c : cases) {
        char buffer[AnswerSize];
        std::memset(buffer, 'x', sizeof buffer); // what follows the NUL must not matter
        std::strcpy(buffer, c.answer);
        EXPECT_EQ(isExactly(buffer, c.word), c.exact) << '"' << c.answer << "\" vs " << c.word;
    }
    EXPECT_TRUE(commandSucceeded(0, "korvane ok"));
    EXPECT_FALSE(commandSucceeded(1, "korvane ok"));
    EXPECT_FALSE(commandSucceeded(0, "korvane error 12"));
}

// A probe reply as received: its bytes (a zero-filled buffer of
// ProbeBufferSize) and the count, which holds the terminating zero byte only
// if the controller sent one.
TEST(Answers, ProbeRepliesCountTheirZeroByte)
{
    struct { const char *reply; int extra; bool access, version; } cases[] = {
        {"korvane set system access full", 1, true, false},
        {"korvane set system access full", 0, false, false},  // no zero byte sent
        {"korvane set system access fullx", 1, false, false},
        {"korvane set system version v2.6.0", 1, false, true},
        {"korvane set system version v2.5.99", 1, false, false},
        {"korvane set system version v3.0.0", 0, false, true}, // the version need not end in zero
        {"korvane set system version v2.6", 1, false, false},
    };
    for (const auto &c : cases) {
        char buffer[ProbeBufferSize] = {0};
        std::strcpy(buffer, c.reply);
        const int received = int(std::strlen(c.reply)) + c.extra;
        EXPECT_EQ(probeReplyIsExactly(buffer, received, ProbeAccessFull), c.access) << c.reply << " +" << c.extra;
        EXPECT_EQ(probeVersionQualifies(buffer, received), c.version) << c.reply << " +" << c.extra;
    }
    char full[ProbeBufferSize] = "korvane set system access full";
    EXPECT_FALSE(probeReplyIsExactly(full, ProbeBufferSize + 1, ProbeAccessFull));
    EXPECT_FALSE(probeReplyIsExactly(full, -1, ProbeAccessFull));
}
