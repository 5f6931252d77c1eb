// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/smart/records/AtaSmartObject.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <utility>
#include <variant>

namespace VANTOREL_PUBLIC vantorel {

/// A health result of either kind: an `ATASmartObject` or an `NVMeSmartObject`, held by value.
class SmartObject {
public:
    SmartObject(ATASmartObject object) : object_(std::move(object)) {}  // NOLINT(google-explicit-constructor)
    SmartObject(NVMeSmartObject object) : object_(std::move(object)) {} // NOLINT(google-explicit-constructor)

    /// The bytes that the result was made from, as far as the result keeps them. Owned by the result.
    [[nodiscard]] const Data& rawData() const
    {
        return std::visit([](const auto& object) -> const Data& { return object.rawData; }, object_);
    }

    /// The thresholds sector of an ATA result. Owned by the result.
    [[nodiscard]] const std::optional<Data>& rawThresholds() const
    {
        return std::visit([](const auto& object) -> const std::optional<Data>& { return object.rawThresholds; },
                          object_);
    }

    /// The result as a `T`, one of the two record types; nothing when it is of the other kind. Owned by the result.
    template <typename T>
    [[nodiscard]] const T* as() const
    {
        return std::get_if<T>(&object_);
    }

    /// Calls `function` with the record, whichever it is.
    template <typename Function>
    decltype(auto) visit(Function&& function) const
    {
        return std::visit(std::forward<Function>(function), object_);
    }

    bool operator==(const SmartObject&) const = default;

private:
    std::variant<ATASmartObject, NVMeSmartObject> object_;
};

} // namespace vantorel
