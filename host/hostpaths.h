// SPDX-License-Identifier: MIT
// Where the host finds its modules and its translations: relative to its own
// executable, so that an installed tree works from whatever prefix it was
// unpacked to, and a build tree works from its bin/ folder.
#pragma once

#include <QString>

namespace HostPaths {

// The default module folder: the installed one (<prefix>/lib/cascade/modules
// beside <prefix>/bin) if it exists, else bin/modules of the build tree.
QString modules();

// The host's own translations: <prefix>/share/cascade/translations when
// installed, else bin/translations of the build tree.
QString translations();

} // namespace HostPaths
