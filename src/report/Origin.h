// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"

#include <string_view>

namespace vantorel::report {

/// Adds when, where and by what a report is made: "created", "host" and "tool" with this version of the library.
void tellOrigin(PropertyTable& root, std::string_view version);

} // namespace vantorel::report
