// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/choice/HistoryChoice.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace vantorel::host {
namespace {

void setOrUnset(const char* name, const char* value)
{
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

TEST(HistoryChoice, UsuallyLiesWhereTheSystemKeepsWhatLasts)
{
    struct Row {
        const char* service; // STATE_DIRECTORY
        const char* state;   // XDG_STATE_HOME
        const char* home;
        const char* path;
    };
    const Row rows[] = {
        {"/srv/s", "/xdg", "/home/u", "/srv/s/history.db"},
        {"srv/s", "/xdg", "/home/u", "/xdg/vantorel/history.db"},
        {"", "/xdg", "/home/u", "/xdg/vantorel/history.db"},
        {nullptr, "xdg", "/home/u", "/home/u/.local/state/vantorel/history.db"},
        {nullptr, "", "/home/u", "/home/u/.local/state/vantorel/history.db"},
        {nullptr, nullptr, "home/u", ""},
        {nullptr, nullptr, nullptr, ""},
    };
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        for (const Row& row : rows) {
            setOrUnset("STATE_DIRECTORY", row.service);
            setOrUnset("XDG_STATE_HOME", row.state);
            const bool isService = row.service && *row.service == '/';
            EXPECT_EQ(usualHistory(), isService ? row.path : "/var/lib/vantorel/history.db");
        }
        ASSERT_EQ(seteuid(65534), 0); // and then as anybody else
    }
    for (const Row& row : rows) {
        setOrUnset("STATE_DIRECTORY", row.service);
        setOrUnset("XDG_STATE_HOME", row.state);
        setOrUnset("HOME", row.home);
        EXPECT_EQ(usualHistory(), row.path);
    }
    EXPECT_TRUE(!isRoot || seteuid(0) == 0);
}

} // namespace
} // namespace vantorel::host
