// A Qt message handler for tests: every message still reaches the handler
// that was installed before (QtTest's), and warnings that point at a broken
// form, such as a slot named on_<object>_<signal> whose object or signal does
// not exist, are collected so that the test can fail on them.
#pragma once

#include <QStringList>

namespace TestMessages {

// Installs the handler once; later calls do nothing.
void install();

// The collected warnings since the last call, and forgets them.
QStringList take();

} // namespace TestMessages
