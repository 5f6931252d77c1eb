// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <functional>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// Takes one line of the library's own, without its line end. May be called from any thread, one call at a time. It may
/// set another sink; a line that it causes itself goes to standard output.
using MessageSink = std::function<void(std::string_view line)>;

/// Where the library's own lines go from now on: standard output until this is called and again after it was called
/// with nothing. For hosts whose standard output belongs to something else, and for tests.
void setMessageSink(MessageSink sink);

/// Writes one line of the library's own, such as "Unable to retrieve disk info".
void printMessage(std::string_view line);

} // namespace system
} // namespace vantorel
