// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/files/Process.h"
#include "vantorel/base/Data.h"

#include <string>

namespace vantorel::report {

/// A listing of the I/O registry as gzip data.
struct RegistryDump {
    Data gzip;         ///< empty when the listing could not be begun; that of nothing when it reached a bound
    std::string fault; ///< why the listing is missing; empty when it is there
};

/// What `/usr/sbin/ioreg -l -w0 -a` writes, sent through `/usr/bin/gzip -c`; whatever else a tool does goes into the
/// dump. Blocks. When it returns no process, descriptor or thread of it is left.
[[nodiscard]] RegistryDump registryDump(const system::FileHandle::Bounds& bounds);

} // namespace vantorel::report
