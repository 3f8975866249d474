// SPDX-License-Identifier: MIT
#include "faults.h"

#include "protocol.h"

FaultInjector::FaultInjector(const QList<Fault> &faults) : m_faults(faults), m_uses(faults.size(), 0) {}

bool FaultInjector::apply(const std::string &requestText, Answer *answer)
{
    const QString request = QString::fromStdString(requestText);
    for (int i = 0; i < m_faults.size(); ++i) {
        const Fault &f = m_faults.at(i);
        if (!request.startsWith(f.match) || (f.times > 0 && m_uses.at(i) >= f.times))
            continue;
        ++m_uses[i];
        answer->delayMs = f.delayMs;
        switch (f.action) {
        case Fault::Action::Error:
            answer->text = SimProtocol::errorReply(f.text.isEmpty() ? std::string("injected fault")
                                                                    : f.text.toStdString());
            return true;
        case Fault::Action::Reply:
            answer->text = f.text.toStdString();
            return true;
        case Fault::Action::Silent:
            answer->send = false;
            return true;
        case Fault::Action::Disconnect:
            answer->disconnect = true;
            return true;
        case Fault::Action::Normal:
            return false;
        }
    }
    return false;
}
