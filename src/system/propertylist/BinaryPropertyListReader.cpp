// SPDX-License-Identifier: GPL-2.0-or-later
#include "BinaryPropertyList.h"
#include "vantorel/base/Text.h"
#include "vantorel/base/Unicode.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string>
#include <string_view>

namespace vantorel::system {

namespace {

constexpr std::string_view magic = "bplist0";
constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;
constexpr std::uint64_t mostObjects = 2'000'000;

std::string characters(DataView bytes)
{
    return {bytes.begin(), bytes.end()};
}

/// The number in up to eight bytes, the first the most significant.
std::uint64_t bigEndian(DataView bytes)
{
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

/// The last 32 bytes of a list.
struct Trailer {
    std::size_t offsetSize;
    std::size_t referenceSize;
    std::uint64_t count;
    std::uint64_t top;
    std::uint64_t tableOffset;
};

Trailer readTrailer(DataView bytes)
{
    if (bytes.size() < headerSize + trailerSize)
        throw PropertyListError("byte " + std::to_string(bytes.size()), "the binary property list is cut short");
    const DataView last = bytes.last(trailerSize);
    const Trailer trailer{last[6], last[7], bigEndian(last.subspan(8, 8)), bigEndian(last.subspan(16, 8)),
                          bigEndian(last.subspan(24, 8))};
    const std::size_t end = bytes.size() - trailerSize;
    const auto isSize = [](std::size_t size) { return size >= 1 && size <= 8; };
    if (!isSize(trailer.offsetSize) || !isSize(trailer.referenceSize) || trailer.tableOffset < headerSize ||
        trailer.tableOffset > end || trailer.count > (end - trailer.tableOffset) / trailer.offsetSize ||
        trailer.top >= trailer.count)
        throw PropertyListError("the end", "the trailer of the binary property list is damaged or cut off");
    if (trailer.count > mostObjects)
        throw PropertyListError("the trailer", std::to_string(trailer.count) + " objects are too many");
    return trailer;
}

/// Reads one object after the other and counts the bytes they take, so that a list whose objects share bytes, which
/// no writer makes, is stopped before it costs more than its size.
class Reader {
public:
    Reader(DataView bytes, const Trailer& trailer)
        : body_(bytes.first(trailer.tableOffset)), trailer_(trailer), unread_(body_.size() - headerSize)
    {}

    ObjectTable::Object object(std::size_t number, std::uint64_t offset)
    {
        number_ = number;
        if (offset < headerSize || offset >= body_.size())
            fail("lies outside the list");
        rest_ = body_.subspan(offset);
        ObjectTable::Object object = decode();
        const std::size_t used = body_.size() - offset - rest_.size();
        if (used > unread_)
            fail("shares bytes with another");
        unread_ -= used;
        return object;
    }

private:
    [[noreturn]] void fail(const std::string& fault) const
    {
        throw PropertyListError("object " + std::to_string(number_) + " of the property list", fault);
    }

    DataView take(std::uint64_t size)
    {
        if (size > rest_.size())
            fail("runs past the end");
        const DataView taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }

    /// `count` items of `size` bytes each; the product cannot run over.
    DataView take(std::uint64_t count, std::size_t size)
    {
        if (count > rest_.size() / size)
            fail("runs past the end");
        return take(count * size);
    }

    ObjectTable::Object decode()
    {
        const std::uint8_t marker = take(1)[0];
        const unsigned low = marker & 15U;
        switch (marker >> 4) {
        case 0x0:
            if (marker == 0x08 || marker == 0x09)
                return PropertyValue(marker == 0x09);
            break;
        case 0x1:
            if (low <= 4)
                return integer(take(std::uint64_t{1} << low));
            break;
        case 0x2:
            if (low == 2)
                return PropertyValue(double{std::bit_cast<float>(static_cast<std::uint32_t>(bigEndian(take(4))))});
            if (low == 3)
                return PropertyValue(std::bit_cast<double>(bigEndian(take(8))));
            break;
        case 0x3:
            if (low == 3)
                return ObjectTable::Date{std::bit_cast<double>(bigEndian(take(8)))};
            break;
        case 0x4: {
            const DataView bytes = take(length(low));
            return PropertyValue(Data(bytes.begin(), bytes.end()));
        }
        case 0x5:
            return PropertyValue(base::toUtf8(characters(take(length(low)))));
        case 0x6:
            return PropertyValue(base::utf8FromUtf16(take(length(low), 2), std::endian::big));
        case 0x8:
            if (low < 8)
                return ObjectTable::Uid{bigEndian(take(low + 1))};
            break;
        case 0xA:
            return references(length(low));
        case 0xD: {
            const std::uint64_t count = length(low);
            ObjectTable::Array keys = references(count);
            return ObjectTable::Dictionary{std::move(keys), references(count)};
        }
        default:
            break;
        }
        fail("is of no kind that a property list has");
    }

    PropertyValue integer(DataView bytes)
    {
        if (bytes.size() < 8)
            return bigEndian(bytes); // shorter than eight bytes there are no negative numbers
        const std::uint64_t low = bigEndian(bytes.last(8));
        if (bytes.size() == 8)
            return static_cast<std::int64_t>(low);
        const std::uint64_t high = bigEndian(bytes.first(8));
        if (high == 0)
            return low;
        if (high == std::numeric_limits<std::uint64_t>::max() && static_cast<std::int64_t>(low) < 0)
            return static_cast<std::int64_t>(low);
        fail("is an integer of more than 64 bits");
    }

    /// The count in the marker or, when that is 15, in the integer behind it.
    std::uint64_t length(unsigned low)
    {
        if (low < 15)
            return low;
        const std::uint8_t marker = take(1)[0];
        if (marker < 0x10 || marker > 0x13)
            fail("has a length that is no integer");
        return bigEndian(take(std::uint64_t{1} << (marker & 15U)));
    }

    ObjectTable::Array references(std::uint64_t count)
    {
        DataView bytes = take(count, trailer_.referenceSize);
        ObjectTable::Array indices;
        indices.reserve(count);
        for (; !bytes.empty(); bytes = bytes.subspan(trailer_.referenceSize)) {
            const std::uint64_t index = bigEndian(bytes.first(trailer_.referenceSize));
            if (index >= trailer_.count)
                fail("refers to object " + std::to_string(index) + " of " + std::to_string(trailer_.count));
            indices.push_back(static_cast<ObjectTable::Index>(index));
        }
        return indices;
    }

    DataView body_;
    Trailer trailer_;
    std::size_t unread_;
    std::size_t number_ = 0;
    DataView rest_;
};

} // namespace

bool isBinaryPropertyList(DataView bytes)
{
    return characters(bytes.first(std::min(bytes.size(), headerSize))).starts_with(magic);
}

ObjectTable readBinaryPropertyList(DataView bytes)
{
    if (!isBinaryPropertyList(bytes))
        throw PropertyListError("the start", "not a binary property list");
    const Trailer trailer = readTrailer(bytes);
    Reader reader(bytes, trailer);

    ObjectTable table;
    table.top = static_cast<ObjectTable::Index>(trailer.top);
    table.objects.reserve(trailer.count);
    DataView offsets = bytes.subspan(trailer.tableOffset);
    for (std::size_t number = 0; number < trailer.count; ++number) {
        table.add(reader.object(number, bigEndian(offsets.first(trailer.offsetSize))));
        offsets = offsets.subspan(trailer.offsetSize);
    }
    return table;
}

} // namespace vantorel::system
