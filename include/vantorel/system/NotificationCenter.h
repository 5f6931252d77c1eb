// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// What is posted: a name, and an object of any type or none.
struct Notification {
    std::string name;
    std::any object;

    /// The object as a `T`; nothing when there is none or it is of another type.
    template <typename T>
    [[nodiscard]] const T* as() const
    {
        return std::any_cast<T>(&object);
    }
};

/// Passes notifications by name. Posting is synchronous: when it returns, every observer has run, on the posting
/// thread. An observer may post, add and remove; whoever is added during a posting hears from the next one on.
class NotificationCenter {
public:
    using Observer = std::function<void(const Notification&)>;
    using Token = std::uint64_t;

    /// The centre of the process; lives until it ends.
    [[nodiscard]] static NotificationCenter& defaultCenter();

    /// Tells `observer` of every notification of this name, whoever posts it, until `removeObserver`.
    Token addObserver(std::string_view name, Observer observer);
    void removeObserver(Token token);
    /// Tells all observers of the name, in order of adding. An observer that throws ends the posting.
    void postNotificationName(std::string_view name, std::any object);

private:
    std::mutex mutex_;
    Token lastToken_ = 0;
    std::map<std::string, std::vector<std::pair<Token, Observer>>, std::less<>> observers_;
};

} // namespace system
} // namespace vantorel
