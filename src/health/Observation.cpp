// SPDX-License-Identifier: GPL-2.0-or-later
#include "Observation.h"

#include "vantorel/health/TemperatureLimits.h"

#include <algorithm>

namespace vantorel::health {

namespace {

TypedValue plain(Int128 number, Unit unit = Unit::none)
{
    return {.number = number, .unit = unit, .raw = static_cast<UInt128>(number)};
}

bool hasLimit(const Attribute& attribute)
{
    return attribute.threshold && *attribute.threshold >= 1 && *attribute.threshold <= 253;
}

/// What counts damage, so that a limit on it tells more than age.
bool countsDamage(Meaning meaning)
{
    using enum Meaning;
    switch (meaning) {
    case reallocatedSectors:
    case pendingSectors:
    case uncorrectable:
    case reportedUncorrect:
    case endToEndErrors:
    case spinRetries:
    case spareLeftByValue:
    case badBlocksGrown:
        return true;
    default:
        return false;
    }
}

/// Collects what is seen, attribute by attribute.
class Observer {
public:
    Observer(const Reading& reading, const std::vector<Attribute>& attributes, const std::vector<Attribute>& earlier)
        : reading_(reading), attributes_(attributes), earlier_(earlier)
    {
        observations_.reserve(16);
    }

    std::vector<Observation> all()
    {
        for (const Attribute& attribute : attributes_) {
            if (reading_.kind == Reading::Kind::ata)
                atLimit(attribute);
            byMeaning(attribute);
        }
        heat();
        if (reading_.kind == Reading::Kind::nvme)
            log();
        else
            clock();
        return std::move(observations_);
    }

private:
    Observation& add(Signal signal, const Attribute& attribute, const TypedValue& value)
    {
        observations_.push_back({.signal = signal,
                                 .attribute = &attribute,
                                 .value = value,
                                 .isSure = attribute.confidence != Confidence::low});
        return observations_.back();
    }

    /// A count, beside that of the earlier reading.
    void addCount(Signal signal, const Attribute& attribute)
    {
        if (!attribute.value.plausible)
            return;
        Observation& observation = add(signal, attribute, attribute.value);
        const Attribute* const before = sameAttribute(attribute, earlier_);
        if (before && before->value.plausible)
            observation.before = before->value.number;
    }

    void atLimit(const Attribute& attribute)
    {
        if (!hasLimit(attribute) || attribute.nameSource == NameSource::nothing || attribute.valueIsRaw ||
            attribute.meaning == Meaning::notUsed)
            return;
        const std::uint8_t limit = *attribute.threshold;
        const bool damage = countsDamage(attribute.meaning);
        if (attribute.current <= limit) {
            if (attribute.preFail || damage)
                addLimit(attribute.preFail ? Signal::preFailLimit : Signal::errorLimit, attribute, attribute.current);
        } else if (attribute.worst <= limit && attribute.preFail && damage) {
            addLimit(Signal::errorLimitOnce, attribute, attribute.worst);
        }
    }

    /// A limit is the maker's, whatever is known of the meaning behind it.
    void addLimit(Signal signal, const Attribute& attribute, std::uint8_t value)
    {
        Observation& observation = add(signal, attribute, plain(value));
        observation.limit = plain(*attribute.threshold);
        observation.isSure = true;
    }

    void byMeaning(const Attribute& attribute)
    {
        using enum Meaning;
        if (const auto wear = wearOf(attribute)) {
            add(Signal::wear, attribute, *wear);
            return;
        }
        switch (attribute.meaning) {
        case pendingSectors:
            return addCount(Signal::pending, attribute);
        case uncorrectable:
            return addCount(Signal::uncorrectable, attribute);
        case reportedUncorrect:
            return addCount(Signal::reportedUncorrect, attribute);
        case mediaErrors:
            return addCount(Signal::mediaErrors, attribute);
        case reallocatedSectors:
            return addCount(Signal::reallocated, attribute);
        case reallocationEvents:
            return addCount(Signal::reallocationEvents, attribute);
        case endToEndErrors:
            return addCount(Signal::endToEnd, attribute);
        case spinRetries:
            return addCount(Signal::spinRetries, attribute);
        case calibrationRetries:
            return addCount(Signal::calibrationRetries, attribute);
        case badBlocksGrown:
            return addCount(Signal::grownBlocks, attribute);
        case interfaceErrors:
            return addCount(Signal::interfaceErrors, attribute);
        case linkDownshifts:
            return addCount(Signal::linkDownshifts, attribute);
        case commandTimeouts:
            return addCount(Signal::commandTimeouts, attribute);
        case unsafeShutdowns:
            return addCount(Signal::unsafeShutdowns, attribute);
        case errorLogEntries:
            return addCount(Signal::refusedCommands, attribute);
        case reserveUsed:
            return addCount(Signal::reserveUsed, attribute);
        case writeProtection:
            return addCount(Signal::writeProtection, attribute);
        case spareLeftByValue:
        case spareUsedBlocks:
            // 0 without a limit is a normal way to say nothing.
            if (attribute.current <= 100 && (attribute.current > 0 || hasLimit(attribute)))
                add(Signal::spare, attribute, plain(attribute.current, Unit::percent));
            return;
        case spareLeft:
            if (reading_.kind == Reading::Kind::ata)
                addCount(Signal::spare, attribute);
            return;
        case helium:
            if (attribute.current >= 1 && attribute.current <= 100)
                add(Signal::helium, attribute, plain(attribute.current));
            return;
        default:
            return;
        }
    }

