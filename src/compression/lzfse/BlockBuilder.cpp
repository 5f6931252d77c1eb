// SPDX-License-Identifier: GPL-2.0-or-later
#include "BlockBuilder.h"

#include "MatchFinder.h"
#include "compression/FastCopy.h"

#include <algorithm>

namespace vantorel::system::compression::lzfse {

namespace {

/// What stands in the place of a distance where nothing is repeated.
constexpr std::uint32_t noDistance = 1;

/// How many matches and literals a block of so much text has at the most.
std::uint32_t matchesIn(std::uint32_t textSize)
{
    return std::min(maxMatches, textSize / MatchFinder::shortest + textSize / maxLiteralCount + 2);
}
std::uint32_t literalsIn(std::uint32_t textSize)
{
    return std::min<std::uint32_t>(maxLiterals, textSize + literalLanes);
}

} // namespace

BlockBuilder::BlockBuilder(std::uint32_t textSize)
    : matches_(std::make_unique_for_overwrite<Match[]>(matchesIn(textSize))),
      literals_(std::make_unique_for_overwrite<std::uint8_t[]>(literalsIn(textSize) + overshoot))
{}

std::size_t BlockBuilder::maxBlock(std::uint32_t textSize)
{
    return maxEntropyBlock(literalsIn(textSize), matchesIn(textSize));
}

bool BlockBuilder::add(Run& run)
{
    while (run.bytes) {
        const std::uint32_t literals = std::min(run.literals, maxLiteralCount);
        if (matchCount_ == maxMatches || literalCount_ + literals > maxLiterals)
            return false;
        const std::uint32_t length = literals == run.literals ? std::min(run.length, maxLength) : 0;
        matches_[matchCount_++] = {static_cast<std::uint16_t>(literals), static_cast<std::uint16_t>(length),
                                   length > 0 ? run.distance : noDistance};
        if (literals + overshoot <= run.readable)
            copyInSteps<16>(literals_.get() + literalCount_, run.bytes, literals);
        else
            std::memcpy(literals_.get() + literalCount_, run.bytes, literals);
        literalCount_ += literals;
        plainSize_ += literals + length;
        const bool isAll = literals == run.literals && length == run.length;
        run = {isAll ? nullptr : run.bytes + literals, run.literals - literals, run.length - length, run.distance,
               run.readable - literals};
    }
    return true;
}

void BlockBuilder::finish(const std::uint8_t* plain, Outgoing& out)
{
    while (literalCount_ % literalLanes != 0)
        literals_[literalCount_++] = 0;
    const std::size_t before = out.size();
    writeEntropyBlock({matches_.get(), matchCount_}, {literals_.get(), literalCount_}, plainSize_, out);
    if (out.size() - before >= sizeof(PlainHeader) + plainSize_) {
        out.cut(before);
        out.append(PlainHeader{plainMagic, plainSize_});
        out.append(plain, plainSize_);
    }
    matchCount_ = 0;
    literalCount_ = 0;
    plainSize_ = 0;
}

} // namespace vantorel::system::compression::lzfse
