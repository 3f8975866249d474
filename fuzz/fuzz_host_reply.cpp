// SPDX-License-Identifier: MIT
// The host's judgement of what its controller sends back for one request:
// the received bytes are cut into a reply line and judged as the reply to a
// read, a write or a command, and the value goes on as the IOManager passes
// it (integer, number, or text into a module's answer buffer).
//
// Input: byte 0 picks the request kind and the parameter of a read, the rest
// is the byte stream the connection delivers.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "hostprotocol.h"

using namespace HostProtocol;

namespace {

const char *const Parameters[] = {
    "cascade wol_slaves",
    "cascade number_of_scanned_slaves",
    "cascade scanned_slave_controller 127.0.0.5",
    "system version",
};

// The module's answer buffer, on the heap and of the exact size, so that a
// write past it is caught.
void handOn(const std::string &text)
{
    std::unique_ptr<char[]> answer(new char[AnswerSize]);
    copyAnswer(answer.get(), text);
    if (std::strlen(answer.get()) > size_t(AnswerSize - 1))
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const unsigned pick = data[0];
    std::string buffer(reinterpret_cast<const char *>(data + 1), size - 1);
    std::string line;
    // The host waits for a line end and gives up on an over-long line.
    if (!takeLine(&buffer, &line) || line.size() > MaxReplyLength)
        return 0;

    std::string reason;
    if (isErrorReply(line, &reason))
        handOn(line);

    switch (pick % 3) {
    case 0: {
        const std::string parameter = Parameters[(pick / 3) % (sizeof Parameters / sizeof Parameters[0])];
        std::string value;
        if (judgeReadReply(line, parameter, &value) == Verdict::Ok) {
            // An accepted reply names the parameter asked for.
            if (line.compare(0, 12 + parameter.size(), "korvane set " + parameter) != 0)
                __builtin_trap();
            int i = 0;
            parseInt(value, &i);
            handOn(value);
        }
        break;
    }
    case 1:
        judgeWriteReply(line);
        break;
    default:
        if (judgeCommandReply(line) != Verdict::Malformed)
            handOn(line);
        break;
    }
    return 0;
}
