// SPDX-License-Identifier: MIT
// Fault injection: the deliberate misbehaviour a scenario gives a controller
// for the requests that begin with a fault's `match` text.
#pragma once

#include <QList>
#include <QVector>
#include <string>

#include "scenario.h"

// What a controller does with one request.
struct Answer
{
    std::string text;        // reply line without terminator
    bool send = true;        // false: stay silent
    bool disconnect = false; // TCP: close the connection instead
    int delayMs = 0;         // answer this much later
};

class FaultInjector
{
public:
    explicit FaultInjector(const QList<Fault> &faults);

    // Fires the first fault that matches requestText and has uses left and
    // applies it to *answer. True when the fault has decided the answer;
    // false when the usual answer is to be given (perhaps with a delay).
    bool apply(const std::string &requestText, Answer *answer);

private:
    QList<Fault> m_faults;
    QVector<int> m_uses; // per fault: times fired
};
