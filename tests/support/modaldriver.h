// SPDX-License-Identifier: MIT
// Drives modal dialogs from inside their own event loop: queue an action
// before the call that runs exec(); the driver waits (bounded) until the
// expected dialog is the active modal widget and acts on it. Queued actions
// are served in order. If a dialog does not show up in time, the driver
// records a failure and rejects every modal widget, so that no exec() hangs.
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>

namespace ModalDriver {

using Match = std::function<bool(QWidget *)>;
using Action = std::function<void(QWidget *)>;

void when(const Match &match, const Action &act, int timeoutMs = 5000);
// By object name or, failing that, class name.
void when(const QString &name, const Action &act, int timeoutMs = 5000);

// A standing action: runs once on every modal widget that matches, however
// many appear (none is fine), until endWhenever() or reset(). For boxes a
// step may or may not show, such as a warning.
void whenever(const Match &match, const Action &act);
void endWhenever();

QStringList failures();
bool ok(); // no failures and nothing left waiting
int pending();
void reset();

} // namespace ModalDriver
