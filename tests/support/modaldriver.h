// Drives modal dialogs from inside their own event loop: queue an action
// before the call that runs exec(); the driver waits (bounded) until the
// expected dialog is the active modal widget, acts on it, and is done.
//
// If the expected dialog does not show up in time, the driver records a
// failure and rejects every modal widget, so that the exec() under test
// returns instead of hanging. Check failures() (or use QVERIFY2 on ok()).
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>

namespace ModalDriver {

using Match = std::function<bool(QWidget *)>;
using Action = std::function<void(QWidget *)>;

// Matches a modal widget by object name (exact) or, failing that, class name.
Match named(const QString &objectOrClassName);

// Waits until a modal widget satisfying match is active, then runs act.
// Several calls queue up and are served one after another, in order.
void when(const Match &match, const Action &act, int timeoutMs = 5000);
void when(const QString &name, const Action &act, int timeoutMs = 5000);

// Failures since the last reset(), and whether there were none. Also false
// while queued actions are still waiting.
QStringList failures();
bool ok();
int pending();
void reset();

} // namespace ModalDriver
