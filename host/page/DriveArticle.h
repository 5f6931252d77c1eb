// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Html.h"
#include "PageModel.h"

#include <string>
#include <string_view>

namespace vantorel::host {

/// The word for a drive's level or state in the style sheet, which is that of its symbol too.
[[nodiscard]] std::string_view toneOf(const CheckedDrive& drive);

/// The level or state with its symbol.
[[nodiscard]] Html levelBadge(const CheckedDrive& drive);

/// Names with what there is to say under them; those without are left out.
[[nodiscard]] Html factList(const std::vector<Fact>& facts);

/// All that the page tells of one drive; `id` is what links lead to.
[[nodiscard]] Html driveArticle(const PageDrive& drive, const std::string& id);

} // namespace vantorel::host
