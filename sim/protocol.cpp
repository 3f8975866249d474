// SPDX-License-Identifier: MIT
#include "protocol.h"

namespace SimProtocol {

namespace {

using namespace ControllerProtocol;

const std::string Prefix = RequestPrefix;
// The words after the prefix: "get " of a read, "set " of a write.
const std::string GetPrefix = std::string(ReadPrefix).substr(Prefix.size());
const std::string SetPrefix = std::string(ValuePrefix).substr(Prefix.size());

bool isPrintable(const std::string &s)
{
    for (unsigned char c : s)
        if (c < 0x20 || c > 0x7e)
            return false;
    return true;
}

bool startsWith(const std::string &s, const std::string &prefix)
{
    return s.compare(0, prefix.size(), prefix) == 0;
}

// A name is words separated by single blanks, without blanks at either end.
bool isWellFormedName(const std::string &s)
{
    if (s.empty() || s.front() == ' ' || s.back() == ' ')
        return false;
    return s.find("  ") == std::string::npos;
}

Request invalid(const std::string &why)
{
    Request r;
    r.error = why;
    return r;
}

} // namespace

Request parseRequest(const std::string &text)
{
    if (text.size() > MaxRequestLength)
        return invalid("request too long");
    if (!isPrintable(text))
        return invalid("request is not printable text");
    if (!startsWith(text, Prefix))
        return invalid("request does not begin with \"korvane \"");

    const std::string rest = text.substr(Prefix.size());
    Request r;
    if (startsWith(rest, GetPrefix)) {
        r.kind = Kind::Read;
        r.name = rest.substr(GetPrefix.size());
    } else if (startsWith(rest, SetPrefix)) {
        // "<group> <name> <value>": the value is everything after the second blank.
        const std::string body = rest.substr(SetPrefix.size());
        const std::size_t first = body.find(' ');
        const std::size_t second = first == std::string::npos ? first : body.find(' ', first + 1);
        if (second == std::string::npos)
            return invalid("write without a value");
        r.kind = Kind::Write;
        r.name = body.substr(0, second);
        r.value = body.substr(second + 1);
    } else {
        r.kind = Kind::Command;
        r.name = rest;
    }
    if (!isWellFormedName(r.name))
        return invalid("malformed parameter or command name");
    return r;
}

bool isReadRequest(const std::string &text)
{
    return startsWith(text, ReadPrefix);
}

bool datagramText(const char *data, std::size_t size, std::string *text, std::string *error)
{
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == '\0') {
            text->assign(data, i);
            return true;
        }
    }
    *error = "datagram without a terminating zero byte";
    return false;
}

bool parseIndex(const std::string &arg, int *index)
{
    if (arg.size() < 3 || arg.size() > 5 || arg[0] != 'd')
        return false;
    int n = 0;
    for (std::size_t i = 1; i < arg.size(); ++i) {
        if (arg[i] < '0' || arg[i] > '9')
            return false;
        n = n * 10 + (arg[i] - '0');
    }
    // "d%2.2d" pads to two digits only: a third digit never starts with 0.
    if (n < 1 || (arg.size() > 3 && arg[1] == '0'))
        return false;
    *index = n;
    return true;
}

std::string valueReply(const std::string &name, const std::string &value)
{
    return Prefix + SetPrefix + name + ' ' + value;
}

std::string okReply()
{
    return OkReply;
}

std::string errorReply(const std::string &reason)
{
    return std::string(ErrorReply) + ' ' + reason;
}

} // namespace SimProtocol
