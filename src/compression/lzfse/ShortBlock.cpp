// SPDX-License-Identifier: GPL-2.0-or-later
#include "ShortBlock.h"

#include "Format.h"
#include "Lzvn.h"
#include "Match.h"
#include "MatchFinder.h"

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
    std::uint16_t size;
    std::uint16_t left;
};

constexpr auto runPrices = [] {
    std::array<RunPrice, shortestEntropy> prices{};
    for (std::uint32_t run = 0; run < prices.size(); ++run) {
        const std::uint32_t own = ownLiterals(run);
        const RunPrice rest = own > 0 ? prices[run - own] : RunPrice{0, 0};
        const std::uint32_t size = own == 0 ? 0U : own < lzvnManyBase ? 1U : 2U;
        prices[run] = {static_cast<std::uint16_t>(size + rest.size),
                       static_cast<std::uint16_t>(own > 0 ? rest.left : run)};
    }
    return prices;
}();

/// A match this long is taken as it is.
constexpr std::uint32_t longMatch = 20;

/// The bytes of opcodes for a match behind up to 3 literals.
constexpr std::uint32_t priceOf(std::uint32_t literals, std::uint32_t length, bool sameDistance, std::uint32_t distance)
{
    const Form form = formOf(literals, length, sameDistance, distance);
    return form.size + (length > form.most ? sizeOfRest(length - form.most) : 0);
}

/// Finds opcodes of few bytes: for each place, from the first to the last, the cheapest way there, going on from it
/// with a literal and with the matches that begin there, each as long as it can be. One way a place is kept, although
/// what it costs to go on depends on the literals and the distance before; so it may be a few bytes from the best.
class Parser {
public:
    explicit Parser(DataView plain)
        : plain_(plain.data()),
          size_(static_cast<std::uint32_t>(plain.size())),
          ways_(std::make_unique_for_overwrite<Way[]>(size_ + 1)),
          earlier_(std::make_unique_for_overwrite<std::uint16_t[]>(size_))
    {
        std::fill_n(ways_.get(), size_ + 1, ~Way{0});
        ways_[0] = 0;
    }

    /// The matches, last first; one of length 0 for the literals at the end.
    std::vector<Match> parse()
    {
        std::uint32_t place = 0;
        while (place + 4 <= size_) {
            goOnWithLiteral(place);
            place += goOnWithMatches(place);
        }
        for (; place < size_; ++place)
            goOnWithLiteral(place);
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

    /// The most earlier places looked at.
    static constexpr int patience = 5;
    static constexpr unsigned hashBits = 11;

    void goOnWithLiteral(std::uint32_t place)
    {
        const Way here = ways_[place];
        const std::uint32_t run = literalsOf(here) + 1;
        const std::uint32_t cost = costOf(here) + 1 + runPrices[run].size - runPrices[run - 1].size;
        ways_[place + 1] = std::min(ways_[place + 1], way(cost, run, 0, distanceOf(here)));
    }

    /// Gives how many places to go on.
    std::uint32_t goOnWithMatches(std::uint32_t place)
    {
        const std::uint8_t* const here = plain_ + place;
        const std::uint32_t most = size_ - place;
        std::uint32_t longest = lzvnShortest - 1;
        const auto look = [&](std::uint32_t distance) {
            const std::uint32_t length = MatchFinder::agreement(here, here - distance, most);
            if (length <= longest)
                return;
            goOnWithMatch(place, distance, length);
            longest = length;
        };
        if (const std::uint32_t again = distanceOf(ways_[place]); again != 0)
            look(again);
        std::uint32_t earlier = enter(place);
        for (int left = patience; earlier != 0 && left > 0 && longest < std::min(longMatch, most); --left) {
            const std::uint32_t distance = place - (earlier - 1);
            if (here[longest] == *(here + longest - distance))
                look(distance);
            earlier = earlier_[earlier - 1];
        }
        if (longest < longMatch)
            return 1;
        for (std::uint32_t inner = place + 1; inner < place + longest && inner + 4 <= size_; ++inner)
            enter(inner);
        return longest;
    }

    void goOnWithMatch(std::uint32_t place, std::uint32_t distance, std::uint32_t length)
    {
        const Way here = ways_[place];
        const std::uint32_t literals = runPrices[literalsOf(here)].left;
        const std::uint32_t price = priceOf(literals, length, distance == distanceOf(here), distance);
        ways_[place + length] = std::min(ways_[place + length], way(costOf(here) + price, 0, length, distance));
    }

    /// Enters a place, behind which 4 bytes are left, and gives the last one before it, plus 1, with the same hash of 3
    /// bytes; 0: none.
    std::uint32_t enter(std::uint32_t place)
    {
        const std::uint32_t word = load32(plain_ + place) << 8;
        std::uint16_t& last = last_[word * 2654435761U >> (32 - hashBits)];
        const std::uint16_t earlier = last;
        earlier_[place] = earlier;
        last = static_cast<std::uint16_t>(place + 1);
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

    const std::uint8_t* plain_;
    std::uint32_t size_;
    std::unique_ptr<Way[]> ways_;
    std::unique_ptr<std::uint16_t[]> earlier_; ///< for each place, the last before it with the same hash, plus 1
    std::array<std::uint16_t, 1U << hashBits> last_{};
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

    void writeLiterals(const std::uint8_t* literals, std::uint32_t count)
    {
        putNumber(0xe0, count);
        out_.append(literals, count);
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
        out_.append(literals, count);
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
    return sizeof(LzvnHeader) + 2 * plainSize + lzvnEnd.size();
}

void writeShortBlock(DataView plain, Outgoing& out)
{
    const std::size_t before = out.size();
    const auto plainSize = static_cast<std::uint32_t>(plain.size());
    out.grow(sizeof(LzvnHeader));
    OpcodeWriter writer(out);
    const std::vector<Match> matches = Parser(plain).parse();
    const std::uint8_t* literals = plain.data();
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
