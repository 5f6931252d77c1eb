// SPDX-License-Identifier: GPL-2.0-or-later
#include "ShortBlock.h"

#include "Format.h"
#include "Lzvn.h"
#include "Match.h"
#include "MatchFinder.h"
#include "compression/FastCopy.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <memory>
#include <vector>

namespace vantorel::system::compression::lzfse {

namespace {

/// The distance of a match is told in one of three forms, each with a few literals before it and a length of its own.
/// What is left of the match follows in opcodes that have no more than a length.
struct Form {
    std::uint32_t size;
    std::uint32_t most; ///< length that it tells
};

/// Distances below this one have a form of two bytes; all others within short input one of three.
constexpr std::uint32_t shortDistances = 0x600;
constexpr Form mediumForm{3, lzvnShortest + 31};
static_assert(shortestEntropy <= 0x4000);

/// The bytes of opcodes that tell of so much of a match as "as before".
constexpr std::uint32_t sizeOfRest(std::uint32_t length)
{
    const std::uint32_t last = length % lzvnMost;
    return length / lzvnMost * 2 + (last == 0 ? 0 : last < lzvnManyBase ? 1 : 2);
}

/// The best form for a match of this length behind up to 3 literals.
constexpr Form formOf(std::uint32_t literals, std::uint32_t length, bool sameDistance, std::uint32_t distance)
{
    const std::uint32_t most = 10 - 2 * literals;
    if (sameDistance)
        return literals > 0 ? Form{1, most} : Form{0, 0};
    if (distance >= shortDistances || (length >= most + lzvnManyBase && length <= mediumForm.most))
        return mediumForm;
    return {2, most};
}

/// How a run of literals is told: `own` of them by an opcode of their own, those that are left, up to 3, by that of the
/// match behind.
constexpr std::uint32_t ownLiterals(std::uint32_t run)
{
    if (run <= 3)
        return 0;
    return run >= lzvnManyBase && run < lzvnManyBase + 3 ? lzvnManyBase - 1 : std::min(run, lzvnMost);
}

/// The bytes of opcodes for a run of literals, and how many of them are left for that of the match.
struct RunPrice {
    std::uint8_t size;
    std::uint8_t left;
};

constexpr auto runPrices = [] {
    std::array<RunPrice, shortestEntropy> prices{};
    for (std::uint32_t run = 0; run < prices.size(); ++run) {
        const std::uint32_t own = ownLiterals(run);
        const RunPrice rest = own > 0 ? prices[run - own] : RunPrice{0, 0};
        const std::uint32_t size = own == 0 ? 0U : own < lzvnManyBase ? 1U : 2U;
        prices[run] = {static_cast<std::uint8_t>(size + rest.size),
                       static_cast<std::uint8_t>(own > 0 ? rest.left : run)};
    }
    return prices;
}();

/// The bytes of opcodes for a match behind up to 3 literals.
constexpr std::uint32_t priceOf(std::uint32_t literals, std::uint32_t length, bool sameDistance, std::uint32_t distance)
{
    const Form form = formOf(literals, length, sameDistance, distance);
    return form.size + (length > form.most ? sizeOfRest(length - form.most) : 0);
}

/// Bytes behind the text that may be read, whatever they hold.
constexpr std::size_t readBehind = 16;

/// Finds opcodes of few bytes: for each place, from the first to the last, the cheapest way there, going on from it
/// with a literal and with the longest matches that begin there. One way a place is kept, although what it costs to go
/// on depends on the literals and the distance before; so it may be a few bytes from the best.
class Parser {
public:
    /// Behind `text` lie `readBehind` bytes more.
    explicit Parser(DataView text)
        : text_(text.data()),
          size_(static_cast<std::uint32_t>(text.size())),
          hashShift_(32 - hashBitsFor(size_)),
          ways_(std::make_unique_for_overwrite<Way[]>(size_ + 1)),
          earlier_(std::make_unique_for_overwrite<std::uint16_t[]>(size_ + 1)),
          last_(std::make_unique<std::uint16_t[]>(1U << hashBitsFor(size_)))
    {
        ways_[0] = 0;
        earlier_[0] = 0;
        std::fill_n(ways_.get() + 1, size_, ~Way{0});
    }

