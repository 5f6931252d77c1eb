// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"

#include <string>

namespace vantorel::recorded {

/// The JSON object in the bytes as property values; `{"base64": "…"}` becomes data. Throws `RecordingError` under the
/// name `file`, with line and column, when the bytes are no JSON object, are nested too deeply or hold too many values.
[[nodiscard]] PropertyValue readJsonObject(DataView bytes, const std::string& file);

} // namespace vantorel::recorded
