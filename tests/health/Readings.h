// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "support/AtaSectors.h"
#include "vantorel/health/Verdict.h"
#include "vantorel/layouts/Nvme.h"

#include <algorithm>
#include <numeric>
#include <ostream>
#include <string>

namespace vantorel::health {

inline void PrintTo(Level level, std::ostream* stream)
{
    *stream << rawValue(level);
}

} // namespace vantorel::health

namespace vantorel::test {

/// An attribute as tests write it.
struct Slot {
    std::uint8_t id;
    std::uint64_t raw = 0;
    std::uint8_t current = 100;
    std::uint8_t worst = 100;
    std::uint8_t threshold = 0;
    bool preFail = false;
};

inline std::array<std::uint8_t, 6> rawBytes(std::uint64_t raw)
{
    std::array<std::uint8_t, 6> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(raw >> (8 * i));
    return bytes;
}

/// A drive of that model with a temperature, hours, starts and the given slots; its sums are right.
class AtaDrive {
public:
    explicit AtaDrive(std::vector<Slot> slots, std::string model = "ACME Disk", bool isSSD = false)
        : model_(std::move(model)), isSSD_(isSSD)
    {
        for (const Slot& usual : {Slot{9, 8765}, Slot{12, 21}, Slot{194, 31}}) {
            if (std::ranges::find(slots, usual.id, &Slot::id) == slots.end())
                slots.push_back(usual);
        }
        AtaSectors sectors;
        for (std::size_t i = 0; i < slots.size(); ++i) {
            const Slot& slot = slots[i];
            sectors.put(i, attribute(slot.id, rawBytes(slot.raw), slot.current, slot.worst, slot.preFail ? 1 : 0),
                        slot.threshold);
        }
        data = recordBytes(sectors.data());
        thresholds = recordBytes(sectors.thresholds());
        mendSums();
    }

    void mendSums()
    {
        for (Data* const sector : {&data, &thresholds}) {
            const auto sum = std::accumulate(sector->begin(), sector->end() - 1, 0U);
            sector->back() = static_cast<std::uint8_t>(0U - sum);
        }
    }

    [[nodiscard]] health::Reading reading() const
    {
        return {.data = data, .thresholds = thresholds, .model = model_, .isSSD = isSSD_};
    }

    Data data;
    Data thresholds;

private:
    std::string model_;
    bool isSSD_;
};

/// The log of a healthy NVMe drive.
inline NVMeSMARTLog healthyLog()
{
    NVMeSMARTLog log{};
    log.temperature = {0x36, 0x01}; // 37 C
    log.avail_spare = 100;
    log.spare_thresh = 10;
    log.percent_used = 7;
    log.power_cycles[0] = 40;
    log.power_on_hours[1] = 20; // 5120
    log.unsafe_shutdowns[0] = 11;
    return log;
}

/// The level and the id of the first reason.
inline std::pair<health::Level, std::string> gist(const health::Verdict& verdict)
{
    return {verdict.level, std::string(verdict.reasons.at(0).rule)};
}

/// The ids of the rules behind some reasons, with blanks between.
inline std::string rules(const std::vector<health::Reason>& reasons)
{
    std::string ids;
    for (const health::Reason& reason : reasons)
        ids += (ids.empty() ? "" : " ") + std::string(reason.rule);
    return ids;
}

} // namespace vantorel::test
