// SPDX-License-Identifier: GPL-2.0-or-later
#include "BlockBuilder.h"

#include "Lzvn.h"

#include <algorithm>

namespace vantorel::system::compression::lzfse {

namespace {

/// What stands in the place of a distance where nothing is repeated.
constexpr std::uint32_t noDistance = 1;

void writePlain(const std::uint8_t* plain, std::uint32_t size, Outgoing& out)
{
    out.append(PlainHeader{plainMagic, size});
    out.append(plain, size);
}

} // namespace

BlockBuilder::BlockBuilder()
    : matches_(std::make_unique_for_overwrite<Match[]>(maxMatches)),
      literals_(std::make_unique_for_overwrite<std::uint8_t[]>(maxLiterals))
{}

bool BlockBuilder::add(Run& run)
{
    while (run.literals > 0 || run.length > 0) {
        const std::uint32_t literals = std::min(run.literals, maxLiteralCount);
        if (matchCount_ == maxMatches || literalCount_ + literals > maxLiterals)
            return false;
        const std::uint32_t length = literals == run.literals ? std::min(run.length, maxLength) : 0;
        matches_[matchCount_++] = {static_cast<std::uint16_t>(literals), static_cast<std::uint16_t>(length),
                                   length > 0 ? run.distance : noDistance};
        std::memcpy(literals_.get() + literalCount_, run.bytes, literals);
        literalCount_ += literals;
        plainSize_ += literals + length;
        run.bytes += literals;
        run.literals -= literals;
        run.length -= length;
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
        writePlain(plain, plainSize_, out);
    }
    clear();
}

void BlockBuilder::finishShort(const std::uint8_t* plain, Outgoing& out)
{
    const std::size_t before = out.size();
    out.grow(sizeof(LzvnHeader));
    const bool written = writeLzvn({matches_.get(), matchCount_}, literals_.get(), out);
    const std::size_t size = out.size() - before;
    out.cut(before);
    if (written && size < plainSize_) {
        const auto payload = static_cast<std::uint32_t>(size - sizeof(LzvnHeader));
        out.append(LzvnHeader{lzvnMagic, plainSize_, payload});
        out.grow(payload);
    } else {
        writePlain(plain, plainSize_, out);
    }
    clear();
}

void BlockBuilder::clear()
{
    matchCount_ = 0;
    literalCount_ = 0;
    plainSize_ = 0;
}

} // namespace vantorel::system::compression::lzfse
