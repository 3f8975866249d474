// The two ends of the controller protocol as pure functions: the simulator's
// request parser and the host's reply judgement.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "hostprotocol.h"
#include "protocol.h"

using namespace std::string_literals;

// ---- Simulator: requests ---------------------------------------------------------

struct RequestCase
{
    std::string text;
    SimProtocol::Kind kind;
    std::string name;
    std::string value;
};

class ParseRequest : public testing::TestWithParam<RequestCase>
{
};

TEST_P(ParseRequest, ClassifiesAndSplits)
{
    const RequestCase &c = GetParam();
    const SimProtocol::Request r = SimProtocol::parseRequest(c.text);
    EXPECT_EQ(int(r.kind), int(c.kind)) << "text \"" << c.text << "\", error: " << r.error;
    if (c.kind == SimProtocol::Kind::Invalid) {
        EXPECT_FALSE(r.error.empty());
        return;
    }
    EXPECT_EQ(r.name, c.name);
    EXPECT_EQ(r.value, c.value);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ParseRequest,
    testing::Values(
        RequestCase{"korvane get cascade available", SimProtocol::Kind::Read, "cascade available", ""},
        RequestCase{"korvane get cascade scanned_slave d01", SimProtocol::Kind::Read, "cascade scanned_slave d01", ""},
        RequestCase{"korvane set cascade wol_slaves yes", SimProtocol::Kind::Write, "cascade wol_slaves", "yes"},
        // The value is everything after the name, blanks included.
        RequestCase{"korvane set system note a b", SimProtocol::Kind::Write, "system note", "a b"},
        RequestCase{"korvane cascade add_slave 127.0.0.3", SimProtocol::Kind::Command, "cascade add_slave 127.0.0.3", ""},
        // The probe replies parse as writes, which the scanning controller uses.
        RequestCase{"korvane set system version v2.7.1", SimProtocol::Kind::Write, "system version", "v2.7.1"},
        // Near misses and garbage.
        RequestCase{"korvane set cascade wol_slaves", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get ", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get  cascade available", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get cascade available ", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"Korvane get cascade available", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get cascade\tavailable", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get caf\xc3\xa9", SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get a\0b"s, SimProtocol::Kind::Invalid, "", ""},
        RequestCase{"korvane get " + std::string(600, 'x'), SimProtocol::Kind::Invalid, "", ""}));

