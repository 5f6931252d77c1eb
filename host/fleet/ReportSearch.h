// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

/// The files that these paths name: a file itself, whatever its name, and of a folder all that is under it and ends in
/// ".vantorel", in the order of their names; each once. What cannot be looked into is told to `complain`, with why.
[[nodiscard]] std::vector<std::string>
reportsUnder(const std::vector<std::string>& paths,
             const std::function<void(std::string_view path, std::string_view why)>& complain);

} // namespace vantorel::host
