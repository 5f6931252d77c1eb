// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Uuid.h"

#include <string_view>

namespace vantorel::machines {

/// The UUID of version 5 (RFC 9562: SHA-1 of the name space and the name) of this name in that name space.
[[nodiscard]] base::Uuid nameUuid(const base::Uuid& nameSpace, std::string_view name);

/// The UUID of version 5 in the name space of Vantorel's own that stands for things which Linux names by other texts,
/// such as "lvm:Zvt8Xe-…" or "machine-id:3d1219c7…". Equal names give equal UUIDs on every computer.
[[nodiscard]] base::Uuid nameUuid(std::string_view name);

} // namespace vantorel::machines
