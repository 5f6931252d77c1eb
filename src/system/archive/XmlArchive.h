// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/propertylist/ObjectTable.h"
#include "vantorel/base/Data.h"

namespace vantorel::system {

/// The objects of an archive in XML form, in which a reference is a dictionary of "CF$UID" alone.
/// Throws `PropertyListError` when the bytes are no property list, or nest deeper than any archive.
[[nodiscard]] ObjectTable readXmlArchive(DataView bytes);

} // namespace vantorel::system
