// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryDump.h"

#include <memory>

namespace vantorel::report {

Data registryDump(const system::FileHandle::Bounds& bounds)
{
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
        return compressed->fileHandleForReading().readDataToEndOfFile(bounds).value_or(Data());
    } catch (const system::ProcessError&) {
        return {};
    }
}

} // namespace vantorel::report
