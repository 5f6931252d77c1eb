// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/CoreFoundation.h"

#include "system/CallGate.h"

namespace vantorel::system {

std::optional<std::string> CFUUIDCreateString(CFAllocatorRef /*allocator*/, const base::Uuid& uuid)
{
    if (!callPasses("CFUUIDCreateString"))
        return std::nullopt;
    return uuid.text();
}

} // namespace vantorel::system
