// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/smart/records/AtaSmartObject.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <string_view>
#include <tuple>

/// The one list of fields a record, in declared order, from which its JSON form is written and read.
namespace vantorel::records {

template <typename Record, typename Value>
struct Field {
    std::string_view key;
    Value Record::*member;
};

template <typename Record, typename Value>
Field(const char*, Value Record::*) -> Field<Record, Value>;

/// `name`: the record's type, for messages. `fields`: a tuple of `Field`.
template <typename Record>
struct Description;

#define VANTOREL_FIELD(member)                                                                                         \
    Field                                                                                                              \
    {                                                                                                                  \
#member, &Record::member                                                                                       \
    }
#define VANTOREL_RECORD(Type, ...)                                                                                     \
    template <>                                                                                                        \
    struct Description<Type> {                                                                                         \
        using Record = Type;                                                                                           \
        static constexpr std::string_view name = #Type;                                                                \
        static constexpr auto fields = std::make_tuple(__VA_ARGS__);                                                   \
    };

// clang-format off
VANTOREL_RECORD(ATADeviceInfo,
    VANTOREL_FIELD(model), VANTOREL_FIELD(serial), VANTOREL_FIELD(firmware))

VANTOREL_RECORD(ATASmartValue,
    VANTOREL_FIELD(id), VANTOREL_FIELD(name), VANTOREL_FIELD(formattedValue), VANTOREL_FIELD(current),
    VANTOREL_FIELD(worst), VANTOREL_FIELD(theshold), VANTOREL_FIELD(type), VANTOREL_FIELD(state),
    VANTOREL_FIELD(valueType), VANTOREL_FIELD(info))

VANTOREL_RECORD(ATASmartObject,
    VANTOREL_FIELD(deviceInfo), VANTOREL_FIELD(smartValues), VANTOREL_FIELD(health), VANTOREL_FIELD(assessment),
    VANTOREL_FIELD(status), VANTOREL_FIELD(temperature), VANTOREL_FIELD(rawData), VANTOREL_FIELD(rawThresholds))

VANTOREL_RECORD(NVMePowerState,
    VANTOREL_FIELD(maxPower), VANTOREL_FIELD(activePower), VANTOREL_FIELD(readThroughput),
    VANTOREL_FIELD(readLatency), VANTOREL_FIELD(writeThroughput), VANTOREL_FIELD(writeLatency),
    VANTOREL_FIELD(entryLatency), VANTOREL_FIELD(exitLatency))

VANTOREL_RECORD(NVMeDeviceInfo,
    VANTOREL_FIELD(model), VANTOREL_FIELD(serial), VANTOREL_FIELD(firmware), VANTOREL_FIELD(powerStates))

VANTOREL_RECORD(NVMeSmartValue,
    VANTOREL_FIELD(name), VANTOREL_FIELD(formattedValue), VANTOREL_FIELD(valueType), VANTOREL_FIELD(state),
    VANTOREL_FIELD(info))

VANTOREL_RECORD(NVMeSmartError,
    VANTOREL_FIELD(count), VANTOREL_FIELD(sqID), VANTOREL_FIELD(cmdID), VANTOREL_FIELD(status))

VANTOREL_RECORD(NVMeSmartObject,
    VANTOREL_FIELD(deviceInfo), VANTOREL_FIELD(smartValues), VANTOREL_FIELD(health), VANTOREL_FIELD(assessment),
    VANTOREL_FIELD(status), VANTOREL_FIELD(temperature), VANTOREL_FIELD(rawData), VANTOREL_FIELD(rawThresholds))
// clang-format on

#undef VANTOREL_RECORD
#undef VANTOREL_FIELD

template <typename T>
concept Described = requires
{
    Description<T>::fields;
};

} // namespace vantorel::records
