// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/health/Verdict.h"

#include "Comparison.h"
#include "FailureRates.h"
#include "Inspection.h"
#include "Observation.h"
#include "Rules.h"
#include "Sentence.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace vantorel::health {

namespace {

bool applies(DriveKind drives, const Reading& reading)
{
    const bool isSSD = reading.isSSD || reading.kind == Reading::Kind::nvme;
    return drives == DriveKind::any || (drives == DriveKind::ssd) == isSSD;
}

bool holds(const Rule& rule, const Observation& seen, const std::optional<MeasuredRate>& rate)
{
    Int128 number = rule.number;
    for (unsigned digit = 0; digit < seen.value.decimals; ++digit)
        number *= 10;
    const Int128 value = seen.value.number;
    switch (rule.when) {
    case When::always:
        return true;
    case When::atLeast:
        return value >= number;
    case When::atMost:
        return value <= number;
    case When::below:
        return value < number;
    case When::belowLimit:
        return seen.limit && value < seen.limit->number;
    case When::atLimit:
        return seen.limit && value == seen.limit->number;
    case When::reachesLimit:
        return seen.limit && value >= seen.limit->number;
    case When::rateTimes:
        return rate && rate->times > rule.number;
    case When::grew:
        return seen.grown() >= number;
    case When::persists:
        return value > 0 && seen.before && *seen.before > 0;
    }
    return false;
}

/// The rates are those of hard disks, by the attribute numbers that hard disks use.
std::optional<MeasuredRate> rateOf(const Observation& seen, const Reading& reading)
{
    if (reading.kind != Reading::Kind::ata || reading.isSSD || !seen.attribute || seen.value.number < 0)
        return std::nullopt;
    constexpr std::pair<Signal, std::uint8_t> rated[] = {{Signal::reallocated, 5},
                                                         {Signal::reportedUncorrect, 187},
                                                         {Signal::reallocationEvents, 196},
                                                         {Signal::pending, 197},
                                                         {Signal::uncorrectable, 198}};
    if (std::ranges::find(rated, std::pair(seen.signal, seen.attribute->id)) == std::end(rated))
        return std::nullopt;
    return measuredRate(seen.attribute->id, static_cast<std::uint64_t>(seen.value.number));
}

/// How bad a level is; what is unknown stands above good and below what was found.
int weight(Level level)
{
    constexpr std::array<int, 5> weights = {0, 2, 3, 4, 1};
    return weights[static_cast<std::size_t>(level)];
}

/// One judgement in the making.
class Judgement {
public:
    Judgement(const Reading& now, const Past& past) : reading_(now), before_(past.before), known_(past.known) {}

    Verdict verdict()
    {
        const auto fault = faultOf(reading_);
        if (fault) {
            apply(*fault);
        } else {
            attributes_ = attributesOf(reading_);
            lowerTrust();
            bringEarlier();
            observations_ = observe(reading_, attributes_, earlier_);
            for (const Observation& seen : observations_)
                apply(seen);
            setAside();
            sum();
        }
        listenToDrive();
        conclude(fault.has_value());
        return std::move(verdict_);
    }

private:
    void apply(const Observation& seen)
    {
        const auto rate = rateOf(seen, reading_);
        for (const Rule& rule : rulesOf(seen.signal)) {
            if (applies(rule.drives, reading_) && holds(rule, seen, rate))
                return add(rule, seen, rate);
        }
    }

    void add(const Rule& rule, const Observation& seen, const std::optional<MeasuredRate>& rate)
    {
        Reason reason{.rule = rule.id,
                      .level = rule.level,
                      .attribute = seen.attribute ? seen.attribute->id : std::uint8_t{0},
                      .name = seen.attribute ? std::string(seen.attribute->name) : std::string(),
                      .limit = seen.limit,
                      .sentence = filledIn(rule.sentence, seen, rate, hours_),
                      .source = rule.source};
        if (seen.attribute)
            reason.value = seen.value;
        if (rate) {
            reason.rate = rate->rate;
            reason.rateWithout = rate->without;
        }
        if (rule.level == Level::failing && verdict_.doubtful)
            reason.level = Level::atRisk;
        if (rule.level != Level::good && !seen.isSure) {
            reason.level = Level::good;
            reason.sentence += "; but it is not sure that this model means that by it";
        }
        if (isKnown(reason)) {
            reason.level = Level::good;
            reason.sentence += "; known, and no more since";
            knownSignals_.push_back(seen.signal);
        }
        const bool isNote = reason.level == Level::good && seen.signal != Signal::allClear;
        std::vector<Reason>& list = isAside(seen.signal) ? verdict_.setAside
                                    : isNote             ? verdict_.notes
                                                         : verdict_.reasons;
        list.push_back(std::move(reason));
    }

