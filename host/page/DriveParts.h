// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Html.h"
#include "PageModel.h"

#include <span>
#include <string_view>

// The parts of the article on a drive that fold away. Each is empty where there is nothing to tell.
namespace vantorel::host {

/// Every value with its explanation; open for a drive that is not good.
[[nodiscard]] Html valuesPart(const PageDrive& drive);

/// A chart for each number that changed.
[[nodiscard]] Html growthPart(const PageDrive& drive);

/// What lies on these disks, in one table.
[[nodiscard]] Html treePart(std::string_view title, std::span<const DiskNode> roots);

[[nodiscard]] Html countersPart(const PageDrive& drive);

/// Of an NVMe controller.
[[nodiscard]] Html powerStatesPart(const PageDrive& drive);
[[nodiscard]] Html errorsPart(const PageDrive& drive);

/// The bytes that all of it was made of, as `xxd` writes and reads them.
[[nodiscard]] Html bytesPart(const PageDrive& drive);

} // namespace vantorel::host
