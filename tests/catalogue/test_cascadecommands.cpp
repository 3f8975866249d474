// How the command catalogue judges answers, and the request texts as the
// controller sees them once formatted.
#include <gtest/gtest.h>

#include <cstdio>
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

TEST(Catalogue, FormattedRequests)
{
    int indexed = 0;
    for (std::size_t i = 0; i < catalogueSize; ++i) {
        const Entry &e = catalogue[i];
        const std::string text = e.text;
        char out[AnswerSize];
        EXPECT_EQ(text.find('%'), text.rfind('%')) << text;
        EXPECT_EQ(text.rfind("korvane ", 0) == 0, e.kind == Kind::Command) << text;
        if (e.arg == Arg::Index) {
            ++indexed;
            const std::string base = text.substr(0, text.size() - 6);
            for (int n : {1, 10, 100}) {
                std::snprintf(out, sizeof out, e.text, n);
                EXPECT_EQ(out, base + (n == 1 ? "d01" : n == 10 ? "d10" : "d100"));
            }
        } else if (e.arg == Arg::Ip) {
            std::snprintf(out, sizeof out, e.text, "10.1.2.3");
            EXPECT_EQ(out, text.substr(0, text.size() - 2) + "10.1.2.3");
        } else {
            EXPECT_EQ(text.find('%'), std::string::npos) << text;
        }
    }
    EXPECT_EQ(indexed, 2);
}
