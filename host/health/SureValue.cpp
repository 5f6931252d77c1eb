// SPDX-License-Identifier: GPL-2.0-or-later
#include "SureValue.h"

#include <algorithm>

namespace vantorel::host {

std::optional<health::TypedValue> sureValue(std::span<const health::Attribute> attributes, health::Meaning meaning,
                                            health::Unit unit)
{
    const auto found = std::ranges::find_if(attributes, [&](const health::Attribute& attribute) {
        return attribute.meaning == meaning && attribute.value.unit == unit && attribute.value.plausible &&
               attribute.confidence != health::Confidence::low;
    });
    return found == attributes.end() ? std::nullopt : std::optional(found->value);
}

} // namespace vantorel::host