    [[nodiscard]] bool isKnown(const Reason& reason) const
    {
        const auto count = known_.empty() ? std::nullopt : knownCount(reason);
        return count && std::ranges::any_of(known_, [&](const KnownCount& known) {
                   return known.rule == count->rule && known.name == count->name && count->number <= known.number;
               });
    }

    static bool isAside(Signal signal) { return signal >= Signal::asideNoLimit && signal <= Signal::asideImpossible; }

    void lowerTrust()
    {
        if (reading_.kind == Reading::Kind::nvme)
            return;
        if (!sumIsRight(reading_.data) || !sumIsRight(reading_.thresholds)) {
            verdict_.doubtful = true;
            apply({.signal = Signal::wrongChecksum});
        }
        if (thresholdsAreForeign(reading_)) {
            for (Attribute& attribute : attributes_)
                attribute.threshold.reset();
            apply({.signal = Signal::foreignThresholds});
        }
    }

    /// Compares with the earlier reading, where there is one of this drive. What grew counts only if time went on.
    void bringEarlier()
    {
        if (!before_)
            return;
        if (const std::string_view difference = differenceOf(*before_); !difference.empty())
            return apply({.signal = Signal::comparedToOther, .detail = std::string(difference)});
        if (faultOf(*before_))
            return apply({.signal = Signal::comparedToOther, .detail = "its bytes make no sense"});
        std::vector<Attribute> earlier = attributesOf(*before_);
        verdict_.comparison = compare(earlier, attributes_);
        hours_ = verdict_.comparison->hours;
        if (hours_ && *hours_ < 0)
            return apply({.signal = Signal::hoursShrank});
        earlier_ = std::move(earlier);
    }

    [[nodiscard]] std::string_view differenceOf(const Reading& other) const
    {
        const auto differ = [](std::string_view one, std::string_view another) {
            return !one.empty() && !another.empty() && one != another;
        };
        if (other.kind != reading_.kind)
            return "its kind differs";
        if (differ(other.serial, reading_.serial))
            return "its serial number differs";
        return differ(other.model, reading_.model) ? "its model differs" : "";
    }

    /// What the result calls failed, now or in the past, and no reason speaks about.
    void setAside()
    {
        if (reading_.kind == Reading::Kind::nvme)
            return;
        for (const Attribute& attribute : attributes_) {
            const auto isAbout = [&](const Reason& reason) { return reason.attribute == attribute.id; };
            if (std::ranges::any_of(verdict_.reasons, isAbout))
                continue;
            if (!attribute.value.plausible && tellsDamage(attribute.meaning))
                aside(Signal::asideImpossible, attribute, attribute.value);
            if (const auto signal = asideOf(attribute)) {
                const std::uint8_t value = *signal == Signal::asideOnce ? attribute.worst : attribute.current;
                aside(*signal, attribute, {.number = value, .raw = value});
            }
        }
    }

    void aside(Signal signal, const Attribute& attribute, const TypedValue& value)
    {
        Observation seen{.signal = signal, .attribute = &attribute, .value = value};
        if (attribute.threshold)
            seen.limit = TypedValue{.number = *attribute.threshold, .raw = *attribute.threshold};
        apply(seen);
    }

    static std::optional<Signal> asideOf(const Attribute& attribute)
    {
        // The result judges this one by its count, whatever its limit.
        constexpr std::uint8_t unusedReserve = 180;
        const bool isReserve =
            attribute.id == unusedReserve && attribute.value.raw == 0 &&
            (attribute.nameSource == NameSource::nothing || attribute.name == "Unused_Rsvd_Blk_Cnt_Tot");
        const bool now = attribute.threshold && attribute.current <= *attribute.threshold;
        const bool once = attribute.threshold && attribute.worst <= *attribute.threshold;
        if (!now && !once && !isReserve)
            return std::nullopt;
        if (attribute.valueIsRaw)
            return Signal::asideValueIsRaw;
        if (attribute.meaning == Meaning::notUsed)
            return Signal::asideNotUsed;
        if (attribute.nameSource == NameSource::nothing)
            return Signal::asideForeignName;
        if (isReserve)
            return Signal::asideCountOfZero;
        if (*attribute.threshold == 0)
            return Signal::asideNoLimit;
        if (*attribute.threshold > 253)
            return Signal::asideOddLimit;
        return now ? Signal::asideUse : Signal::asideOnce;
    }

    /// What a `check` shows of every drive.
    void sum()
    {
        const auto find = [&](Meaning meaning) -> std::optional<TypedValue> {
            const auto found = std::ranges::find_if(attributes_, [&](const Attribute& attribute) {
                return attribute.meaning == meaning && attribute.value.plausible;
            });
            return found == attributes_.end() ? std::nullopt : std::optional(found->value);
        };
        verdict_.temperature = find(Meaning::temperature);
        verdict_.powerOnTime = find(Meaning::powerOnTime);
        for (const Observation& seen : observations_) {
            if (seen.signal == Signal::wear && seen.isSure &&
                (!verdict_.wear || seen.value.number > verdict_.wear->number))
                verdict_.wear = seen.value;
            if ((seen.signal == Signal::spare || seen.signal == Signal::logSpare) && seen.isSure &&
                (!verdict_.spare || seen.value.number < verdict_.spare->number))
                verdict_.spare = seen.value;
        }
    }

