// SPDX-License-Identifier: GPL-2.0-or-later
#include "WatchSettings.h"

#include "host/choice/DurationChoice.h"
#include "host/console/Output.h"
#include "host/files/InputFile.h"

#include <fmt/format.h>
#include <toml++/toml.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace vantorel::host {

namespace {

constexpr const char* usualFile = "/etc/vantorel/watch.toml";
constexpr std::size_t largestFile = std::size_t{1} << 20;
constexpr std::chrono::seconds shortestInterval(1);

/// Reads one file into settings.
class SettingsFile {
public:
    SettingsFile(const std::string& path, WatchSettings& settings) : path_(path), settings_(settings) {}

    void read()
    {
        const Data bytes = readFile(path_, largestFile);
        try {
            const toml::table table =
                toml::parse(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), path_);
            for (const auto& [key, value] : table)
                take(key.str(), value);
        } catch (const toml::parse_error& error) {
            throw CommandError(path_, fmt::format("line {}: {}", error.source().begin.line, error.description()));
        }
    }

private:
    void take(std::string_view key, const toml::node& value)
    {
        if (key == "interval")
            settings_.interval = duration(key, value);
        else if (key == "patience")
            settings_.patience = duration(key, value);
        else if (key == "history")
            settings_.history = text(key, value);
        else if (key == "on_change")
            settings_.onChange = text(key, value);
        else if (key == "mail")
            settings_.mail = text(key, value);
        else if (key == "metrics")
            settings_.metrics = text(key, value);
        else
            fail(key, value, "there is no such setting");
    }

    [[noreturn]] void fail(std::string_view key, const toml::node& value, std::string_view why) const
    {
        throw CommandError(path_, fmt::format("line {}: {}: {}", value.source().begin.line, key, why));
    }

    std::string text(std::string_view key, const toml::node& value) const
    {
        const auto text = value.value_exact<std::string>();
        if (!text)
            fail(key, value, "a text is wanted, between quotation marks");
        return *text;
    }

    std::chrono::seconds duration(std::string_view key, const toml::node& value) const
    {
        const auto duration = durationOf(text(key, value));
        if (!duration || *duration < shortestInterval)
            fail(key, value, "a time is wanted, such as \"30m\"");
        return *duration;
    }

    const std::string& path_;
    WatchSettings& settings_;
};

} // namespace

WatchSettings settingsFor(const WatchOptions& options)
{
    WatchSettings settings;
    std::error_code ignored;
    if (options.file)
        SettingsFile(*options.file, settings).read();
    else if (std::filesystem::exists(usualFile, ignored))
        SettingsFile(usualFile, settings).read();
    if (options.interval)
        settings.interval = *durationOf(*options.interval);
    settings.history = options.history.value_or(settings.history);
    settings.onChange = options.onChange.value_or(settings.onChange);
    settings.mail = options.mail.value_or(settings.mail);
    settings.metrics = options.metrics.value_or(settings.metrics);
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' '; };
    if (std::ranges::any_of(settings.mail, isControl))
        throw CommandError(options.file.value_or(usualFile), "mail: an address has no line ends");
    return settings;
}

} // namespace vantorel::host
