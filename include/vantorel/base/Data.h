// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstdint>
#include <span>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// A counted sequence of bytes that is owned.
using Data = std::vector<std::uint8_t>;

/// A counted sequence of bytes that somebody else owns; valid for the length of the call it is passed to.
using DataView = std::span<const std::uint8_t>;

} // namespace vantorel
