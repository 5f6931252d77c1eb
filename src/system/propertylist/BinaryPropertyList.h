// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "ObjectTable.h"
#include "vantorel/base/Data.h"

namespace vantorel::system {

/// Whether the bytes say of themselves that they are a binary property list.
[[nodiscard]] bool isBinaryPropertyList(DataView bytes);

/// Reads the form "bplist00" of CFBinaryPList. Every index in the table is in range; nothing is said about loops.
/// Bytes of a text that are no UTF-8, and lone surrogates, become U+FFFD.
/// Throws `PropertyListError` for anything else, also when objects lie over each other or are more than two million.
[[nodiscard]] ObjectTable readBinaryPropertyList(DataView bytes);

/// Writes the same form, objects in the order of the table. Every index must be in range and every text UTF-8.
[[nodiscard]] Data writeBinaryPropertyList(const ObjectTable& table);

} // namespace vantorel::system
