// SPDX-License-Identifier: GPL-2.0-or-later
// A byte of choices; a data sector or health log; thresholds; an earlier reading of the same shape; then the model.
#include "vantorel/health/VerdictJson.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace vantorel;
    using namespace vantorel::health;
    DataView rest(bytes, size);
    const auto take = [&](std::size_t count) {
        const DataView taken = rest.first(std::min(count, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    };
    const DataView choice = take(1);
    const unsigned bits = choice.empty() ? 0 : choice[0];
    Reading now{.kind = (bits & 1U) != 0 ? Reading::Kind::nvme : Reading::Kind::ata, .isSSD = (bits & 2U) != 0};
    Reading before = now;
    if ((bits & 4U) != 0)
        now.saysFailing = (bits & 8U) != 0;
    now.data = take(512);
    now.thresholds = take(512);
    before.data = take(512);
    before.thresholds = take(512);
    const std::string model(rest.begin(), rest.end());
    now.model = before.model = model;

    const Verdict verdict = judge(now, before);
    // Whatever was read: a reason, the worst first, and a level that is the first reason's.
    if (verdict.reasons.empty() || verdict.reasons.front().level != verdict.level)
        std::abort();
    for (const Reason& reason : verdict.reasons) {
        if (reason.sentence.empty() || reason.sentence.find('{') != std::string::npos)
            std::abort();
    }
    (void)toJson(verdict);
    (void)toJson(attributesOf(now));
    return 0;
}
