// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/KeyedArchiver.h"

#include "system/propertylist/BinaryPropertyList.h"
#include "vantorel/base/Text.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantorel::system {

namespace {

/// What makes two numbers the same object: kind and bits, so that true is not 1, and NaN and -0 stay what they are.
using NumberKey = std::tuple<PropertyValue::Type, bool, std::uint64_t>;

NumberKey numberKey(const PropertyValue& number)
{
    const PropertyValue::Type type = number.type();
    if (const auto boolean = number.get<bool>())
        return {type, false, *boolean};
    if (const auto integer = number.get<std::uint64_t>())
        return {type, false, *integer};
    if (const auto integer = number.get<std::int64_t>())
        return {type, true, static_cast<std::uint64_t>(*integer)};
    return {type, false, std::bit_cast<std::uint64_t>(number.get<double>().value_or(0))};
}

/// Builds the property list of an archive. An archived object has a slot, its place in "$objects", which it takes at
/// first sight, before its contents and its class: that is the order of the platform's own archiver.
class Archiver {
public:
    Data archive(const PropertyValue& root)
    {
        plist_.add(ObjectTable::Dictionary{}); // the list's own root, filled last, has index 0
        newSlot(name("$null"));
        const std::size_t rootSlot = encode(root, 0);
        const auto top = plist_.add(ObjectTable::Dictionary{{name("root")}, {reference(rootSlot)}});
        plist_.objects[0] = ObjectTable::Dictionary{
            {name("$version"), name("$objects"), name("$archiver"), name("$top")},
            {plist_.add(PropertyValue(100000)), plist_.add(slots_), name("NSKeyedArchiver"), top}};
        return writeBinaryPropertyList(plist_);
    }

private:
    using Index = ObjectTable::Index;

    /// The slot of a value, which is encoded now unless it is a leaf that already has one.
    std::size_t encode(const PropertyValue& value, int depth)
    {
        if (depth > deepestArchivedValue)
            throw KeyedArchiveError("a value nested deeper than " + std::to_string(deepestArchivedValue) +
                                    " cannot be archived");
        if (value.isNull())
            return null();
        if (const PropertyTable* const table = value.table())
            return encode(*table, depth);
        if (const PropertyArray* const array = value.array())
            return encode(*array, depth);
        if (const auto uuid = value.get<base::Uuid>()) {
            const std::size_t slot = newSlot();
            const Index bytes = plist_.add(PropertyValue(Data(uuid->bytes.begin(), uuid->bytes.end())));
            return fill(slot, "NSUUID", {{"NS.uuidbytes", bytes}});
        }
        if (const std::string* const characters = value.text())
            return encode(*characters);
        if (value.data())
            return newSlot(plist_.add(value));
        const auto [known, isNew] = numbers_.try_emplace(numberKey(value), slots_.size());
        if (isNew)
            newSlot(plist_.add(value));
        return known->second;
    }

    std::size_t encode(const PropertyTable& table, int depth)
    {
        const std::size_t slot = newSlot();
        ObjectTable::Array keys;
        ObjectTable::Array values;
        for (const auto& [key, value] : table)
            keys.push_back(reference(encode(key)));
        for (const auto& [key, value] : table)
            values.push_back(reference(encode(value, depth + 1)));
        const Index keyList = plist_.add(std::move(keys));
        const Index valueList = plist_.add(std::move(values));
        return fill(slot, "NSDictionary", {{"NS.keys", keyList}, {"NS.objects", valueList}});
    }

    std::size_t encode(const PropertyArray& array, int depth)
    {
        const std::size_t slot = newSlot();
        ObjectTable::Array elements;
        for (const PropertyValue& element : array)
            elements.push_back(reference(encode(element, depth + 1)));
        const Index elementList = plist_.add(std::move(elements));
        return fill(slot, "NSArray", {{"NS.objects", elementList}});
    }

    /// The keys of `texts_` are views into the root value, which outlives the archiver.
    std::size_t encode(const std::string& characters)
    {
        const auto [known, isNew] = texts_.try_emplace(characters, slots_.size());
        if (!isNew)
            return known->second;
        const std::size_t slot = newSlot(plist_.add(PropertyValue(base::toUtf8(characters))));
        if (characters == "$null") // stored raw, readers would take it for a nil reference
            fill(slot, "NSString", {{"NS.string", slots_[slot]}});
        return slot;
    }

    std::size_t null()
    {
        if (!null_) {
            null_ = newSlot();
            fill(*null_, "NSNull", {});
        }
        return *null_;
    }

    /// Takes the next slot, for the entry `object` of the list or, while its contents are encoded, for none yet.
    std::size_t newSlot(Index object = 0)
    {
        slots_.push_back(object);
        return slots_.size() - 1;
    }

    /// Puts the finished object into its slot, its class behind its contents.
    std::size_t fill(std::size_t slot, std::string_view className,
                     std::initializer_list<std::pair<std::string_view, Index>> members)
    {
        ObjectTable::Dictionary object;
        for (const auto& [key, value] : members) {
            object.keys.push_back(name(key));
            object.values.push_back(value);
        }
        object.keys.push_back(name("$class"));
        object.values.push_back(reference(classSlot(className)));
        slots_[slot] = plist_.add(std::move(object));
        return slot;
    }

    std::size_t classSlot(std::string_view className)
    {
        const auto [known, isNew] = classes_.try_emplace(className, slots_.size());
        if (isNew) {
            const Index chain = plist_.add(ObjectTable::Array{name(className), name("NSObject")});
            newSlot(
                plist_.add(ObjectTable::Dictionary{{name("$classname"), name("$classes")}, {name(className), chain}}));
        }
        return known->second;
    }

    /// A text of the format itself, once in the list. The argument is a literal.
    Index name(std::string_view text)
    {
        const auto [known, isNew] = names_.try_emplace(text, Index{0});
        if (isNew)
            known->second = plist_.add(PropertyValue(text));
        return known->second;
    }

    /// The reference to a slot, once in the list.
    Index reference(std::size_t slot)
    {
        references_.resize(std::max(references_.size(), slot + 1));
        if (!references_[slot])
            references_[slot] = plist_.add(ObjectTable::Uid{slot});
        return *references_[slot];
    }

    ObjectTable plist_;
    ObjectTable::Array slots_;
    std::unordered_map<std::string_view, std::size_t> texts_;
    std::map<NumberKey, std::size_t> numbers_;
    std::map<std::string_view, std::size_t> classes_;
    std::map<std::string_view, Index> names_;
    std::vector<std::optional<Index>> references_;
    std::optional<std::size_t> null_;
};

} // namespace

Data archivedDataWithRootObject(const PropertyValue& rootObject)
{
    return Archiver().archive(rootObject);
}

} // namespace vantorel::system
