// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "BinaryPropertyList.h"

namespace vantorel::system {

/// Reads the XML form of a property list, in which a reference of an archive is a dictionary of "CF$UID" alone.
/// Throws `PropertyListError` when the bytes are none, or nest too deep.
[[nodiscard]] ObjectTable readXmlPropertyList(DataView bytes);

} // namespace vantorel::system
