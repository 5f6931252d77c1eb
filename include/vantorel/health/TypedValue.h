// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/base/RawValue.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// Wide enough for every counter of a drive, and for a count of 32 MiB units in bytes.
__extension__ typedef __int128 Int128;           // NOLINT(modernize-use-using): the extension mark needs a typedef
__extension__ typedef unsigned __int128 UInt128; // NOLINT(modernize-use-using)

/// What a number counts or measures. The list is closed: programs may switch over it.
enum class Unit : std::uint8_t {
    none, ///< a figure of the maker's own, or one nobody knows
    count,
    sectors, ///< of a disk
    blocks,  ///< of flash memory, megabytes each
    bytes,
    percent,
    celsius,
    hours,
    minutes,
    seconds,
    milliseconds,
    rate,  ///< of errors, on a scale of the maker's own
    flags, ///< bits, one a condition
};

} // namespace health
} // namespace vantorel

template <>
inline constexpr std::array<std::string_view, 13> vantorel::rawTexts<vantorel::health::Unit> = {
    "none",  "count",   "sectors", "blocks",       "bytes", "percent", "celsius",
    "hours", "minutes", "seconds", "milliseconds", "rate",  "flags"};

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// A value of a drive as an exact number: made from the raw bytes and the definition's format, never from a text, and
/// the same in every locale.
struct TypedValue {
    /// What the value says: the part of the raw bytes that counts, in `unit`. Where it has a fraction, `decimals`
    /// digits of it stand behind the decimal point: 305 with one decimal is 30.5. A counter above 2^127 - 1 is given as
    /// that number, and as not plausible.
    Int128 number = 0;
    std::uint8_t decimals = 0;
    Unit unit = Unit::none;
    /// The whole raw number as the definition's byte order builds it: what smartctl gives as `raw.value`. For a field
    /// of an NVMe log the field itself.
    UInt128 raw = 0;
    std::optional<Int128> minimum; ///< where the format carries one; in `unit`
    std::optional<Int128> maximum;
    /// Further numbers that are packed beside `number`, from the lowest bytes up: the average of `raw16(avg16)`, the
    /// two upper words of `raw16(raw16)`, the lower half of `raw24/raw24` and `raw24/raw32`.
    std::array<std::uint64_t, 2> besides{};
    std::uint8_t besidesCount = 0;
    bool plausible = true; ///< whether a drive can have such a number

    bool operator==(const TypedValue&) const = default;
};

/// The number as decimal digits, with a point where it has a fraction; neither grouped nor localized.
[[nodiscard]] std::string decimalText(const TypedValue& value);
[[nodiscard]] std::string decimalText(Int128 number, unsigned decimals = 0);

/// A duration in whole hours, whatever unit of time it is in; absent for a value that is none or is not plausible.
[[nodiscard]] std::optional<std::int64_t> wholeHours(const TypedValue& value);

} // namespace health
} // namespace vantorel
