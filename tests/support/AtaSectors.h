// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/AtaSmart.h"

#include <array>
#include <cstddef>

namespace vantorel::test {

/// The two sectors of ATA SMART, filled slot by slot.
class AtaSectors {
public:
    /// Puts an attribute and the threshold of the same number into a slot.
    AtaSectors& put(std::size_t slot, const IOATASmartAttribute& attribute, std::uint8_t threshold)
    {
        data_.attributes[slot] = attribute;
        thresholds_.thresholds[slot] = {
            .attributeId = attribute.attributeId, .ThresholdValue = threshold, .Reserved = {}};
        return *this;
    }

    /// Makes the threshold slot that of another attribute.
    AtaSectors& misplaceThreshold(std::size_t slot, std::uint8_t attributeId)
    {
        thresholds_.thresholds[slot].attributeId = attributeId;
        return *this;
    }

    [[nodiscard]] ATASMARTData data() const
    {
        ATASMARTData sector{};
        std::memcpy(sector.vendorSpecific1.data(), &data_, sizeof data_);
        return sector;
    }

    [[nodiscard]] ATASMARTDataThresholds thresholds() const
    {
        ATASMARTDataThresholds sector{};
        std::memcpy(sector.vendorSpecific1.data(), &thresholds_, sizeof thresholds_);
        return sector;
    }

private:
    SmartVendorSpecificData data_{};
    SmartVendorSpecificThresholds thresholds_{};
};

/// An attribute whose raw bytes are `raw`, the first of them in front.
inline IOATASmartAttribute attribute(std::uint8_t id, std::array<std::uint8_t, 6> raw, std::uint8_t current = 100,
                                     std::uint8_t worst = 100, std::uint16_t flag = 0, std::uint8_t reserv = 0)
{
    return {.attributeId = id, .flag = flag, .current = current, .worst = worst, .rawvalue = raw, .reserv = reserv};
}

} // namespace vantorel::test
