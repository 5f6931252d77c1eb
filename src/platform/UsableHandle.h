// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/MessageSink.h"

namespace vantorel {

/// Whether an interface can be used through this handle; says so where it cannot.
template <typename Table>
bool isUsableHandle(const Table** handle)
{
    if (!handle) {
        system::printMessage("Unable to access plugin interface");
        return false;
    }
    if (!*handle) {
        system::printMessage("Unable to access plugin interface pointee");
        return false;
    }
    return true;
}

} // namespace vantorel
