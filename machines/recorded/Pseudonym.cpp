// SPDX-License-Identifier: GPL-2.0-or-later
#include "Pseudonym.h"

#include "Sha256.h"
#include "vantorel/base/Data.h"

#include <cstddef>
#include <cstdint>

namespace vantorel::recorded {

namespace {

/// Numbers without end that the secret alone determines.
class Numbers {
public:
    explicit Numbers(std::string_view secret) : block_(secret.begin(), secret.end()) { next(); }

    /// From 0 to `count` - 1.
    std::uint32_t below(std::uint32_t count)
    {
        if (place_ + 4 > block_.size())
            next();
        std::uint32_t number = 0;
        for (int i = 0; i < 4; ++i)
            number = number << 8U | block_[place_++];
        return number % count;
    }

private:
    void next()
    {
        const auto digest = sha256(block_);
        block_.assign(digest.begin(), digest.end());
        place_ = 0;
    }

    Data block_;
    std::size_t place_ = 0;
};

} // namespace

std::string textPseudonym(std::string_view secret)
{
    Numbers numbers(secret);
    std::string pseudonym(secret);
    for (char& c : pseudonym) {
        if (c >= '0' && c <= '9')
            c = static_cast<char>('0' + numbers.below(10));
        else if (c >= 'a' && c <= 'z')
            c = static_cast<char>('a' + numbers.below(26));
    }
    return pseudonym;
}

std::string digitsPseudonym(std::string_view digits, std::size_t kept)
{
    Numbers numbers(digits);
    std::string pseudonym(digits);
    for (std::size_t i = kept; i < pseudonym.size(); ++i)
        pseudonym[i] = "0123456789abcdef"[numbers.below(16)];
    return pseudonym;
}

} // namespace vantorel::recorded
