// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A file that cannot be read; the text says why and leaves its name to the caller.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The whole file, or all that a pipe gives. Throws `FileError` when it is missing, a folder, larger than `limit` bytes
/// or cannot be read. Any thread.
[[nodiscard]] Data readWholeFile(const std::string& path, std::size_t limit);

} // namespace system
} // namespace vantorel
