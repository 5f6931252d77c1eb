// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Rules.h"
#include "vantorel/health/Attributes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::health {

/// One thing that was seen and that rules may speak about.
struct Observation {
    Signal signal;
    const Attribute* attribute = nullptr; ///< what it was seen in, if a single one
    TypedValue value;
    std::optional<TypedValue> limit;
    std::optional<Int128> before; ///< the value of the earlier reading
    bool isSure = true;           ///< of a meaning that is not sure come notes alone
    std::string detail;

    /// How much more than in the earlier reading; 0 without one.
    [[nodiscard]] Int128 grown() const { return before ? value.number - *before : 0; }
};

/// The attribute of an earlier reading that is the same as this one, by number, name and unit. Null when there is none.
[[nodiscard]] const Attribute* sameAttribute(const Attribute& attribute, const std::vector<Attribute>& earlier);

/// Percent of the rated life used, whichever way the attribute tells it; absent when it tells none or nonsense.
[[nodiscard]] std::optional<TypedValue> wearOf(const Attribute& attribute);

/// What a reading whose bytes are sane shows. `earlier` is empty or the attributes of an earlier reading.
[[nodiscard]] std::vector<Observation> observe(const Reading& reading, const std::vector<Attribute>& attributes,
                                               const std::vector<Attribute>& earlier);

} // namespace vantorel::health
