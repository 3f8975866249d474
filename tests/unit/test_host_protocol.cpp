// The host's copy of a reply into a module's answer buffer: whatever the
// reply's length, the buffer holds at most MaxAnswerLength characters and
// is terminated inside its AnswerSize bytes. The buffer lives on the heap
// with exactly AnswerSize bytes, pre-filled with non-zero bytes, so that a
// missing terminator shows here and a write past the end shows under the
// sanitizer build.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "ControllerProtocol.h"
#include "hostprotocol.h"

using ControllerProtocol::AnswerSize;
using ControllerProtocol::MaxAnswerLength;

TEST(CopyAnswer, StaysTerminatedInsideTheBuffer)
{
    for (const std::size_t length : {std::size_t(0), std::size_t(3), std::size_t(MaxAnswerLength),
                                     std::size_t(AnswerSize), std::size_t(AnswerSize + 50)}) {
        SCOPED_TRACE(length);
        const std::string reply(length, 'r');
        std::unique_ptr<char[]> answer(new char[AnswerSize]);
        std::memset(answer.get(), 'x', AnswerSize);

        HostProtocol::copyAnswer(answer.get(), reply);

        const std::size_t kept = std::min(length, std::size_t(MaxAnswerLength));
        const void *end = std::memchr(answer.get(), '\0', AnswerSize);
        ASSERT_NE(end, nullptr) << "no terminator inside the buffer";
        EXPECT_EQ(static_cast<const char *>(end) - answer.get(), std::ptrdiff_t(kept));
        EXPECT_EQ(std::string(answer.get(), kept), reply.substr(0, kept));
    }
    HostProtocol::copyAnswer(nullptr, "ignored"); // no buffer, nothing written
}
