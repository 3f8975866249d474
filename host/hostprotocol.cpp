// SPDX-License-Identifier: MIT
#include "hostprotocol.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace HostProtocol {

namespace {

const std::string SetPrefix = ControllerProtocol::ValuePrefix;
const std::string ErrorWord = ControllerProtocol::ErrorReply;

bool startsWith(const std::string &s, const std::string &prefix)
{
    return s.compare(0, prefix.size(), prefix) == 0;
}

} // namespace

std::string readRequest(const std::string &parameter)
{
    return ControllerProtocol::ReadPrefix + parameter;
}

std::string writeRequest(const std::string &assignment)
{
    return SetPrefix + assignment;
}

bool isSendable(const std::string &line)
{
    return !line.empty() && line.size() <= MaxRequestLength
           && line.find_first_of(std::string("\r\n\0", 3)) == std::string::npos;
}

bool isErrorReply(const std::string &line, std::string *reason)
{
    if (line == ErrorWord) {
        if (reason)
            reason->clear();
        return true;
    }
    if (!startsWith(line, ErrorWord + ' '))
        return false;
    if (reason)
        *reason = line.substr(ErrorWord.size() + 1);
    return true;
}

Verdict judgeReadReply(const std::string &line, const std::string &parameter, std::string *value)
{
    if (isErrorReply(line))
        return Verdict::Error;
    const std::string head = SetPrefix + parameter;
    if (line.find('\0') != std::string::npos || !startsWith(line, head))
        return Verdict::Malformed;
    if (line.size() == head.size()) {
        value->clear();
        return Verdict::Ok;
    }
    // The name must end here: "korvane set cascade wol_slavesX yes" is another
    // parameter, not this one.
    if (line[head.size()] != ' ')
        return Verdict::Malformed;
    *value = line.substr(head.size() + 1);
    return Verdict::Ok;
}

Verdict judgeWriteReply(const std::string &line)
{
    if (line == ControllerProtocol::OkReply)
        return Verdict::Ok;
    return isErrorReply(line) ? Verdict::Error : Verdict::Malformed;
}

Verdict judgeCommandReply(const std::string &line)
{
    if (isErrorReply(line))
        return Verdict::Error;
    return line.find('\0') == std::string::npos ? Verdict::Ok : Verdict::Malformed;
}

bool parseInt(const std::string &text, int *value)
{
    std::size_t i = (!text.empty() && (text[0] == '-' || text[0] == '+')) ? 1 : 0;
    if (i >= text.size() || text.size() > 12)
        return false;
    for (std::size_t j = i; j < text.size(); ++j)
        if (text[j] < '0' || text[j] > '9')
            return false;
    const long long v = std::strtoll(text.c_str(), nullptr, 10);
    if (v < INT_MIN || v > INT_MAX)
        return false;
    *value = int(v);
    return true;
}

bool takeLine(std::string *buffer, std::string *line)
{
    const std::size_t end = buffer->find('\n');
    if (end == std::string::npos)
        return false;
    std::size_t len = end;
    if (len > 0 && (*buffer)[len - 1] == '\r')
        --len;
    line->assign(*buffer, 0, len);
    buffer->erase(0, end + 1);
    return true;
}

void copyAnswer(char *answer, const std::string &text)
{
    if (!answer)
        return;
    using ControllerProtocol::MaxAnswerLength;
    const std::size_t n = text.size() < std::size_t(MaxAnswerLength) ? text.size() : MaxAnswerLength;
    std::memcpy(answer, text.data(), n);
    answer[n] = '\0';
}

} // namespace HostProtocol
