// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryDump.h"

#include <chrono>
#include <memory>

namespace vantorel::report {

namespace {

using Clock = std::chrono::steady_clock;

/// What gzip makes of nothing (RFC 1952).
const Data gzipOfNothing = {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 3, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0};

/// Which of the bounds ended the listing.
std::string faultOf(const system::FileHandle::Bounds& bounds, Clock::time_point begin)
{
    using std::chrono::duration_cast;
    if (bounds.time && Clock::now() - begin >= *bounds.time) {
        const auto seconds = duration_cast<std::chrono::seconds>(*bounds.time).count();
        return "the listing of the registry took longer than " + std::to_string(seconds) + " s";
    }
    return "the listing of the registry is larger than " + std::to_string(bounds.bytes) + " bytes";
}

} // namespace

RegistryDump registryDump(const system::FileHandle::Bounds& bounds)
{
    const Clock::time_point begin = Clock::now();
    try {
        const auto listing = std::make_shared<system::Pipe>();
        const auto compressed = std::make_shared<system::Pipe>();
        system::Task ioreg;
        ioreg.setLaunchPath("/usr/sbin/ioreg");
        ioreg.setArguments({"-l", "-w0", "-a"});
        ioreg.setStandardOutput(listing);
        system::Task gzip;
        gzip.setLaunchPath("/usr/bin/gzip");
        gzip.setArguments({"-c"});
        gzip.setStandardInput(listing);
        gzip.setStandardOutput(compressed);
        ioreg.launch();
        gzip.launch();
        if (auto bytes = compressed->fileHandleForReading().readDataToEndOfFile(bounds))
            return {*std::move(bytes), {}};
        return {gzipOfNothing, faultOf(bounds, begin)};
    } catch (const system::ProcessError& error) {
        return {{}, error.what()};
    }
}

} // namespace vantorel::report
