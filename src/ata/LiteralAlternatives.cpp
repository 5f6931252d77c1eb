// SPDX-License-Identifier: GPL-2.0-or-later
#include "LiteralAlternatives.h"

#include <charconv>

namespace vantorel::ata {

namespace {

using Texts = std::vector<std::string>;

constexpr std::size_t deepestGroup = 64;
constexpr std::size_t longestText = 256;

/// Thrown where an expression stands for texts that cannot be listed.
struct NotListable {};

class Lister {
public:
    Lister(std::string_view expression, std::size_t most, DriveTableMatching matching)
        : rest_(expression), most_(most), matching_(matching)
    {}

    Texts wholeExpression()
    {
        Texts texts = alternatives(0);
        if (!rest_.empty())
            throw NotListable();
        return texts;
    }

private:
    bool accept(std::string_view text)
    {
        if (!rest_.starts_with(text))
            return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    Texts limited(Texts texts) const
    {
        if (texts.size() > most_)
            throw NotListable();
        return texts;
    }

    Texts alternatives(std::size_t depth)
    {
        if (depth > deepestGroup)
            throw NotListable();
        Texts all;
        do {
            const Texts some = sequence(depth);
            all.insert(all.end(), some.begin(), some.end());
            all = limited(std::move(all));
        } while (accept("|"));
        return all;
    }

    Texts sequence(std::size_t depth)
    {
        Texts texts = {""};
        while (!rest_.empty() && rest_[0] != '|' && rest_[0] != ')') {
            const bool atEnd = rest_.size() == 2 || rest_.substr(0, 3) == ".*|";
            if (matching_ == DriveTableMatching::anywhere && depth == 0 && rest_.starts_with(".*") && atEnd) {
                rest_.remove_prefix(2);
                break;
            }
            texts = joined(texts, quantified(depth));
        }
        return texts;
    }

    Texts joined(const Texts& heads, const Texts& tails)
    {
        made_ += heads.size() * tails.size(); // many empty groups make few texts with much work
        if (tails.size() > most_ / heads.size() || made_ > 64 * most_)
            throw NotListable();
        Texts texts;
        for (const std::string& head : heads) {
            for (const std::string& tail : tails) {
                if (head.size() + tail.size() > longestText)
                    throw NotListable();
                texts.push_back(head + tail);
            }
        }
        return texts;
    }

    Texts quantified(std::size_t depth)
    {
        Texts texts = element(depth);
        if (accept("?")) {
            texts.emplace_back();
            return texts;
        }
        if (!accept("{"))
            return texts;
        unsigned count = 0;
        const auto result = std::from_chars(rest_.data(), rest_.data() + rest_.size(), count);
        rest_.remove_prefix(static_cast<std::size_t>(result.ptr - rest_.data()));
        if (result.ec != std::errc() || count > most_ || !accept("}"))
            throw NotListable();
        Texts repeated = {""};
        for (unsigned i = 0; i < count; ++i)
            repeated = joined(repeated, texts);
        return repeated;
    }

    Texts element(std::size_t depth)
    {
        if (accept("(")) {
            Texts texts = alternatives(depth + 1);
            if (!accept(")"))
                throw NotListable();
            return texts;
        }
        if (accept("["))
            return characterClass();
        if (std::string_view(".^$*+?{").find(rest_[0]) != std::string_view::npos)
            throw NotListable();
        return {std::string(1, plainCharacter())};
    }

    char plainCharacter()
    {
        const bool escaped = accept("\\");
        if (rest_.empty())
            throw NotListable();
        const char c = rest_[0];
        if (static_cast<unsigned char>(c) >= 0x80)
            throw NotListable(); // part of a character only
        const bool isWordCharacter = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (escaped && isWordCharacter)
            throw NotListable();
        rest_.remove_prefix(1);
        return c;
    }

    Texts characterClass()
    {
        if (rest_.starts_with('^'))
            throw NotListable();
        Texts texts;
        do {
            const char first = plainCharacter();
            char last = first;
            if (rest_.size() > 1 && rest_[0] == '-' && rest_[1] != ']') {
                rest_.remove_prefix(1);
                last = plainCharacter();
            }
            if (last < first)
                throw NotListable();
            for (int c = first; c <= last; ++c)
                texts.emplace_back(1, static_cast<char>(c));
        } while (!accept("]"));
        return limited(std::move(texts));
    }

    std::string_view rest_;
    std::size_t most_;
    DriveTableMatching matching_;
    std::size_t made_ = 0;
};

} // namespace

std::optional<std::vector<std::string>> literalAlternatives(std::string_view expression, std::size_t most,
                                                            DriveTableMatching matching)
{
    try {
        return Lister(expression, most, matching).wholeExpression();
    } catch (const NotListable&) {
        return std::nullopt;
    }
}

} // namespace vantorel::ata
