// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/platform/NVMeSmartInterface.h"

#include "UsableHandle.h"

namespace vantorel {

std::optional<NVMeSmartInterface> NVMeSmartInterface::create(Handle interface)
{
    if (!isUsableHandle(interface))
        return std::nullopt;
    return NVMeSmartInterface(interface);
}

} // namespace vantorel