    /// The matches, last first; one of length 0 for the literals at the end.
    std::vector<Match> parse()
    {
        Way here = 0;
        std::uint32_t place = 0;
        if (size_ > 0) // nothing lies before the first place
            here = goOnWithLiterals(place++, here, 1);
        while (place + 4 <= size_) {
            const std::uint32_t length = goOnWithMatches(place, here);
            if (length >= longMatch) {
                place += length;
                here = ways_[place];
                continue;
            }
            const std::uint32_t stride = std::min(1 + misses_ / patience, size_ - place);
            here = goOnWithLiterals(place, here, stride);
            place += stride;
        }
        for (; place < size_; ++place)
            here = goOnWithLiterals(place, here, 1);
        return wayBack();
    }

private:
    /// The cheapest way to a place, in four fields of 16 bits so that the lower of two is the better: from the highest,
    /// the bytes so far; the literals since the last match; what the match, if it ends here, is shorter than 65535; and
    /// its distance.
    using Way = std::uint64_t;
    static constexpr Way way(std::uint32_t cost, std::uint32_t literals, std::uint32_t length, std::uint32_t distance)
    {
        return Way{cost} << 48 | Way{literals} << 32 | (0xffff - length) << 16 | distance;
    }
    static constexpr std::uint32_t costOf(Way way) { return static_cast<std::uint32_t>(way >> 48); }
    static constexpr std::uint32_t literalsOf(Way way) { return way >> 32 & 0xffff; }
    static constexpr std::uint32_t lengthOf(Way way) { return ~way >> 16 & 0xffff; }
    static constexpr std::uint32_t distanceOf(Way way) { return way & 0xffff; }

    /// The earlier places looked at.
    static constexpr int candidates = 2;

    /// A match this long is taken as it is. Inside one that is half good, matches are looked for at its second place
    /// alone.
    static constexpr std::uint32_t longMatch = 20;
    static constexpr std::uint32_t goodMatch = 7;

    /// For so many places without a match, one more is passed over unseen each time. By the time that the first is,
    /// all matches found before have ended.
    static constexpr std::uint32_t patience = 32;
    static_assert(patience > longMatch);

    static unsigned hashBitsFor(std::uint32_t size) { return static_cast<unsigned>(std::bit_width(size)) + 1; }

    Way goOnWithLiterals(std::uint32_t place, Way here, std::uint32_t count)
    {
        const std::uint32_t run = literalsOf(here);
        const Way cost = count + runPrices[run + count].size - runPrices[run].size;
        Way& there = ways_[place + count];
        there = std::min(there, (here | Way{0xffff} << 16) + (cost << 48 | Way{count} << 32));
        return there;
    }

    /// Gives the length of the longest, 0 if there is none.
    std::uint32_t goOnWithMatches(std::uint32_t place, Way here)
    {
        std::uint32_t earlier = enter(place);
        if (place < quietUntil_ && place != lookAt_)
            return 0;
        const std::uint32_t most = size_ - place;
        std::uint32_t longest = lzvnShortest - 1;
        if (const std::uint32_t again = distanceOf(here); again != 0) {
            longest = std::max(longest, std::min(agreement(place, place - again), most));
            if (longest >= lzvnShortest)
                goOnWithMatch(place, here, again, longest);
        }
        // Without branches, as none of them could be foretold. An empty entry stands for the first place, which is as
        // good a candidate as any.
        std::uint32_t distance = 0;
        for (int i = 0; i < candidates && longest < longMatch; ++i) {
            const std::uint32_t length = agreement(place, earlier);
            distance = length > longest ? place - earlier : distance;
            longest = std::max(length, longest);
            earlier = earlier_[earlier];
        }
        longest = std::min(longest, most);
        if (distance != 0) {
            goOnWithMatch(place, here, distance, longest);
        } else if (longest < lzvnShortest) {
            ++misses_;
            return 0;
        }
        misses_ = 0;
        if (longest >= goodMatch) {
            lookAt_ = place + 1;
            quietUntil_ = place + longest;
        }
        if (longest >= longMatch)
            for (std::uint32_t inner = place + 1; inner < place + longest && inner + 4 <= size_; ++inner)
                enter(inner);
        return longest;
    }

    void goOnWithMatch(std::uint32_t place, Way here, std::uint32_t distance, std::uint32_t length)
    {
        const std::uint32_t literals = runPrices[literalsOf(here)].left;
        const std::uint32_t price = priceOf(literals, length, distance == distanceOf(here), distance);
        Way& there = ways_[place + length];
        there = std::min(there, way(costOf(here) + price, 0, length, distance));
    }

    /// How many bytes at two places agree; where fewer than 8 follow, those behind the text may count too.
    std::uint32_t agreement(std::uint32_t place, std::uint32_t earlier) const
    {
        const std::uint64_t difference = load64(text_ + place) ^ load64(text_ + earlier);
        if (difference == 0) [[unlikely]]
            return MatchFinder::agreement(text_ + place, text_ + earlier, size_ - place);
        return static_cast<std::uint32_t>(std::countr_zero(difference)) / 8;
    }

    /// Enters a place, behind which 4 bytes are left, and gives the last one before it with the same hash of 3 bytes.
    std::uint32_t enter(std::uint32_t place)
    {
        const std::uint32_t word = load32(text_ + place) << 8;
        std::uint16_t& last = last_[word * 2654435761U >> hashShift_];
        const std::uint16_t earlier = last;
        earlier_[place] = earlier;
        last = static_cast<std::uint16_t>(place);
        return earlier;
    }

