// SPDX-License-Identifier: MIT
// The draws of LAN conditions for one controller: reply latency with
// jitter, lost UDP requests and stalled TCP replies. Each controller has a
// generator of its own, seeded from the scenario's seed and its address, so
// that its draws depend only on its own traffic and a run repeats exactly.
// Nothing is drawn for a condition that is off.
#pragma once

#include <QString>
#include <random>

#include "scenario.h"

class ConditionDice
{
public:
    ConditionDice(quint32 seed, const QString &address) : m_generator(seed ^ quint32(qHash(address))) {}

    int latencyMs(const Conditions &c)
    {
        return c.latencyMs + (c.jitterMs > 0 ? std::uniform_int_distribution<int>(0, c.jitterMs)(m_generator) : 0);
    }
    bool losesDatagram(const Conditions &c) { return chance(c.udpLoss); }
    int stallMs(const Conditions &c) { return c.tcpStallMs > 0 && chance(c.tcpStallChance) ? c.tcpStallMs : 0; }

private:
    bool chance(double p) { return p > 0 && std::uniform_real_distribution<double>(0, 1)(m_generator) < p; }

    std::mt19937 m_generator;
};
