// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/system/Process.h"

namespace vantorel::report {

/// The listing of the I/O registry as gzip data: what `/usr/sbin/ioreg -l -w0 -a` writes, sent through
/// `/usr/bin/gzip -c`. Empty when one of the two is missing or a bound is reached; whatever else a tool does goes into
/// the dump. Blocks. When it returns no process, descriptor or thread of it is left.
[[nodiscard]] Data registryDump(const system::FileHandle::Bounds& bounds);

} // namespace vantorel::report
