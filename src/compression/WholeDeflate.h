// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <optional>

/// Raw deflate of what lies in memory whole, for the most part by libdeflate: two to three times as fast as zlib, which
/// does the streams that come in pieces. Both set memory aside for the result once more. They throw `std::bad_alloc`.
namespace vantorel::system::compression {

/// A deflate stream of `plain`, which is not empty.
[[nodiscard]] Data deflateWhole(DataView plain);

/// What the stream that `deflated` begins with expands to. Absent when a stream of zlib had better see to it:
/// libdeflate takes it for damaged, or the result is so large beside it that it should grow bit by bit.
[[nodiscard]] std::optional<Data> inflateWhole(DataView deflated);

} // namespace vantorel::system::compression