    void listenToDrive()
    {
        if (!reading_.saysFailing.value_or(false))
            return;
        const bool isExplained = std::ranges::any_of(
            verdict_.reasons, [](const Reason& reason) { return weight(reason.level) >= weight(Level::atRisk); });
        const bool wasDoubtful = std::exchange(verdict_.doubtful, false); // its word does not come from the sector
        apply({.signal = isExplained ? Signal::saysFailing : Signal::saysFailingUnexplained});
        verdict_.doubtful = wasDoubtful;
    }

    void conclude(bool hasFault)
    {
        if (verdict_.reasons.empty() && !hasFault) {
            if (isAnythingKnown())
                apply({.signal = Signal::allClear, .detail = whatIsClear()});
            else
                apply({.signal = Signal::nothingKnown});
        }
        const auto order = [](const Reason& reason) {
            const double rate = reason.rate ? reason.rate->low : 0;
            return std::tuple(-weight(reason.level), -rate);
        };
        std::ranges::stable_sort(verdict_.reasons, {}, order);
        verdict_.level = verdict_.reasons.front().level;
    }

    /// Whether there was anything that could have spoken against the drive.
    [[nodiscard]] bool isAnythingKnown() const
    {
        const auto hasLimit = [](const Attribute& attribute) {
            return attribute.preFail && attribute.nameSource != NameSource::nothing && attribute.threshold &&
                   *attribute.threshold >= 1 && *attribute.threshold <= 253;
        };
        // What only weighs when it grows tells nothing by itself, and neither does heat.
        const auto couldSpeak = [&](const Observation& seen) {
            return seen.isSure && seen.signal != Signal::usualHeat &&
                   std::ranges::any_of(rulesOf(seen.signal), [&](const Rule& rule) {
                       return applies(rule.drives, reading_) && rule.level != Level::good && rule.when != When::grew &&
                              rule.when != When::persists;
                   });
        };
        return std::ranges::any_of(attributes_, hasLimit) || std::ranges::any_of(observations_, couldSpeak);
    }

    [[nodiscard]] std::string whatIsClear() const
    {
        std::string text;
        for (const ClearWords& clear : clearWords()) {
            const auto seen = std::ranges::find_if(observations_, [&](const Observation& observation) {
                return observation.signal == clear.signal && observation.isSure;
            });
            if (seen == observations_.end() || !applies(clear.drives, reading_) ||
                std::ranges::find(knownSignals_, clear.signal) != knownSignals_.end())
                continue;
            const std::string said = filledIn(seen->value.number == 0 ? clear.atZero : clear.otherwise, *seen);
            if (!said.empty())
                text += (text.empty() ? "" : ", ") + said;
        }
        return text.empty() ? "no value has reached its limit" : text;
    }

    const Reading& reading_;
    const Reading* before_;
    std::span<const KnownCount> known_;
    std::vector<Signal> knownSignals_; ///< what was seen and is known
    std::vector<Attribute> attributes_;
    std::vector<Attribute> earlier_;
    std::vector<Observation> observations_;
    std::optional<std::int64_t> hours_; ///< powered, since the earlier reading
    Verdict verdict_;
};

} // namespace

Verdict judge(const Reading& now)
{
    return judge(now, Past());
}

Verdict judge(const Reading& now, const Reading& before)
{
    return judge(now, Past{.before = &before, .known = {}});
}

Verdict judge(const Reading& now, const Past& past)
{
    return Judgement(now, past).verdict();
}

std::optional<KnownCount> knownCount(const Reason& reason)
{
    const bool weighs = reason.level != Level::good && reason.level != Level::unknown;
    const bool isCount = reason.value && !reason.limit &&
                         (reason.value->unit == Unit::count || reason.value->unit == Unit::sectors ||
                          reason.value->unit == Unit::blocks);
    if (!weighs || !isCount)
        return std::nullopt;
    return KnownCount{std::string(reason.rule), reason.name, reason.value->number};
}

Reading readingOf(const SmartObject& result, bool isSSD)
{
    Reading reading{.data = result.rawData(), .isSSD = isSSD};
    if (result.rawThresholds())
        reading.thresholds = *result.rawThresholds();
    if (result.as<NVMeSmartObject>()) {
        reading.kind = Reading::Kind::nvme;
        reading.isSSD = true;
    }
    result.visit([&](const auto& record) {
        reading.model = record.deviceInfo.model;
        reading.serial = record.deviceInfo.serial;
        reading.firmware = record.deviceInfo.firmware;
    });
    return reading;
}

} // namespace vantorel::health
