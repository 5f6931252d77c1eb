// SPDX-License-Identifier: GPL-2.0-or-later
// Runs a command on a computer that seems to have so many disks: their kernel files lie in a temporary folder, which
// stands in the place of /sys for the command alone.
//   many_disks COUNT COMMAND [ARGUMENT ...]
#include "ManyDisks.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What lsblk looks for beside "class/block": the disks alone, all by their numbers, and the numbers.
void addLists(const vantorel::test::FakeSysfs& sysfs)
{
    for (const auto& entry : std::filesystem::directory_iterator(sysfs.path("sys/class/block"))) {
        const std::string target = std::filesystem::read_symlink(entry).string().substr(std::strlen("../../"));
        std::ifstream uevent(entry.path() / "uevent");
        std::string numbers[2];
        for (std::string& number : numbers) { // MAJOR= and MINOR=
            std::getline(uevent, number);
            number.erase(0, number.find('=') + 1);
        }
        const std::string device = numbers[0] + ":" + numbers[1];
        sysfs.write("sys/" + target + "/dev", device + "\n");
        sysfs.link("sys/dev/block/" + device, "../../" + target);
        if (!std::filesystem::exists(entry.path() / "partition"))
            sysfs.link("sys/block/" + entry.path().filename().string(), "../" + target);
    }
}

/// Another user's rights do for mounting in a namespace of his own.
bool standsIn(const std::string& sysfs)
{
    const int namespaces = geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER;
    return unshare(namespaces) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(sysfs.c_str(), "/sys", nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const int count = argc > 2 ? std::atoi(argv[1]) : 0;
    if (count < 1) {
        std::fprintf(stderr, "usage: many_disks COUNT COMMAND [ARGUMENT ...]\n");
        return 2;
    }
    const vantorel::test::FakeSysfs sysfs;
    vantorel::bench::addDisks(sysfs, count);
    addLists(sysfs);
    const pid_t child = fork();
    if (child == 0) {
        if (standsIn(sysfs.sysfs()))
            execvp(argv[2], argv + 2);
        std::fprintf(stderr, "many_disks: %s\n", std::strerror(errno));
        _exit(2);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}
