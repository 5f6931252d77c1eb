// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Uuid.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/PlugIn.h"

namespace vantorel {

/// The nearest entry above the drive's own that declares itself SMART capable, by the key of the drive's interface; no
/// handle when there is none. A declaration that is no boolean counts as none.
[[nodiscard]] system::IOHandle getSmartService(const Drive& drive);

/// The nearest entry above the drive's own that declares itself capable of NVMe, or else of ATA SMART.
[[nodiscard]] system::IOHandle capableAncestor(const Drive& drive, bool isNvme);

/// A plug-in of this type for that entry, which is the caller's to destroy. Throws `SmartOpenError`.
[[nodiscard]] system::PlugInHandle openPlugIn(const system::IOHandle& service, const base::Uuid& pluginType);

} // namespace vantorel
