// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Machine.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Registry entries in the shapes that the platform gives them, for machines made by hand.
namespace vantorel::test {

inline system::RegistryEntry entry(std::uint64_t id, std::string name, std::string className,
                                   std::vector<std::uint64_t> parents, PropertyTable properties = {},
                                   std::string location = {})
{
    return {id, std::move(name),    std::move(location),  std::move(className),
            {}, std::move(parents), std::move(properties)};
}

/// Media with the properties that every media has; `more` adds to them or replaces them.
inline system::RegistryEntry media(std::uint64_t id, const std::string& bsdName, bool whole, std::uint64_t parent,
                                   const PropertyTable& more = {})
{
    PropertyTable properties{{"BSD Name", bsdName},
                             {"BSD Unit", 0},
                             {"BSD Major", 1},
                             {"BSD Minor", 0},
                             {"Whole", whole},
                             {"Leaf", !whole},
                             {"Size", 500277792768},
                             {"Writable", true},
                             {"Ejectable", false},
                             {"Removable", false},
                             {"Preferred Block Size", 4096}};
    for (const auto& [key, value] : more)
        properties.insert_or_assign(key, value);
    return entry(id, bsdName + " media", "IOMedia", {parent}, std::move(properties));
}

/// A drive at the top of the tree: a block storage device with the id `first`, its driver and its whole media, which
/// have the two ids after it.
inline std::vector<system::RegistryEntry> drive(std::uint64_t first, const std::string& bsdName,
                                                PropertyTable deviceProperties = {})
{
    return {entry(first, "IOAHCIBlockStorageDevice", "IOAHCIBlockStorageDevice", {}, std::move(deviceProperties)),
            entry(first + 1, "IOBlockStorageDriver", "IOBlockStorageDriver", {first}),
            media(first + 2, bsdName, true, first + 1)};
}

} // namespace vantorel::test
