// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/health/VerdictJson.h"

#include "vantorel/base/Text.h"

#include <charconv>
#include <cmath>

namespace vantorel::health {

namespace {

/// Writes one JSON value. The library for JSON holds numbers of 64 bits, and ours have 128.
class Writer {
public:
    [[nodiscard]] std::string text() && { return std::move(text_); }

    void open(char bracket)
    {
        separate();
        text_ += bracket;
        isFirst_ = true;
    }

    void close(char bracket)
    {
        text_ += bracket;
        isFirst_ = false;
    }

    void key(std::string_view name)
    {
        string(name);
        text_ += ':';
        isFirst_ = true; // no comma between key and value
    }

    void string(std::string_view value)
    {
        separate();
        text_ += '"';
        for (const char c : base::toUtf8(value))
            character(c);
        text_ += '"';
    }

    /// Digits, a number or a word as it stands.
    void literal(std::string_view value)
    {
        separate();
        text_ += value;
    }

    void real(double value)
    {
        std::array<char, 32> buffer;
        const auto result = std::to_chars(buffer.begin(), buffer.end(), value);
        literal({buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())});
    }

    void member(std::string_view name, std::string_view value)
    {
        key(name);
        string(value);
    }

    void member(std::string_view name, bool value)
    {
        key(name);
        literal(value ? "true" : "false");
    }

    void number(std::string_view name, Int128 value, unsigned decimals = 0)
    {
        key(name);
        literal(decimalText(value, decimals));
    }

private:
    void separate()
    {
        if (!isFirst_)
            text_ += ',';
        isFirst_ = false;
    }

    void character(char c)
    {
        constexpr std::string_view digits = "0123456789abcdef";
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text_ += '\\';
            text_ += c;
        } else if (code < 0x20) {
            text_ += "\\u00";
            text_ += digits[code >> 4U];
            text_ += digits[code & 0xFU];
        } else {
            text_ += c;
        }
    }

    std::string text_;
    bool isFirst_ = true;
};

std::string unsignedText(UInt128 number)
{
    const auto quotient = static_cast<Int128>(number / 10);
    return (quotient == 0 ? std::string() : decimalText(quotient)) +
           static_cast<char>('0' + static_cast<int>(number % 10));
}

void write(Writer& to, const TypedValue& value)
{
    to.open('{');
    to.number("number", value.number, value.decimals);
    to.member("unit", rawValue(value.unit));
    to.key("raw");
    to.literal(unsignedText(value.raw));
    if (value.minimum)
        to.number("minimum", *value.minimum, value.decimals);
    if (value.maximum)
        to.number("maximum", *value.maximum, value.decimals);
    if (value.besidesCount > 0) {
        to.key("besides");
        to.open('[');
        for (std::size_t i = 0; i < value.besidesCount; ++i)
            to.literal(decimalText(Int128{value.besides[i]}));
        to.close(']');
    }
    to.member("plausible", value.plausible);
    to.close('}');
}

void write(Writer& to, std::string_view key, const std::optional<TypedValue>& value)
{
    if (!value)
        return;
    to.key(key);
    write(to, *value);
}

void write(Writer& to, std::string_view key, const std::optional<FailureRate>& rate)
{
    if (!rate)
        return;
    to.key(key);
    to.open('{');
    to.key("perYear");
    to.real(rate->perYear);
    to.key("low");
    to.real(rate->low);
    to.key("high");
    to.real(rate->high);
    to.number("from", Int128{rate->from});
    if (rate->through)
        to.number("through", Int128{*rate->through});
    to.close('}');
}

void write(Writer& to, const Attribute& attribute)
{
    to.open('{');
    if (attribute.id != 0)
        to.number("id", attribute.id);
    to.member("name", attribute.name);
    to.member("nameSource", rawValue(attribute.nameSource));
    to.member("meaning", rawValue(attribute.meaning));
    to.member("confidence", rawValue(attribute.confidence));
    to.key("value");
    write(to, attribute.value);
    if (attribute.id != 0) {
        to.number("current", attribute.current);
        to.number("worst", attribute.worst);
        if (attribute.threshold)
            to.number("threshold", *attribute.threshold);
        to.member("preFail", attribute.preFail);
    }
    to.close('}');
}

void write(Writer& to, std::string_view key, const std::vector<Reason>& reasons)
{
    to.key(key);
    to.open('[');
    for (const Reason& reason : reasons) {
        to.open('{');
        to.member("rule", reason.rule);
        to.member("level", rawValue(reason.level));
        if (reason.attribute != 0)
            to.number("attribute", reason.attribute);
        if (!reason.name.empty())
            to.member("name", reason.name);
        write(to, "value", reason.value);
        write(to, "limit", reason.limit);
        write(to, "rate", reason.rate);
        write(to, "rateWithout", reason.rateWithout);
        to.member("sentence", reason.sentence);
        if (!reason.source.empty())
            to.member("source", reason.source);
        to.close('}');
    }
    to.close(']');
}

void write(Writer& to, const Comparison& comparison)
{
    to.open('{');
    if (comparison.hours)
        to.number("hours", *comparison.hours);
    to.member("damageGrew", comparison.damageGrew());
    to.key("changes");
    to.open('[');
    for (const Change& change : comparison.changes) {
        to.open('{');
        if (change.attribute != 0)
            to.number("attribute", change.attribute);
        to.member("name", change.name);
        to.member("meaning", rawValue(change.meaning));
        to.key("before");
        write(to, change.before);
        to.key("now");
        write(to, change.now);
        to.number("by", change.by, change.now.decimals);
        to.member("damage", change.damage);
        to.close('}');
    }
    to.close(']');
    to.close('}');
}

} // namespace

std::string toJson(const TypedValue& value)
{
    Writer writer;
    write(writer, value);
    return std::move(writer).text();
}

std::string toJson(std::span<const Attribute> attributes)
{
    Writer writer;
    writer.open('[');
    for (const Attribute& attribute : attributes)
        write(writer, attribute);
    writer.close(']');
    return std::move(writer).text();
}

std::string toJson(const Comparison& comparison)
{
    Writer writer;
    write(writer, comparison);
    return std::move(writer).text();
}

std::string toJson(const Verdict& verdict)
{
    Writer writer;
    writer.open('{');
    writer.member("level", rawValue(verdict.level));
    writer.member("doubtful", verdict.doubtful);
    write(writer, "reasons", verdict.reasons);
    write(writer, "notes", verdict.notes);
    write(writer, "setAside", verdict.setAside);
    write(writer, "temperature", verdict.temperature);
    write(writer, "powerOnTime", verdict.powerOnTime);
    write(writer, "wear", verdict.wear);
    write(writer, "spare", verdict.spare);
    if (verdict.comparison) {
        writer.key("comparison");
        write(writer, *verdict.comparison);
    }
    writer.member("promise", Verdict::promise);
    writer.close('}');
    return std::move(writer).text();
}

} // namespace vantorel::health