TEST(SimDatagram, TextEndsAtTheFirstZeroByte)
{
    std::string text, error;
    const std::string d = "korvane get system version\0trailing"s;
    ASSERT_TRUE(SimProtocol::datagramText(d.data(), d.size(), &text, &error));
    EXPECT_EQ(text, "korvane get system version");

    EXPECT_FALSE(SimProtocol::datagramText("no terminator", 13, &text, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(SimProtocol::datagramText("", 0, &text, &error));
    ASSERT_TRUE(SimProtocol::datagramText("\0", 1, &text, &error));
    EXPECT_EQ(text, "");
}

TEST(SimIndex, AcceptsOnlyThePrintfForm)
{
    int i = 0;
    EXPECT_TRUE(SimProtocol::parseIndex("d01", &i));
    EXPECT_EQ(i, 1);
    EXPECT_TRUE(SimProtocol::parseIndex("d10", &i));
    EXPECT_EQ(i, 10);
    EXPECT_TRUE(SimProtocol::parseIndex("d100", &i));
    EXPECT_EQ(i, 100);
    for (const char *bad : {"d1", "d00", "d010", "01", "D01", "d-1", "d0x", "d", "d123456"})
        EXPECT_FALSE(SimProtocol::parseIndex(bad, &i)) << bad;
}

// ---- Host: replies -----------------------------------------------------------------

struct ReadReplyCase
{
    std::string line;
    HostProtocol::Verdict verdict;
    std::string value;
};

class JudgeReadReply : public testing::TestWithParam<ReadReplyCase>
{
};

TEST_P(JudgeReadReply, AgainstCascadeWolSlaves)
{
    const ReadReplyCase &c = GetParam();
    std::string value = "untouched";
    const HostProtocol::Verdict v = HostProtocol::judgeReadReply(c.line, "cascade wol_slaves", &value);
    EXPECT_EQ(int(v), int(c.verdict)) << "line \"" << c.line << "\"";
    if (c.verdict == HostProtocol::Verdict::Ok)
        EXPECT_EQ(value, c.value);
    else
        EXPECT_EQ(value, "untouched");
}

INSTANTIATE_TEST_SUITE_P(
    Lines, JudgeReadReply,
    testing::Values(
        ReadReplyCase{"korvane set cascade wol_slaves yes", HostProtocol::Verdict::Ok, "yes"},
        // The value is handed on as it is: a trailing blank stays, so that the
        // module's exact comparison can refuse it.
        ReadReplyCase{"korvane set cascade wol_slaves yes ", HostProtocol::Verdict::Ok, "yes "},
        ReadReplyCase{"korvane set cascade wol_slaves ", HostProtocol::Verdict::Ok, ""},
        ReadReplyCase{"korvane set cascade wol_slaves", HostProtocol::Verdict::Ok, ""},
        ReadReplyCase{"korvane set cascade wol_slavesx yes", HostProtocol::Verdict::Malformed, ""},
        ReadReplyCase{"korvane set cascade scan_slaves_lan yes", HostProtocol::Verdict::Malformed, ""},
        ReadReplyCase{"korvane ok", HostProtocol::Verdict::Malformed, ""},
        ReadReplyCase{"", HostProtocol::Verdict::Malformed, ""},
        ReadReplyCase{"korvane set cascade wol_slaves y\0es"s, HostProtocol::Verdict::Malformed, ""},
        ReadReplyCase{"korvane error busy", HostProtocol::Verdict::Error, ""},
        ReadReplyCase{"korvane error", HostProtocol::Verdict::Error, ""},
        ReadReplyCase{"korvane errors galore", HostProtocol::Verdict::Malformed, ""}));

TEST(HostReplies, WritesNeedExactlyKorvaneOk)
{
    using HostProtocol::Verdict;
    EXPECT_EQ(int(HostProtocol::judgeWriteReply("korvane ok")), int(Verdict::Ok));
    EXPECT_EQ(int(HostProtocol::judgeWriteReply("korvane ok ")), int(Verdict::Malformed));
    EXPECT_EQ(int(HostProtocol::judgeWriteReply("korvane OK")), int(Verdict::Malformed));
    EXPECT_EQ(int(HostProtocol::judgeWriteReply("korvane error locked")), int(Verdict::Error));
    // A command's reply is handed on whatever it says, unless it is a refusal.
    EXPECT_EQ(int(HostProtocol::judgeCommandReply("korvane ok ")), int(Verdict::Ok));
    EXPECT_EQ(int(HostProtocol::judgeCommandReply("korvane error no")), int(Verdict::Error));
    std::string reason;
    EXPECT_TRUE(HostProtocol::isErrorReply("korvane error not reachable: 1.2.3.4", &reason));
    EXPECT_EQ(reason, "not reachable: 1.2.3.4");
}

TEST(HostReplies, IntegersAreStrictDecimal)
{
    int v = 42;
    EXPECT_TRUE(HostProtocol::parseInt("-1", &v));
    EXPECT_EQ(v, -1);
    EXPECT_TRUE(HostProtocol::parseInt("2147483647", &v));
    EXPECT_EQ(v, 2147483647);
    for (const char *bad : {"", "-", "+", " 1", "1 ", "7x", "0x10", "1.0", "2147483648", "99999999999999"}) {
        v = 42;
        EXPECT_FALSE(HostProtocol::parseInt(bad, &v)) << bad;
        EXPECT_EQ(v, 42) << bad;
    }
    double d = 0;
    EXPECT_TRUE(HostProtocol::parseDouble("2.5", &d));
    EXPECT_DOUBLE_EQ(d, 2.5);
    EXPECT_FALSE(HostProtocol::parseDouble(" 2.5", &d));
    EXPECT_FALSE(HostProtocol::parseDouble("2.5x", &d));
    EXPECT_FALSE(HostProtocol::parseDouble("1e999", &d));
}

TEST(HostFraming, LinesAndRequests)
{
    std::string buffer = "korvane ok\r\nkorvane set a b c\npartial", line;
    ASSERT_TRUE(HostProtocol::takeLine(&buffer, &line));
    EXPECT_EQ(line, "korvane ok");
    ASSERT_TRUE(HostProtocol::takeLine(&buffer, &line));
    EXPECT_EQ(line, "korvane set a b c");
    EXPECT_FALSE(HostProtocol::takeLine(&buffer, &line));
    EXPECT_EQ(buffer, "partial");

    EXPECT_TRUE(HostProtocol::isSendable("korvane get system model"));
    EXPECT_FALSE(HostProtocol::isSendable(""));
    EXPECT_FALSE(HostProtocol::isSendable("korvane get a\nkorvane cascade sub_slave 1.2.3.4"));
    EXPECT_FALSE(HostProtocol::isSendable("korvane get a\r"));
    EXPECT_FALSE(HostProtocol::isSendable(std::string(HostProtocol::MaxRequestLength + 1, 'x')));
    EXPECT_TRUE(HostProtocol::isSendable(std::string(HostProtocol::MaxRequestLength, 'x')));
}

TEST(HostFraming, AnswersAreCutAt199Characters)
{
    char answer[HostProtocol::AnswerSize + 8];
    std::memset(answer, '#', sizeof answer);
    HostProtocol::copyAnswer(answer, std::string(250, 'v'));
    EXPECT_EQ(std::strlen(answer), 199u);
    EXPECT_EQ(answer[HostProtocol::AnswerSize], '#') << "wrote past the 200-byte buffer";

    HostProtocol::copyAnswer(answer, std::string(199, 'w'));
    EXPECT_EQ(std::strlen(answer), 199u);
    HostProtocol::copyAnswer(answer, "");
    EXPECT_EQ(answer[0], '\0');
}
