// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportRedaction.h"

#include "vantorel/layouts/Nvme.h"
#include "vantorel/report/ReportParts.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

/// Identify data stand alone in a report; of the two kinds that of NVMe is the longer one.
void noteReadings(const PropertyTable& root, recorded::Redaction& redaction)
{
    const PropertyValue* const readings = root.lookUp("readings");
    const PropertyArray none;
    for (const PropertyValue& reading : readings && readings->array() ? *readings->array() : none) {
        const auto identify = reading.table() ? reading.table()->get<Data>("identify") : std::nullopt;
        if (identify)
            redaction.noteIdentify(identify->size() < sizeof(NVMeControllerData) ? recorded::RecordedDrive::Kind::ata
                                                                                 : recorded::RecordedDrive::Kind::nvme,
                                   *identify);
    }
}

} // namespace

recorded::Redaction redactionHere()
{
    recorded::Redaction redaction;
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) == 0) {
        const std::string_view host(name.data());
        redaction.noteName(host);
        redaction.noteName(host.substr(0, host.find('.')));
    }
    for (const char* const variable : {"USER", "LOGNAME", "SUDO_USER"}) {
        if (const char* const user = std::getenv(variable))
            redaction.noteName(user);
    }
    if (const passwd* const user = getpwuid(getuid()))
        redaction.noteName(user->pw_name);
    return redaction;
}

Data redactedReport(DataView report)
{
    ReportParts parts = takeApart(report);
    recorded::Redaction redaction = redactionHere();
    redaction.note(parts.root);
    redaction.note("", parts.listing);
    noteReadings(parts.root, redaction);
    redaction.prepare();
    redaction.redact(parts.root);
    redaction.redact("", parts.listing);
    return putTogether(std::move(parts));
}

} // namespace vantorel::host
