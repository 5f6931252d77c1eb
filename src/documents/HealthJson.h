// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "JsonDocument.h"
#include "vantorel/health/JudgedReading.h"

namespace vantorel {

/// Adds what docs/json.md tells of a judged reading: the verdict, the typed values, the family, and the record; with
/// `raw` the bytes that all of it was made of, too.
void putHealth(JsonObject& object, const health::JudgedReading& judged, bool raw);

} // namespace vantorel
