// SPDX-License-Identifier: MIT
// How the dialogs report an error: a message to the host's log, always to
// the same receiver, from the same sender, with the same type.
#pragma once

#include <QString>

#include "IOManager.h"

// Sends text (as Latin-1) to the host; does nothing without an IOManager.
inline void sendErrorReport(IOManager *iom, const QString &text)
{
    if (iom)
        iom->send_message("standard", "VESTRAL", 1, text.toLatin1().constData());
}
