// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/Nvme.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The fields of the NVMe health log as a person reads them. Plain functions of their arguments, the process's locale
/// and the host's translations; any thread; nothing here fails.
namespace vantorel {

/// What is shown beside a value of the log, before translation.
struct NVMeSmartValueDefinition {
    std::string_view name;
    SmartValueType type;
    std::string_view info;
};

/// The definitions by key; exactly 15. Built at first use, then constant.
[[nodiscard]] const std::map<std::string_view, NVMeSmartValueDefinition>& NVMeSmartValueDefinitions();

/// The keys of the definitions in the order of the log, "CriticalWarning" first. They live as long as the process.
[[nodiscard]] std::span<const std::string_view> nvmeLogKeys();

/// A field of the log, of up to 128 bits.
struct NvmeLogNumber {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    auto operator<=>(const NvmeLogNumber&) const = default;
};

/// A field of the log as the number that it is: kelvin, percent, units of 512,000 bytes, minutes of busy time, hours,
/// counts. Absent for an unknown key.
[[nodiscard]] std::optional<NvmeLogNumber> nvmeLogNumber(std::string_view key, const NVMeSMARTLog& log);

/// One value of the log by its key, such as "PowerOnHours". An unknown key gives "Unknown Attribute" with an empty
/// text. The state is `ok` but for "CriticalWarning" with any bit set, which is `failed`.
[[nodiscard]] NVMeSmartValue processSmartValue(std::string_view key, const NVMeSMARTLog& log);

/// The first condition, from the lowest bit up, of the critical-warning byte in words; the bits above the known five
/// are told together. Without any: "S.M.A.R.T Overall Health Result: Passed".
[[nodiscard]] std::string processWarningFlag(std::int64_t flag);

/// A counter as text: see `le128ToString`.
[[nodiscard]] std::string formatNVMeValue(const NvmeCounter& value, std::uint64_t bytesPerUnit = 0);

/// A 128-bit number in two halves. From 2^64 up "~" and the whole digits of its approximation, in units whatever
/// `bytesPerUnit` says. Below, with a unit size, a byte size in steps of 1024 as long as the product stays below 2^64
/// (a size of 2^63 bytes or more is told as the largest signed size); else, and for 0, a grouped decimal number.
[[nodiscard]] std::string le128ToString(std::uint64_t high, std::uint64_t low, std::uint64_t bytesPerUnit);

/// Two bytes, the low one first, as a number.
[[nodiscard]] std::uint64_t le16ToUInt(const std::array<std::uint8_t, 2>& value);

/// Kelvin in whole degrees Celsius, "37°C"; "Not supported" for 0 and below.
[[nodiscard]] std::string kelvin(std::int64_t value);

} // namespace vantorel
