// SPDX-License-Identifier: GPL-2.0-or-later
#include "Attributes.h"

#include "Typing.h"

#include <algorithm>

namespace vantorel::health {

namespace {

Attribute* find(std::vector<Attribute>& attributes, Meaning meaning)
{
    const auto found = std::ranges::find(attributes, meaning, &Attribute::meaning);
    return found == attributes.end() ? nullptr : &*found;
}

/// More than the interface carries in all the hours that the drive has run. `perSecond` in bytes.
bool isTooMuch(const TypedValue& moved, std::int64_t hours, Int128 perSecond)
{
    return moved.unit == Unit::bytes && moved.number / perSecond > Int128{hours + 1} * 3600;
}

} // namespace

void doubtContradictions(std::vector<Attribute>& attributes, const Reading& reading)
{
    constexpr Int128 megabyte = 1'000'000;
    const bool isNvme = reading.kind == Reading::Kind::nvme;
    const Int128 perSecond = megabyte * (isNvme ? 16'000 : reading.isSSD ? 600 : 300);
    Attribute* const time = find(attributes, Meaning::powerOnTime);
    Attribute* const cycles = find(attributes, Meaning::powerCycles);
    const auto hours = time ? wholeHours(time->value) : std::nullopt;
    for (Attribute& attribute : attributes) {
        const Meaning meaning = attribute.meaning;
        if (hours && (meaning == Meaning::hostWritten || meaning == Meaning::hostRead))
            attribute.value.plausible &= !isTooMuch(attribute.value, *hours, perSecond);
        if (cycles && isNvme && meaning == Meaning::unsafeShutdowns && attribute.value.number > cycles->value.number)
            attribute.value.plausible = false;
    }
}

std::vector<Attribute> attributesOf(const Reading& reading)
{
    std::vector<Attribute> attributes =
        reading.kind == Reading::Kind::ata ? ataAttributesOf(reading) : nvmeAttributesOf(reading);
    doubtContradictions(attributes, reading);
    return attributes;
}

} // namespace vantorel::health
