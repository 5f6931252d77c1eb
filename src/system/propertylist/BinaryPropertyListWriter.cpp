// SPDX-License-Identifier: GPL-2.0-or-later
#include "BinaryPropertyList.h"
#include "vantorel/base/Unicode.h"

#include <algorithm>
#include <bit>
#include <string>
#include <string_view>

namespace vantorel::system {

namespace {

/// The least of 1, 2, 4 and 8 bytes that hold the number.
unsigned widthOf(std::uint64_t number)
{
    return number <= 0xFF ? 1 : number <= 0xFFFF ? 2 : number <= 0xFFFF'FFFF ? 4 : 8;
}

bool isAscii(std::string_view text)
{
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

class Writer {
public:
    explicit Writer(const ObjectTable& table) : table_(table), referenceSize_(widthOf(table.objects.size() - 1)) {}

    Data write()
    {
        text("bplist00");
        std::vector<std::uint64_t> offsets;
        offsets.reserve(table_.objects.size());
        for (const ObjectTable::Object& object : table_.objects) {
            offsets.push_back(bytes_.size());
            std::visit([this](const auto& value) { put(value); }, object);
        }
        const std::uint64_t tableOffset = bytes_.size();
        const unsigned offsetSize = widthOf(tableOffset);
        for (const std::uint64_t offset : offsets)
            number(offset, offsetSize);

        number(0, 6);
        number(offsetSize, 1);
        number(referenceSize_, 1);
        number(offsets.size(), 8);
        number(table_.top, 8);
        number(tableOffset, 8);
        return std::move(bytes_);
    }

private:
    void number(std::uint64_t value, unsigned size)
    {
        for (unsigned i = size; i-- > 0;)
            bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }

    void text(std::string_view characters) { bytes_.insert(bytes_.end(), characters.begin(), characters.end()); }

    /// A marker with a length: in its low half, or in an integer behind it.
    void head(unsigned kind, std::uint64_t length)
    {
        number(kind << 4 | std::min<std::uint64_t>(length, 15), 1);
        if (length >= 15)
            integer(length);
    }

    void integer(std::uint64_t value)
    {
        const unsigned width = widthOf(value);
        number(0x10U | static_cast<unsigned>(std::countr_zero(width)), 1);
        number(value, width);
    }

    void put(const PropertyValue& value)
    {
        if (const auto boolean = value.get<bool>()) {
            number(*boolean ? 0x09 : 0x08, 1);
        } else if (const auto integral = value.get<std::int64_t>()) {
            if (*integral >= 0)
                return integer(static_cast<std::uint64_t>(*integral));
            number(0x13, 1);
            number(static_cast<std::uint64_t>(*integral), 8);
        } else if (const auto large = value.get<std::uint64_t>()) {
            number(0x14, 1); // eight bytes would read as a negative number
            number(0, 8);
            number(*large, 8);
        } else if (const auto real = value.get<double>()) {
            number(0x23, 1);
            number(std::bit_cast<std::uint64_t>(*real), 8);
        } else if (const Data* const data = value.data()) {
            head(0x4, data->size());
            bytes_.insert(bytes_.end(), data->begin(), data->end());
        } else if (const std::string* const characters = value.text()) {
            encode(*characters);
        }
    }

    void encode(const std::string& characters)
    {
        if (isAscii(characters)) {
            head(0x5, characters.size());
            return text(characters);
        }
        const Data units = base::bigEndianUtf16(characters);
        head(0x6, units.size() / 2);
        bytes_.insert(bytes_.end(), units.begin(), units.end());
    }

    void put(const ObjectTable::Uid& uid)
    {
        const unsigned width = widthOf(uid.value);
        number(0x80U | (width - 1), 1);
        number(uid.value, width);
    }

    void put(const ObjectTable::Date& date)
    {
        number(0x33, 1);
        number(std::bit_cast<std::uint64_t>(date.seconds), 8);
    }

    void put(const ObjectTable::Array& array)
    {
        head(0xA, array.size());
        references(array);
    }

    void put(const ObjectTable::Dictionary& dictionary)
    {
        head(0xD, dictionary.keys.size());
        references(dictionary.keys);
        references(dictionary.values);
    }

    void references(const std::vector<ObjectTable::Index>& indices)
    {
        for (const ObjectTable::Index index : indices)
            number(index, referenceSize_);
    }

    const ObjectTable& table_;
    unsigned referenceSize_;
    Data bytes_;
};

} // namespace

Data writeBinaryPropertyList(const ObjectTable& table)
{
    return Writer(table).write();
}

} // namespace vantorel::system
