// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "PageModel.h"
#include "documents/DriveOutcome.h"

#include <string>
#include <vector>

namespace vantorel::host {

/// The page of the installed machine and of its drives, which were just asked; `path` is what the machine is called in
/// messages. NVMe controllers are asked for their error logs. On the registry's thread.
[[nodiscard]] Page outcomePage(const std::string& path, const std::vector<DriveOutcome>& outcomes);

} // namespace vantorel::host
