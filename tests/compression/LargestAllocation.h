// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>

namespace vantorel::test {

/// The most bytes that `operator new` was asked for at once since this was set to 0.
extern std::size_t largestAllocation;

} // namespace vantorel::test
