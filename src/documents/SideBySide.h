// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <functional>

namespace vantorel {

/// Calls `work` with each number below `count`, on up to sixteen threads at once, and returns when all calls have.
/// While it takes long `onWait` is called every now and then, on the calling thread, with the number of calls that have
/// returned. `work` must not throw.
void sideBySide(std::size_t count, const std::function<void(std::size_t)>& work,
                const std::function<void(std::size_t done)>& onWait);

} // namespace vantorel
