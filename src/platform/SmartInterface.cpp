// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/platform/SmartInterface.h"

#include "UsableHandle.h"

namespace vantorel {

std::optional<SmartInterface> SmartInterface::create(Handle interface)
{
    if (!isUsableHandle(interface))
        return std::nullopt;
    return SmartInterface(interface);
}

} // namespace vantorel
