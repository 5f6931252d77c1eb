// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/base/Uuid.h"

#include <memory>
#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// Stands for the memory allocator that the platform's operations are passed first; there is only the default one.
struct CFAllocator {};
using CFAllocatorRef = const CFAllocator*;
inline constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;

/// A table that is shared and never changes once it is handed out; null where the platform gives none.
/// It stays as it was when the entry or disk it tells of changes.
using PropertyTableRef = std::shared_ptr<const PropertyTable>;

/// The text of a UUID value, 36 characters in upper case. Absent only when the call itself fails.
[[nodiscard]] std::optional<std::string> CFUUIDCreateString(CFAllocatorRef allocator, const base::Uuid& uuid);

} // namespace system
} // namespace vantorel