    std::vector<Match> wayBack() const
    {
        std::vector<Match> matches;
        matches.reserve(64);
        Match match{};
        for (std::uint32_t place = size_;; place -= match.length) {
            match.literals = static_cast<std::uint16_t>(literalsOf(ways_[place]));
            matches.push_back(match);
            place -= match.literals;
            if (place == 0)
                return matches;
            match.length = static_cast<std::uint16_t>(lengthOf(ways_[place]));
            match.distance = distanceOf(ways_[place]);
        }
    }

    const std::uint8_t* text_;
    std::uint32_t size_;
    unsigned hashShift_;
    std::unique_ptr<Way[]> ways_;
    std::unique_ptr<std::uint16_t[]> earlier_; ///< for each place, the last before it with the same hash; or 0
    std::unique_ptr<std::uint16_t[]> last_;    ///< for each hash, the last place; or 0
    std::uint32_t lookAt_ = 0;
    std::uint32_t quietUntil_ = 0;
    std::uint32_t misses_ = 0; ///< places without a match since the last
};

/// Puts opcodes together.
class OpcodeWriter {
public:
    explicit OpcodeWriter(Outgoing& out) : out_(out) {}

    void write(const Match& match, const std::uint8_t* literals)
    {
        std::uint32_t left = match.literals;
        while (const std::uint32_t own = match.length > 0 ? ownLiterals(left) : std::min(left, lzvnMost)) {
            writeLiterals(literals, own);
            literals += own;
            left -= own;
        }
        if (match.length > 0)
            writeMatch(match, literals, left);
    }

    void finish() { out_.append(lzvnEnd.data(), lzvnEnd.size()); }

private:
    void put(std::uint32_t byte) { out_.append(static_cast<std::uint8_t>(byte)); }

    /// The opcode that has nothing but a number, in one byte or two.
    void putNumber(std::uint32_t first, std::uint32_t number)
    {
        if (number < lzvnManyBase)
            return put(first | number);
        put(first);
        put(number - lzvnManyBase);
    }

    void putLiterals(const std::uint8_t* literals, std::uint32_t count)
    {
        copyInSteps<16>(out_.next(), literals, count);
        out_.grow(count);
    }

    void writeLiterals(const std::uint8_t* literals, std::uint32_t count)
    {
        putNumber(0xe0, count);
        putLiterals(literals, count);
    }

    /// A match with up to 3 literals before it.
    void writeMatch(const Match& match, const std::uint8_t* literals, std::uint32_t count)
    {
        const Form form = formOf(count, match.length, match.distance == distance_, match.distance);
        const std::uint32_t length = std::min<std::uint32_t>(match.length, form.most);
        const std::uint32_t field = length - lzvnShortest;
        if (form.size == 1) {
            put(count << 6 | field << 3 | 6);
        } else if (form.size == 2) {
            put(count << 6 | field << 3 | match.distance >> 8);
            put(match.distance & 0xff);
        } else if (form.size == 3) {
            put(0xa0 | count << 3 | field >> 2);
            out_.append(le16(static_cast<std::uint16_t>(match.distance << 2 | (field & 3))));
        }
        putLiterals(literals, count);
        distance_ = match.distance;
        for (std::uint32_t left = match.length - length; left > 0; left -= std::min(left, lzvnMost))
            putNumber(0xf0, std::min(left, lzvnMost));
    }

    Outgoing& out_;
    std::uint32_t distance_ = 0; ///< of the match before
};

} // namespace

std::size_t largestShortBlock(std::size_t plainSize)
{
    return sizeof(LzvnHeader) + 2 * plainSize + lzvnEnd.size() + overshoot;
}

void writeShortBlock(DataView plain, Outgoing& out)
{
    const auto text = std::make_unique_for_overwrite<std::uint8_t[]>(plain.size() + readBehind);
    std::ranges::copy(plain, text.get()); // which takes nothing as well
    std::memset(text.get() + plain.size(), 0, readBehind);
    const std::size_t before = out.size();
    const auto plainSize = static_cast<std::uint32_t>(plain.size());
    out.grow(sizeof(LzvnHeader));
    OpcodeWriter writer(out);
    const std::vector<Match> matches = Parser({text.get(), plain.size()}).parse();
    const std::uint8_t* literals = text.get();
    for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
        writer.write(*match, literals);
        literals += match->literals + match->length;
    }
    writer.finish();
    const std::size_t size = out.size() - before;
    out.cut(before);
    if (size < sizeof(PlainHeader) + plain.size()) {
        const auto payload = static_cast<std::uint32_t>(size - sizeof(LzvnHeader));
        out.append(LzvnHeader{lzvnMagic, plainSize, payload});
        out.grow(payload);
    } else {
        out.append(PlainHeader{plainMagic, plainSize});
        out.append(plain.data(), plain.size());
    }
}

} // namespace vantorel::system::compression::lzfse