    const Attribute* find(Meaning meaning) const
    {
        const auto found = std::ranges::find(attributes_, meaning, &Attribute::meaning);
        return found == attributes_.end() ? nullptr : &*found;
    }

    void heat()
    {
        const Attribute* const temperature = find(Meaning::temperature);
        if (!temperature || !temperature->value.plausible)
            return;
        const auto add = [&](Signal signal, int limit) {
            this->add(signal, *temperature, temperature->value).limit = {
                .number = Int128{limit} * (temperature->value.decimals == 1 ? 10 : 1),
                .decimals = temperature->value.decimals,
                .unit = Unit::celsius};
        };
        const auto [warning, critical] = temperatureLimits(reading_);
        if (critical)
            add(critical->isUsual ? Signal::usualCriticalHeat : Signal::criticalHeat, critical->celsius);
        if (warning)
            add(warning->isUsual ? Signal::usualHeat : Signal::heat, warning->celsius);
    }

    /// What only the health log of an NVMe drive tells.
    void log()
    {
        const Attribute* const spare = find(Meaning::spareLeft);
        const Attribute* const limit = find(Meaning::spareLimit);
        const Attribute* const used = find(Meaning::enduranceUsed);
        const Attribute* const media = find(Meaning::mediaErrors);
        const Attribute* const warning = find(Meaning::criticalWarning);
        if (!spare || !limit || !used || !media || !warning)
            return;
        const bool spareTold = spare->value.plausible && limit->value.plausible;
        if (spareTold) {
            add(Signal::logSpare, *spare, spare->value).limit = limit->value;
            const Int128 fall = 100 - spare->value.number - used->value.number;
            if (used->value.plausible && fall > 0)
                add(Signal::spareFall, *spare, plain(fall, Unit::percent));
        }
        const auto over = std::ranges::find(attributes_, "CriticalTemperatureTime", &Attribute::name);
        if (over != attributes_.end())
            addCount(Signal::criticalHeatTime, *over);

        const auto bits = static_cast<unsigned>(warning->value.raw);
        // Some firmware gives up its reliability at 100 % used alone.
        const bool onlyWorn = (bits & 0b1001U) == 0 && used->value.plausible && used->value.number >= 100 &&
                              media->value.number == 0 && spareTold && spare->value.number >= limit->value.number;
        const auto warn = [&](unsigned mask, Signal signal, const Attribute& about) {
            if ((bits & mask) != 0)
                add(signal, about, about.value);
        };
        warn(0x01, Signal::warnsSpare, *warning);
        warn(0x02, Signal::warnsHeat, *warning);
        warn(0x04, onlyWorn ? Signal::warnsReliabilityWorn : Signal::warnsReliability, onlyWorn ? *used : *warning);
        warn(0x08, Signal::warnsReadOnly, *warning);
        warn(0x10, Signal::warnsBackup, *warning);
        warn(0x20, Signal::warnsPersistentMemory, *warning);
        warn(0xC0, Signal::warnsReserved, *warning);
    }

    /// The heads of a disk cannot have flown for longer than the disk was on, nor its age have been higher before.
    void clock()
    {
        const Attribute* const time = find(Meaning::powerOnTime);
        const auto hours = time ? wholeHours(time->value) : std::nullopt;
        if (!hours)
            return;
        const auto flying = std::ranges::find(attributes_, "Head_Flying_Hours", &Attribute::name);
        const auto flown = flying == attributes_.end() ? std::nullopt : wholeHours(flying->value);
        if ((flown && *flown > *hours + 24) || (time->worst != 0 && time->worst + 5 < time->current))
            add(Signal::clockWentBack, *time, time->value);
    }

    const Reading& reading_;
    const std::vector<Attribute>& attributes_;
    const std::vector<Attribute>& earlier_;
    std::vector<Observation> observations_;
};

} // namespace

const Attribute* sameAttribute(const Attribute& attribute, const std::vector<Attribute>& earlier)
{
    const auto found = std::ranges::find_if(earlier, [&](const Attribute& other) {
        return other.id == attribute.id && other.name == attribute.name && other.value.unit == attribute.value.unit &&
               other.value.decimals == attribute.value.decimals;
    });
    return found == earlier.end() ? nullptr : &*found;
}

std::optional<TypedValue> wearOf(const Attribute& attribute)
{
    const TypedValue& value = attribute.value;
    const auto used = [&](Int128 left) {
        TypedValue percent = value;
        percent.number = (value.decimals == 2 ? 10'000 : 100) - left;
        percent.unit = Unit::percent;
        return percent;
    };
    // By value 1 is the end of the scale, and 0 of a value that never was another says nothing.
    const auto byValue = [&](int current, int worst) -> std::optional<TypedValue> {
        if (current > 100 || (current <= 0 && worst <= 0))
            return std::nullopt;
        TypedValue percent = plain(current <= 1 ? 100 : 100 - current, Unit::percent);
        percent.raw = attribute.current;
        return percent;
    };
    switch (attribute.meaning) {
    case Meaning::enduranceLeftByValue:
        return byValue(attribute.current, attribute.worst);
    case Meaning::enduranceLeftFrom200:
        return byValue(attribute.current - 100, attribute.worst - 100);
    case Meaning::enduranceLeft:
        return value.plausible ? std::optional(used(value.number)) : std::nullopt;
    case Meaning::enduranceUsed:
        return value.plausible ? std::optional(value) : std::nullopt;
    default:
        return std::nullopt;
    }
}

std::vector<Observation> observe(const Reading& reading, const std::vector<Attribute>& attributes,
                                 const std::vector<Attribute>& earlier)
{
    return Observer(reading, attributes, earlier).all();
}

} // namespace vantorel::health
