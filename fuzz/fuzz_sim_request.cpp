// SPDX-License-Identifier: MIT
// The simulator's request parser, fed what the network can deliver: a UDP
// datagram (text up to its first zero byte) and a TCP request line (any
// bytes, line end already removed), and the numbered argument of a request.
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol.h"

using namespace SimProtocol;
using ControllerProtocol::MaxRequestLength;

namespace {

void parse(const std::string &text)
{
    const Request r = parseRequest(text);
    if (r.kind == Kind::Invalid) {
        errorReply(r.error);
        return;
    }
    // Whatever is accepted is a bounded, printable request with a name.
    if (text.size() > MaxRequestLength || r.name.empty() || r.name.size() > text.size())
        __builtin_trap();
    const std::size_t blank = r.name.rfind(' ');
    int index = 0;
    if (parseIndex(r.name.substr(blank == std::string::npos ? 0 : blank + 1), &index) && index < 1)
        __builtin_trap();
    valueReply(r.name, r.value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const char *bytes = reinterpret_cast<const char *>(data);
    std::string text, error;
    if (datagramText(bytes, size, &text, &error))
        parse(text);
    parse(std::string(bytes, size));
    return 0;
}
