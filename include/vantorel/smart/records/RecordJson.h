// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/smart/records/SmartObject.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// The JSON form of the records. A record is one object whose keys are the names of its fields, in their order;
/// byte buffers are Base64 texts (RFC 4648, no line breaks), enumerations their raw texts, numbers plain integers.
/// An absent optional field is left out.
namespace VANTOREL_PUBLIC vantorel {

/// A JSON text that is no such record. `what()` names the place, the record's type and the fault:
/// `smartValues[2].id (ATASmartValue): 256 does not fit 0 to 255`.
class JsonError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The JSON form of a record, on one line. Bytes of a text that are no UTF-8 come out as U+FFFD.
template <typename Record>
[[nodiscard]] std::string toJson(const Record& record);

/// Reads the JSON form of a record. Throws `JsonError` for a text that is no JSON, a required key that is missing or
/// null, a value of the wrong type, a number that does not fit and a text that no case of an enumeration has; nothing
/// partial is left. An optional key that is missing or null gives an absent field. Keys of no field are not looked at.
template <typename Record>
[[nodiscard]] Record fromJson(std::string_view json);

/// The JSON form of a record as a table; absent when the record has none.
template <typename Record>
[[nodiscard]] std::optional<PropertyTable> dictionary(const Record& record);

#define VANTOREL_RECORD_JSON(Record)                                                                                   \
    extern template std::string toJson(const Record&);                                                                 \
    extern template std::optional<PropertyTable> dictionary(const Record&);
#define VANTOREL_DECODABLE_RECORD_JSON(Record)                                                                         \
    VANTOREL_RECORD_JSON(Record)                                                                                       \
    extern template Record fromJson(std::string_view);

VANTOREL_DECODABLE_RECORD_JSON(ATADeviceInfo)
VANTOREL_DECODABLE_RECORD_JSON(ATASmartValue)
VANTOREL_DECODABLE_RECORD_JSON(ATASmartObject)
VANTOREL_DECODABLE_RECORD_JSON(NVMePowerState)
VANTOREL_DECODABLE_RECORD_JSON(NVMeDeviceInfo)
VANTOREL_DECODABLE_RECORD_JSON(NVMeSmartValue)
VANTOREL_DECODABLE_RECORD_JSON(NVMeSmartError)
VANTOREL_DECODABLE_RECORD_JSON(NVMeSmartObject)
VANTOREL_RECORD_JSON(SmartObject)

#undef VANTOREL_DECODABLE_RECORD_JSON
#undef VANTOREL_RECORD_JSON

} // namespace vantorel
