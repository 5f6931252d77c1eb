// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/IORegistry.h"

namespace vantorel {

/// The entry some levels above another in the plane "IOService", by first parents; no handle when there is none.
[[nodiscard]] system::IOHandle ancestor(system::IOHandle entry, int levels);

/// The properties of that entry; null, with a message, as `getPropertiesForService` tells.
[[nodiscard]] system::PropertyTableRef propertiesOfAncestor(system::IOHandle entry, int levels);

} // namespace vantorel
