// SPDX-License-Identifier: GPL-2.0-or-later
#include "FailureRates.h"

#include <algorithm>
#include <span>

namespace vantorel::health {

namespace {

struct Bucket {
    std::uint8_t attribute;
    std::uint64_t from;
    std::uint64_t through;
    double rate;
    double low;
    double high;
};

constexpr Bucket buckets[] = {
#include "FailureRates.inc"
};

} // namespace

std::optional<MeasuredRate> measuredRate(std::uint8_t attribute, std::uint64_t number)
{
    const std::span of(std::ranges::lower_bound(buckets, attribute, {}, &Bucket::attribute),
                       std::ranges::upper_bound(buckets, attribute, {}, &Bucket::attribute));
    if (of.empty() || number == 0)
        return std::nullopt;
    const auto rateOf = [&](const Bucket& bucket) {
        const bool isLast = &bucket == &of.back();
        return FailureRate{bucket.rate, bucket.low, bucket.high, bucket.from,
                           isLast ? std::nullopt : std::optional(bucket.through)};
    };
    const Bucket& zero = of.front();
    MeasuredRate measured{.without = rateOf(zero)};
    for (const Bucket& bucket : of.subspan(1)) {
        if (bucket.from > number)
            break;
        measured.rate = rateOf(bucket);
        measured.times = std::max(measured.times, bucket.low / zero.high);
    }
    return measured;
}

} // namespace vantorel::health
