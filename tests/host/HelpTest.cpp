// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace vantorel {
namespace {

using test::runCommand;
using testing::HasSubstr;

TEST(HelpCommand, TellsWhatTheHelpOfTheVerbTells)
{
    for (const std::string verb : {"", "smart", "db", "db show", "decode nvme", "help"}) {
        const auto help = runCommand("help " + verb);
        EXPECT_EQ(help.status, 0) << verb;
        EXPECT_THAT(help.out, HasSubstr("\n\nUsage: vantorel" + (verb.empty() ? verb : ' ' + verb) + " [OPTION...]"));
        EXPECT_THAT(help.out, HasSubstr("--machine PATH")) << verb;
        if (verb != "help") {
            EXPECT_EQ(help.out, runCommand(verb + " --help").out) << verb;
        }
    }
    EXPECT_THAT(runCommand("help decode ata").out,
                HasSubstr("Usage: vantorel decode ata --model TEXT [OPTION...] DATA"));
}

TEST(HelpCommand, TellsWhatHoldsUnlessToldAndWhatGoesWithWhat)
{
    const struct {
        const char* verb;
        const char* text; // wherever its lines end
    } cases[] = {
        {"check", "-o, --output FILE The file to write; - for standard output (with --html; - unless told)"},
        {"check", "--raw With the raw bytes of every drive (with --json)"},
        {"compress", "IN File to read; - for standard input (- unless told)"},
        {"compress", "lz4, zlib (raw deflate), lzma (xz) or lzfse (lzfse unless told)"},
        {"compress", "-o, --output FILE File to write; - for standard output (- unless told)"},
        {"decode ata", "--raw With the raw bytes (with --json)"},
        {"history prune", "--older-than TEXT How old a reading has to be, such as 90d (5y unless told)"},
        {"history show", "--most UINT The latest so many growths of a drive (20 unless told)"},
        {"history show", "--readings With every reading and its raw bytes (with --json)"},
        {"report", "-o, --output FILE File to write; - for standard output (report.vantorel unless told)"},
        {"show", "standard output (with --html; - unless told)"},
        {"stats", "--count COUNT End after so many rates (with --interval)"},
        {"watch", "--on-change COMMAND Run this command with the change as JSON on its standard input (with --health)"},
    };
    for (const auto& [verb, text] : cases) {
        std::istringstream words(runCommand("help " + std::string(verb)).out);
        std::string line;
        for (std::string word; words >> word;)
            line += word + ' ';
        EXPECT_THAT(line, HasSubstr(text)) << verb;
    }
}

TEST(HelpCommand, SuggestsWhatWasLikelyMeant)
{
    const struct {
        std::string words;
        std::string error;
    } cases[] = {
        {"recrod", "what is \"recrod\"? Did you mean \"record\"? See --help"},
        {"check2", "what is \"check2\"? Did you mean \"check\"? See --help"},
        {"exzand", "what is \"exzand\"? Did you mean \"expand\"? See --help"},
        {"expa", "what is \"expa\"? Did you mean \"expand\"? See --help"},
        {"exp", "what is \"exp\"? See --help"},
        {"chekc", "what is \"chekc\"? Did you mean \"check\"? See --help"},
        {"db shwo", "what is \"shwo\"? Did you mean \"show\"? See --help"},
        {"smart --jsno", "what is \"--jsno\"? Did you mean \"--json\"? See --help"},
        {"smart --machin x", "what is \"--machin\"? Did you mean \"--machine\"? See --help"},
        {"help db lnt", "there is no verb \"lnt\". Did you mean \"lint\"?"},
        {"completely-other", "what is \"completely-other\"? See --help"},
        {"ex", "what is \"ex\"? See --help"},
        {std::string(100000, 'a'), "what is \"" + std::string(100000, 'a') + "\"? See --help"},
    };
    for (const auto& [words, error] : cases) {
        const auto run = runCommand(words);
        EXPECT_EQ(run.status, 1) << words;
        EXPECT_EQ(run.err, "vantorel: arguments: " + error + '\n');
    }
}

TEST(Completion, TellsEveryWordThatTheLastIsTheBeginningOf)
{
    const struct {
        std::string words;
        std::string expected;
    } cases[] = {
        {"dec", "decode\tJudge saved SMART data\n"},
        {"decode n", "nvme\tJudge the saved health log of an NVMe drive\n"},
        {"--machine sample:tower errors disk3", "disk3\tMaxtor 96147H8\n"},
        {"--machine = sample:laptop errors =", "disk0\tAPPLE SSD AP0512Q\n"},
        {"smart --machine=sample:l", "--machine=sample:laptop\tA machine that comes with this program\n:files\n"},
        {"compress -a lz4 --alg", "--algorithm\tlz4, zlib (raw deflate), lzma (xz) or lzfse\n"},
        {"compress --algorithm=z", "--algorithm=zlib\t\n"},
        {"show old --extract ''", ":folders\n"},
        {"diff old ''", ":files\n"},
        {"diff old new ''", ""},
        {"stats --interval ''", ""},
        {"errors --machine /nowhere ''", ""},
        {"smart --json --nothing", ""},
    };
    for (const auto& [words, expected] : cases) {
        const auto run = runCommand("--complete " + words);
        EXPECT_EQ(run.out, expected) << words;
        EXPECT_EQ(run.status, 0) << words;
    }
}

} // namespace
} // namespace vantorel
