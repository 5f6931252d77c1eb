// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/service/WatchSettings.h"
#include "host/console/Output.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace vantorel::host {
namespace {

using namespace std::chrono_literals;

class WatchSettingsTest : public testing::Test {
protected:
    [[nodiscard]] WatchOptions optionsWith(const std::string& settings) const
    {
        WatchOptions options;
        options.file = folder.write("watch.toml", settings);
        return options;
    }

    /// Why these settings are refused, without the name of the file before it.
    [[nodiscard]] std::string refusal(const WatchOptions& options) const
    {
        try {
            static_cast<void>(settingsFor(options));
            return "none";
        } catch (const CommandError& error) {
            const std::string text = error.what();
            const std::string file = options.file.value_or("") + ": ";
            return text.starts_with(file) ? text.substr(file.size()) : text;
        }
    }

    test::TemporaryFolder folder;
};

TEST_F(WatchSettingsTest, AreThoseOfTheFileUnlessTheCommandLineSaysOtherwise)
{
    WatchOptions options = optionsWith("interval = \"90s\"\npatience = \"2m\"\nhistory = \"h\"\non_change = \"c\"\n"
                                       "mail = \"a@b\"\nmetrics = \"m\"\n");
    EXPECT_EQ(settingsFor(options), (WatchSettings{90s, "h", "c", 120s, "a@b", "m"}));
    options.interval = "7h";
    options.history = "H";
    options.onChange = "C";
    options.mail = "";
    options.metrics = "M";
    EXPECT_EQ(settingsFor(options), (WatchSettings{25'200s, "H", "C", 120s, "", "M"}));
    EXPECT_EQ(settingsFor(optionsWith("")), WatchSettings());
    EXPECT_EQ(settingsFor(optionsWith("interval = \"1s\"")).interval, 1s);
}

TEST_F(WatchSettingsTest, AreRefusedWithThePlaceOfTheFault)
{
    const std::pair<const char*, const char*> rows[] = {
        {"interval = \"0s\"", "line 1: interval: a time is wanted, such as \"30m\""},
        {"\npatience = \"101y\"", "line 2: patience: a time is wanted, such as \"30m\""},
        {"patience = 60", "line 1: patience: a text is wanted, between quotation marks"},
        {"mail = \"a\"\n\nmetrics = true", "line 3: metrics: a text is wanted, between quotation marks"},
        {"history = [\"h\"]", "line 1: history: a text is wanted, between quotation marks"},
        {"[on_change]", "line 1: on_change: a text is wanted, between quotation marks"},
        {"Mail = \"a\"", "line 1: Mail: there is no such setting"},
        {"mail = \"a\\u001Fb\"", "mail: an address has no line ends"},
    };
    for (const auto& [settings, fault] : rows)
        EXPECT_EQ(refusal(optionsWith(settings)), fault) << settings;
    EXPECT_EQ(refusal(optionsWith("mail = \"a b\\u007F\"")), "none");
    EXPECT_TRUE(refusal(optionsWith("\n\n= 3")).starts_with("line 3: "));
    WatchOptions missing;
    missing.file = folder.file("none");
    EXPECT_EQ(refusal(missing), "No such file or directory");
    WatchOptions told;
    told.mail = "a\nBcc: b";
    EXPECT_EQ(refusal(told), "/etc/vantorel/watch.toml: mail: an address has no line ends");
}

} // namespace
} // namespace vantorel::host
