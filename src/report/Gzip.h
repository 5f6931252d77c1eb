// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <cstddef>
#include <stdexcept>

namespace vantorel::report {

/// Gzip data that cannot be expanded.
class GzipError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Expands gzip data (RFC 1952), checksums and lengths verified; several members in a row give their contents in a row,
/// and zeros behind the last are padding. Throws `GzipError` when the data are damaged or cut, are followed by
/// anything else, or expand to more than `limit` bytes.
[[nodiscard]] Data gunzip(DataView bytes, std::size_t limit);

/// The bytes as one member of gzip data, without name and time. Throws `std::bad_alloc` alone.
[[nodiscard]] Data gzip(DataView bytes);

} // namespace vantorel::report
