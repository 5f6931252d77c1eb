// SPDX-License-Identifier: GPL-2.0-or-later
#include "JsonDocument.h"

#include "vantorel/base/Base64.h"
#include "vantorel/machines/recorded/Recording.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::recorded {

namespace {

using Json = nlohmann::json;

constexpr std::size_t deepest = 512;
constexpr std::size_t mostValues = 4'000'000; // as of a property list
constexpr std::string_view bytesKey = "base64";

/// The message of the parser without its own name and number in front: "parse error at line 1, column 2: …".
std::string withoutPrefix(const std::string& message)
{
    const std::size_t end = message.find("] ");
    return end == std::string::npos ? message : message.substr(end + 2);
}

/// Takes what the parser finds, value by value, so that a document is never held in a second form.
class Builder final : public nlohmann::json_sax<Json> {
public:
    explicit Builder(const std::string& file) : file_(file) {}

    PropertyValue result;

    bool null() override { return put(nullptr); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(number_integer_t value) override { return put(value); }
    bool number_unsigned(number_unsigned_t value) override { return put(value); }
    bool number_float(number_float_t value, const string_t& /*text*/) override { return put(value); }
    bool string(string_t& value) override { return put(std::move(value)); }
    bool binary(binary_t& /*value*/) override { return false; } // no JSON text has it
    bool start_object(std::size_t /*size*/) override { return open(PropertyTable()); }
    bool start_array(std::size_t /*size*/) override { return open(PropertyArray()); }
    bool end_array() override { return close(); }
    bool key(string_t& name) override
    {
        open_.back().key = std::move(name);
        return true;
    }
    bool end_object() override
    {
        PropertyTable& table = *open_.back().value.table();
        const PropertyValue* const text = table.size() == 1 ? table.lookUp(bytesKey) : nullptr;
        if (text && text->text()) {
            if (std::optional<Data> bytes = base::fromBase64(*text->text()))
                open_.back().value = *std::move(bytes);
        }
        return close();
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const Json::exception& error) override
    {
        throw RecordingError(file_ + ": " + withoutPrefix(error.what()));
    }

private:
    /// A container whose end has not come yet.
    struct Open {
        PropertyValue value;
        std::string key; ///< of the member that comes next, in a table
    };

    bool open(PropertyValue container)
    {
        if (open_.size() == deepest)
            throw RecordingError(file_ + ": nested too deeply");
        open_.push_back({std::move(container), {}});
        return true;
    }

    bool close()
    {
        PropertyValue value = std::move(open_.back().value);
        open_.pop_back();
        return put(std::move(value));
    }

    bool put(PropertyValue value)
    {
        if (++count_ > mostValues)
            throw RecordingError(file_ + ": more than " + std::to_string(mostValues) + " values");
        if (open_.empty())
            result = std::move(value);
        else if (PropertyTable* const table = open_.back().value.table())
            table->insert_or_assign(std::move(open_.back().key), std::move(value));
        else
            open_.back().value.array()->push_back(std::move(value));
        return true;
    }

    const std::string& file_;
    std::vector<Open> open_;
    std::size_t count_ = 0;
};

} // namespace

PropertyValue readJsonObject(DataView bytes, const std::string& file)
{
    // The parser would take a NUL for the end and see nothing of what stands behind it.
    if (const auto nul = std::ranges::find(bytes, 0); nul != bytes.end())
        throw RecordingError(file + ": a NUL at byte " + std::to_string(nul - bytes.begin()));
    Builder builder(file);
    try {
        static_cast<void>(Json::sax_parse(bytes.begin(), bytes.end(), &builder));
    } catch (const Json::exception& error) { // a number beyond every range
        throw RecordingError(file + ": " + withoutPrefix(error.what()));
    }
    if (!builder.result.table())
        throw RecordingError(file + ": no JSON object");
    return std::move(builder.result);
}

} // namespace vantorel::recorded
