// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "PageModel.h"

#include <string>

namespace vantorel::host {

/// The page as one file that needs no other: HTML that is XML too, without a script, and with a policy in it that keeps
/// a browser from fetching anything. The drives that need a hand come first.
[[nodiscard]] std::string pageText(Page page);

} // namespace vantorel::host
