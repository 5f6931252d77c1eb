// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/records/RecordJson.h"

#include <cstdlib>

namespace {

/// What can be read must be written and read again as the same record.
template <typename Record>
void tryRecord(std::string_view json)
{
    using namespace vantorel;
    Record record;
    try {
        record = fromJson<Record>(json);
    } catch (const JsonError&) {
        return;
    }
    if (!(fromJson<Record>(toJson(record)) == record) || !dictionary(record))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string json(bytes, bytes + size);
    tryRecord<vantorel::ATASmartObject>(json);
    tryRecord<vantorel::NVMeSmartObject>(json);
    tryRecord<vantorel::NVMeSmartError>(json);
    return 0;
}
