// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/views/CheckView.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace vantorel::host {
namespace {

/// Of a screen with so many columns.
std::string textOn(const char* columns)
{
    setenv("COLUMNS", columns, 1);
    CheckedDrive bad{.name = "sdb", .model = "ACME Disk 2000", .serial = " A1 ", .size = 2'000'000'000'000};
    bad.state = "not opened";
    bad.explanation = "Nobody may send commands to this drive but the administrator of this computer.";
    bad.remedy = "sudo setcap cap_sys_rawio,cap_sys_admin+ep /usr/local/bin/vantorel";
    bad.isFault = true;
    bad.mountPoints = {"/srv", "/var/lib/with a name"};
    CheckedDrive asleep{.name = "sda", .model = "Sleeper", .serial = "S2", .size = 500'000'000};
    asleep.state = "asleep";
    return checkText({asleep, bad});
}

TEST(CheckView, TellsOfADriveWithoutVerdictWhatIsOnItWhyAndWhatHelps)
{
    if (isatty(STDOUT_FILENO) == 1)
        GTEST_SKIP() << "the terminal has a width of its own";
    EXPECT_EQ(textOn("60"), "DISK  MODEL             SIZE  AGE  TEMP  LEVEL\n"
                            "sdb   ACME Disk 2000    2 TB    -     -  not opened\n"
                            "    serial A1\n"
                            "    mounted: /srv, /var/lib/with a name\n"
                            "  - Nobody may send commands to this drive but the\n"
                            "    administrator of this computer.\n"
                            "    sudo setcap cap_sys_rawio,cap_sys_admin+ep /usr/local/bin/vantorel\n"
                            "sda   Sleeper         500 MB    -     -  asleep\n"
                            "2 drives: 1 not opened, 1 asleep\n");
    EXPECT_TRUE(textOn("49").starts_with("DISK  MODEL")) << "which leaves the model a dozen columns";
    EXPECT_EQ(textOn("48"), "sdb  not opened\n"
                            "  ACME Disk 2000, 2 TB\n"
                            "    serial A1\n"
                            "    mounted: /srv, /var/lib/with a name\n"
                            "  - Nobody may send commands to this drive but\n"
                            "    the administrator of this computer.\n"
                            "    sudo setcap cap_sys_rawio,cap_sys_admin+ep /usr/local/bin/vantorel\n"
                            "sda  asleep\n"
                            "  Sleeper, 500 MB\n"
                            "2 drives: 1 not opened, 1 asleep\n");
    unsetenv("COLUMNS");
}

} // namespace
} // namespace vantorel::host
