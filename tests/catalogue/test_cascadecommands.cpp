// The command catalogue: how answers are judged, and the request texts as the
// controller sees them once the host has formatted them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "cascadecommands.h"

using namespace CascadeCommands;

namespace {

struct Judged
{
    const char *answer;
    const char *word;
    bool exact;
};

std::ostream &operator<<(std::ostream &os, const Judged &j)
{
    return os << "answer \"" << j.answer << "\" against \"" << j.word << "\"";
}

class IsExactly : public ::testing::TestWithParam<Judged>
{
};

TEST_P(IsExactly, ComparesTheWholeWordWithItsNul)
{
    const Judged &j = GetParam();
    char buffer[AnswerSize];
    std::memset(buffer, 'x', sizeof buffer); // what lies after the NUL must not matter
    std::strcpy(buffer, j.answer);
    EXPECT_EQ(isExactly(buffer, j.word), j.exact);
}

INSTANTIATE_TEST_SUITE_P(
    NearMisses, IsExactly,
    ::testing::Values(Judged{"yes", Yes, true}, Judged{"yes ", Yes, false}, Judged{"Yes", Yes, false},
                      Judged{"YES", Yes, false}, Judged{"yes\n", Yes, false}, Judged{"yes\r\n", Yes, false},
                      Judged{"ye", Yes, false}, Judged{"", Yes, false}, Judged{"yesno", Yes, false},
                      Judged{"no", No, true}, Judged{"no ", No, false}, Judged{"No", No, false},
                      Judged{"n", No, false}, Judged{"", No, false}, Judged{"not", No, false},
                      Judged{"korvane ok", KorvaneOk, true}, Judged{"korvane ok ", KorvaneOk, false},
                      Judged{"korvane OK", KorvaneOk, false}, Judged{"korvane ok\n", KorvaneOk, false},
                      Judged{"korvane", KorvaneOk, false}, Judged{"korvane okay", KorvaneOk, false},
                      Judged{"", KorvaneOk, false}));

struct CommandCase
{
    int result;
    const char *reply;
    bool succeeded;
};

std::ostream &operator<<(std::ostream &os, const CommandCase &c)
{
    return os << "result " << c.result << ", reply \"" << c.reply << "\"";
}

class CommandSucceeded : public ::testing::TestWithParam<CommandCase>
{
};

TEST_P(CommandSucceeded, NeedsResultZeroAndExactReply)
{
    const CommandCase &c = GetParam();
    EXPECT_EQ(commandSucceeded(c.result, c.reply), c.succeeded);
}

INSTANTIATE_TEST_SUITE_P(Replies, CommandSucceeded,
                         ::testing::Values(CommandCase{0, "korvane ok", true}, CommandCase{1, "korvane ok", false},
                                           CommandCase{-1, "korvane ok", false},
                                           CommandCase{0, "korvane error 12", false}, CommandCase{0, "", false}));

// The text a request becomes when formatted with the given argument.
std::string formatted(const Entry &e, int index, const char *ip)
{
    char out[AnswerSize];
    switch (e.arg) {
    case Arg::Index:
        std::snprintf(out, sizeof out, e.text, index);
        break;
    case Arg::Ip:
        std::snprintf(out, sizeof out, e.text, ip);
        break;
    case Arg::None:
        std::snprintf(out, sizeof out, "%s", e.text);
        break;
    }
    return out;
}

TEST(Catalogue, IndexArgumentsAreZeroPaddedToTwoDigits)
{
    int indexed = 0;
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const Entry &e = catalogue[i];
        if (e.arg != Arg::Index)
            continue;
        ++indexed;
        const std::string base = std::string(e.text).substr(0, std::strlen(e.text) - std::strlen("d%2.2d"));
        EXPECT_EQ(formatted(e, 1, nullptr), base + "d01") << e.text;
        EXPECT_EQ(formatted(e, 9, nullptr), base + "d09") << e.text;
        EXPECT_EQ(formatted(e, 10, nullptr), base + "d10") << e.text;
        EXPECT_EQ(formatted(e, 100, nullptr), base + "d100") << e.text;
    }
    EXPECT_EQ(indexed, 2) << "connected_slave and scanned_slave take an index";
}

TEST(Catalogue, AddressArgumentsEndTheText)
{
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const Entry &e = catalogue[i];
        const std::string text = e.text;
        EXPECT_EQ(std::count(text.begin(), text.end(), '%'), e.arg == Arg::None ? 0 : 1) << text;
        if (e.arg == Arg::Ip) {
            EXPECT_EQ(formatted(e, 0, "10.1.2.3"), text.substr(0, text.size() - 2) + "10.1.2.3") << text;
        }
    }
}

TEST(Catalogue, NoEntryTwice)
{
    std::set<std::string> seen;
    for (std::size_t i = 0; i < catalogueSize; ++i)
        EXPECT_TRUE(seen.insert(catalogue[i].text).second) << "duplicated: " << catalogue[i].text;
}

TEST(Catalogue, EveryRequestIsWellFormed)
{
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const Entry &e = catalogue[i];
        const std::string text = e.text;
        ASSERT_FALSE(text.empty());
        EXPECT_EQ(text.find("  "), std::string::npos) << "double blank in \"" << text << "\"";
        EXPECT_NE(text.front(), ' ') << text;
        EXPECT_NE(text.back(), ' ') << text;
        if (e.kind == Kind::Command) {
            EXPECT_EQ(text.rfind("korvane ", 0), 0u) << "command without \"korvane \": " << text;
        } else {
            EXPECT_NE(text.rfind("korvane ", 0), 0u) << "parameter with \"korvane \": " << text;
        }
        if (e.kind == Kind::Write) {
            const std::string value = text.substr(text.rfind(' ') + 1);
            EXPECT_TRUE(value == "yes" || value == "no") << text;
        }
    }
}

TEST(Catalogue, HoldsEveryRequestTheModuleSends)
{
    // The controller's own texts, written out: a typo in a constant shows here.
    const char *expected[] = {
        "config is_changeable", "cascade available", "cascade scan_slaves_lan", "cascade wol_slaves",
        "cascade connected_slave d%2.2d", "system hostname_slave %s", "cascade connected_slave_available %s",
        "cascade scanned_slave d%2.2d", "cascade scanned_slave_controller %s", "cascade scanned_slave_available %s",
        "cascade number_of_connected_slaves", "cascade number_of_scanned_slaves", "cascade scan_slaves_lan yes",
        "cascade scan_slaves_lan no", "cascade wol_slaves yes", "cascade wol_slaves no",
        "korvane cascade scan_slaves", "korvane cascade add_slave %s", "korvane cascade sub_slave %s",
        "korvane cascade add_scanned_slave %s"};
    ASSERT_EQ(catalogueSize, sizeof expected / sizeof expected[0]);
    for (const char *text : expected) {
        bool found = false;
        for (std::size_t i = 0; i < catalogueSize; ++i)
            found = found || std::strcmp(catalogue[i].text, text) == 0;
        EXPECT_TRUE(found) << "missing from the catalogue: " << text;
    }
}

} // namespace
