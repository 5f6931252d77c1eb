// SPDX-License-Identifier: GPL-2.0-or-later
// Times whole processes, two commands in turn: wall time of each as a median, their ratio pair by pair, peak memory.
//   process_bench RUNS COMMAND [ARGUMENT ...] [-- PEER [ARGUMENT ...]]
// What the commands print is thrown away.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

namespace {

struct Run {
    double milliseconds = 0;
    long kibibytes = 0;
};

Run runOnce(const std::vector<char*>& command)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const auto start = std::chrono::steady_clock::now();
    if (posix_spawnp(&child, command[0], &actions, nullptr, command.data(), environ) != 0) {
        std::fprintf(stderr, "process_bench: cannot start %s\n", command[0]);
        std::exit(2);
    }
    posix_spawn_file_actions_destroy(&actions);
    rusage usage{};
    int status = 0;
    wait4(child, &status, 0, &usage);
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
    return {taken.count(), usage.ru_maxrss};
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<char*> commands[2];
    int which = 0;
    for (int i = 2; i < argc; ++i) {
        if (which == 0 && std::string_view(argv[i]) == "--")
            which = 1;
        else
            commands[which].push_back(argv[i]);
    }
    const int runs = argc > 1 ? std::atoi(argv[1]) : 0;
    if (runs < 1 || commands[0].empty()) {
        std::fprintf(stderr, "usage: process_bench RUNS COMMAND [ARGUMENT ...] [-- PEER [ARGUMENT ...]]\n");
        return 2;
    }
    const bool hasPeer = !commands[1].empty();
    for (auto& command : commands)
        command.push_back(nullptr);

    std::vector<double> times[2];
    std::vector<double> ratios;
    long peak[2] = {0, 0};
    for (int run = -2; run < runs; ++run) { // two pairs warm the caches and are not counted
        Run pair[2];
        for (int i = 0; i < (hasPeer ? 2 : 1); ++i) {
            pair[i] = runOnce(commands[i]);
            peak[i] = std::max(peak[i], pair[i].kibibytes);
            if (run >= 0)
                times[i].push_back(pair[i].milliseconds);
        }
        if (run >= 0 && hasPeer)
            ratios.push_back(pair[0].milliseconds / pair[1].milliseconds);
    }
    std::printf("%s: %.2f ms, peak %ld KiB", argv[2], median(times[0]), peak[0]);
    if (hasPeer)
        std::printf("; %s: %.2f ms, peak %ld KiB; ratio %.3f", commands[1][0], median(times[1]), peak[1],
                    median(ratios));
    std::printf(" (medians of %d runs)\n", runs);
    return 0;
}
