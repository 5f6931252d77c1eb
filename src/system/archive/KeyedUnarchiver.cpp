// SPDX-License-Identifier: GPL-2.0-or-later
#include "XmlArchive.h"
#include "system/propertylist/BinaryPropertyList.h"
#include "vantorel/base/Text.h"
#include "vantorel/system/KeyedArchiver.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vantorel::system {

namespace {

constexpr std::int64_t archiveVersion = 100000;
constexpr std::size_t mostValues = 1'000'000;
constexpr std::size_t mostSharedBytes = std::size_t{64} << 20;
constexpr std::size_t mostMembers = 64; // an object of a known class has less than ten

/// The classes that can be read; a mutable variant names its plain class in its chain.
enum class Class { null, text, data, array, dictionary, set, date, uuid, url };

constexpr std::array<std::pair<std::string_view, Class>, 9> classNames = {{
    {"NSNull", Class::null},
    {"NSString", Class::text},
    {"NSData", Class::data},
    {"NSArray", Class::array},
    {"NSDictionary", Class::dictionary},
    {"NSSet", Class::set},
    {"NSDate", Class::date},
    {"NSUUID", Class::uuid},
    {"NSURL", Class::url},
}};

std::optional<Class> classNamed(std::string_view name)
{
    const auto* const found = std::ranges::find(classNames, name, [](const auto& entry) { return entry.first; });
    return found == classNames.end() ? std::nullopt : std::optional(found->second);
}

/// A text of the archive for a message: cut to a bearable length, without what could drive a terminal.
std::string quoted(std::string_view text)
{
    constexpr std::size_t longest = 80;
    std::string shown = base::toUtf8(text.substr(0, longest));
    std::ranges::replace_if(
        shown, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return '"' + shown + '"';
}

/// Follows the references of an archive from its root. A slot is an object's place in "$objects".
class Unarchiver {
public:
    Unarchiver(const ObjectTable& plist, std::size_t archiveSize)
        : plist_(plist), bytesLeft_(archiveSize + mostSharedBytes)
    {}

    PropertyValue root()
    {
        const auto* const list = std::get_if<ObjectTable::Dictionary>(&plist_.objects[plist_.top]);
        const auto* const slots = list ? member<ObjectTable::Array>(*list, "$objects") : nullptr;
        const auto* const top = list ? member<ObjectTable::Dictionary>(*list, "$top") : nullptr;
        if (!slots || !top)
            throw KeyedArchiveError("a property list without \"$objects\" and \"$top\" is no keyed archive");
        const auto* const version = member<PropertyValue>(*list, "$version");
        if (!version || version->get<std::int64_t>() != archiveVersion)
            throw KeyedArchiveError("not a keyed archive of version " + std::to_string(archiveVersion));
        const auto* const root = member<ObjectTable::Uid>(*top, "root");
        if (!root)
            throw KeyedArchiveError("the archive has no root object");

        slots_ = slots;
        open_.resize(slots->size());
        classes_.resize(slots->size());
        return object(*root, 0);
    }

private:
    [[noreturn]] void fail(const std::string& fault) const
    {
        throw KeyedArchiveError("object " + std::to_string(slot_) + " of the archive: " + fault);
    }

    /// The member of a dictionary of the list itself, when it is there as a `T`; of equal keys the first. Many objects
    /// may share a dictionary, so that only so many members are looked at.
    template <typename T>
    const T* member(const ObjectTable::Dictionary& dictionary, std::string_view key) const
    {
        for (std::size_t i = 0; i < std::min(dictionary.keys.size(), mostMembers); ++i) {
            const auto* const name = std::get_if<PropertyValue>(&plist_.objects[dictionary.keys[i]]);
            if (name && name->text() && *name->text() == key)
                return std::get_if<T>(&plist_.objects[dictionary.values[i]]);
        }
        return nullptr;
    }

    /// The entry of the list that a reference leads to.
    const ObjectTable::Object& entry(ObjectTable::Uid reference) const
    {
        if (reference.value >= slots_->size())
            fail("refers to object " + std::to_string(reference.value) + " of " + std::to_string(slots_->size()));
        return plist_.objects[(*slots_)[reference.value]];
    }

    /// The value a reference leads to. Object 0 is nil by definition, whatever lies there.
    PropertyValue object(ObjectTable::Uid reference, int depth)
    {
        if (reference.value == 0)
            return copied(nullptr);
        const ObjectTable::Object& object = entry(reference);
        const std::size_t outer = std::exchange(slot_, static_cast<std::size_t>(reference.value));
        if (depth > deepestArchivedValue)
            fail("is nested deeper than " + std::to_string(deepestArchivedValue));
        if (open_[slot_])
            fail("contains itself");
        open_[slot_] = true;
        PropertyValue value = decode(object, depth);
        open_[slot_] = false;
        slot_ = outer;
        return value;
    }

    PropertyValue decode(const ObjectTable::Object& object, int depth)
    {
        if (const auto* const leaf = std::get_if<PropertyValue>(&object))
            return copied(*leaf);
        if (const auto* const date = std::get_if<ObjectTable::Date>(&object))
            return copied(date->seconds);
        const auto* const members = std::get_if<ObjectTable::Dictionary>(&object);
        if (!members)
            fail("is a bare array or reference");
        switch (classOf(*members)) {
        case Class::null:
            return copied(nullptr);
        case Class::text:
            return raw(*members, "NS.string", PropertyValue::Type::text);
        case Class::data:
            return raw(*members, "NS.data", PropertyValue::Type::data);
        case Class::array:
        case Class::set:
            return array(*members, depth);
        case Class::dictionary:
            return table(*members, depth);
        case Class::date:
            return date(*members);
        case Class::uuid:
            return uuid(*members);
        case Class::url:
            return url(*members, depth);
        }
        fail("is of an unknown class");
    }

    /// The nearest class in the object's chain that can be read, worked out once for each class.
    Class classOf(const ObjectTable::Dictionary& members)
    {
        const auto* const reference = member<ObjectTable::Uid>(members, "$class");
        if (!reference)
            fail("has no class");
        const auto* const description = std::get_if<ObjectTable::Dictionary>(&entry(*reference));
        std::optional<Class>& known = classes_[reference->value];
        if (known)
            return *known;
        const auto* const name = description ? member<PropertyValue>(*description, "$classname") : nullptr;
        if (!name || !name->text())
            fail("has a class without a name");
        known = classNamed(*name->text());
        const auto* const chain = member<ObjectTable::Array>(*description, "$classes");
        for (std::size_t i = 0; chain && !known && i < std::min(chain->size(), mostMembers); ++i) {
            const auto* const ancestor = std::get_if<PropertyValue>(&plist_.objects[(*chain)[i]]);
            if (ancestor && ancestor->text())
                known = classNamed(*ancestor->text());
        }
        if (!known)
            fail("is of the class " + quoted(*name->text()) + ", which cannot be read");
        return *known;
    }

    /// The references under a key, each of which is one.
    const ObjectTable::Array& references(const ObjectTable::Dictionary& members, std::string_view key) const
    {
        const auto* const list = member<ObjectTable::Array>(members, key);
        if (!list)
            fail("has no array " + std::string(key));
        return *list;
    }

    ObjectTable::Uid reference(ObjectTable::Index index) const
    {
        const auto* const uid = std::get_if<ObjectTable::Uid>(&plist_.objects[index]);
        if (!uid)
            fail("lists something that is no reference");
        return *uid;
    }

    PropertyValue array(const ObjectTable::Dictionary& members, int depth)
    {
        spend(0);
        PropertyArray array;
        for (const ObjectTable::Index index : references(members, "NS.objects"))
            array.push_back(object(reference(index), depth + 1));
        return array;
    }

    PropertyValue table(const ObjectTable::Dictionary& members, int depth)
    {
        spend(0);
        const ObjectTable::Array& keys = references(members, "NS.keys");
        const ObjectTable::Array& values = references(members, "NS.objects");
        if (keys.size() != values.size())
            fail("has " + std::to_string(keys.size()) + " keys for " + std::to_string(values.size()) + " values");
        PropertyTable table;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const PropertyValue key = object(reference(keys[i]), depth + 1);
            if (!key.text())
                fail("has a key that is no text");
            const auto [place, isNew] = table.try_emplace(*key.text());
            if (!isNew)
                fail("has the key " + quoted(*key.text()) + " twice");
            place->second = object(reference(values[i]), depth + 1);
        }
        return table;
    }

    /// A text or data that lies in the object itself or, as some archivers write it, behind a reference.
    PropertyValue raw(const ObjectTable::Dictionary& members, std::string_view key, PropertyValue::Type type)
    {
        const auto* leaf = member<PropertyValue>(members, key);
        if (const auto* const reference = member<ObjectTable::Uid>(members, key))
            leaf = std::get_if<PropertyValue>(&entry(*reference));
        if (!leaf || leaf->type() != type)
            fail("has no " + std::string(key));
        return copied(*leaf);
    }

    PropertyValue date(const ObjectTable::Dictionary& members)
    {
        const auto* const time = member<PropertyValue>(members, "NS.time");
        const auto seconds = time ? time->get<double>() : std::nullopt;
        if (!seconds)
            fail("has no NS.time");
        return copied(*seconds);
    }

    PropertyValue uuid(const ObjectTable::Dictionary& members)
    {
        const auto* const leaf = member<PropertyValue>(members, "NS.uuidbytes");
        const Data* const data = leaf ? leaf->data() : nullptr;
        if (!data || data->size() != sizeof(base::Uuid))
            fail("has no sixteen NS.uuidbytes");
        base::Uuid uuid;
        std::ranges::copy(*data, uuid.bytes.begin());
        return copied(uuid);
    }

    PropertyValue url(const ObjectTable::Dictionary& members, int depth)
    {
        const auto* const relative = member<ObjectTable::Uid>(members, "NS.relative");
        if (!relative)
            fail("has no NS.relative");
        PropertyValue text = object(*relative, depth + 1);
        if (!text.text())
            fail("has an NS.relative that is no text");
        const auto* const base = member<ObjectTable::Uid>(members, "NS.base");
        if (!base || base->value == 0)
            return text;
        spend(0);
        return PropertyTable{{"NS.base", object(*base, depth + 1)}, {"NS.relative", std::move(text)}};
    }

    /// A copy that is counted.
    PropertyValue copied(const PropertyValue& value)
    {
        spend(value.text() ? value.text()->size() : value.data() ? value.data()->size() : 0);
        return value;
    }

    /// Counts one more value of so many bytes of text or data.
    void spend(std::size_t bytes)
    {
        if (valuesLeft_ == 0 || bytes > bytesLeft_)
            throw KeyedArchiveError("the archive expands to more than it may");
        --valuesLeft_;
        bytesLeft_ -= bytes;
    }

    const ObjectTable& plist_;
    const ObjectTable::Array* slots_ = nullptr;
    std::vector<bool> open_;                    // the objects that the present one lies in
    std::vector<std::optional<Class>> classes_; // by the slot of the class
    std::size_t slot_ = 0;                      // the object being read, for messages
    std::size_t valuesLeft_ = mostValues;
    std::size_t bytesLeft_;
};

} // namespace

bool isKeyedArchive(DataView bytes)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto holds = [text](std::string_view mark) { return text.find(mark) != std::string_view::npos; };
    const auto start = std::ranges::find_if(bytes, [](std::uint8_t byte) { return byte > ' '; });
    const bool isXml = start != bytes.end() && (*start == '<' || *start == 0xEF); // or a byte order mark
    return (isXml || isBinaryPropertyList(bytes)) && holds("$archiver") && holds("$objects") && holds("$top");
}

PropertyValue unarchiveObjectWithData(DataView archive)
{
    try {
        const ObjectTable plist =
            isBinaryPropertyList(archive) ? readBinaryPropertyList(archive) : readXmlArchive(archive);
        return Unarchiver(plist, archive.size()).root();
    } catch (const PropertyListError& error) {
        throw KeyedArchiveError(error.what());
    }
}

} // namespace vantorel::system
