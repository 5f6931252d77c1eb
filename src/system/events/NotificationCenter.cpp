// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/NotificationCenter.h"

#include <algorithm>

namespace vantorel::system {

NotificationCenter& NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name, Observer observer)
{
    const std::scoped_lock lock(mutex_);
    observers_[std::string(name)].emplace_back(++lastToken_, std::move(observer));
    return lastToken_;
}

void NotificationCenter::removeObserver(Token token)
{
    const std::scoped_lock lock(mutex_);
    for (auto& [name, list] : observers_)
        std::erase_if(list, [token](const auto& entry) { return entry.first == token; });
}

void NotificationCenter::postNotificationName(std::string_view name, std::any object)
{
    // A copy of the list, so that observers may add and remove observers while they are told.
    std::vector<std::pair<Token, Observer>> told;
    {
        const std::scoped_lock lock(mutex_);
        if (const auto found = observers_.find(name); found != observers_.end())
            told = found->second;
    }
    const Notification notification{std::string(name), std::move(object)};
    for (const auto& [token, observer] : told)
        observer(notification);
}

} // namespace vantorel::system
