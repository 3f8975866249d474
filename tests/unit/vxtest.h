// SPDX-License-Identifier: MIT
// Helpers of the socket library's tests: loopback, time-outs, descriptors.
#pragma once

#include <dirent.h>
#include <time.h>

#include <string>

#include <gtest/gtest.h>

#include "vx_udptcp.h"

namespace {

const unsigned int kLoopback = 0x7F000001u;
const unsigned int kLongUs = 1000000u; // waits expected to end early
const unsigned int kShortUs = 250000u; // waits that must run out
const vx_ip_socket_type kSentinel = reinterpret_cast<vx_ip_socket_type>(0x1234);

inline double nowMs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

inline int openFds()
{
    int n = 0;
    DIR *d = opendir("/proc/self/fd");
    while (dirent *e = readdir(d))
        n += e->d_name[0] != '.';
    closedir(d);
    return n;
}

inline unsigned short portOf(vx_ip_socket_type s)
{
    unsigned short port = 0;
    EXPECT_EQ(vx_ip_getsockaddr(s, nullptr, &port), VX_OK);
    return port;
}

inline vx_ip_socket_type udp(unsigned short *port = nullptr)
{
    vx_ip_socket_type s = nullptr;
    EXPECT_EQ(vx_udp_init(&s, 0, VX_OPT_ANYPORT), VX_OK);
    if (s && port)
        *port = portOf(s);
    return s;
}

inline int sendTo(vx_ip_socket_type s, const std::string &text, unsigned short port)
{
    return vx_udp_send(s, text.data(), int(text.size()), kLoopback, port, kLongUs);
}

} // namespace
