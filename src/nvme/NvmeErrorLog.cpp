// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/nvme/NvmeErrorLog.h"

#include "vantorel/base/Bytes.h"

#include <algorithm>
#include <functional>

namespace vantorel {

std::vector<NVMeSmartError> processErrorLog(std::span<const NVMeErrorLogPage> entries)
{
    std::vector<NVMeSmartError> errors;
    for (const NVMeErrorLogPage& entry : entries) {
        if (entry.error_count != 0)
            errors.push_back({entry.error_count, entry.sqid, entry.cmdid, entry.status_field});
    }
    std::ranges::stable_sort(errors, std::ranges::greater(), &NVMeSmartError::count);
    return errors;
}

std::vector<NVMeSmartError> processErrorLog(DataView log)
{
    std::vector<NVMeErrorLogPage> entries;
    for (; const auto entry = readRecord<NVMeErrorLogPage>(log); log = log.subspan(sizeof(NVMeErrorLogPage)))
        entries.push_back(*entry);
    return processErrorLog(std::span<const NVMeErrorLogPage>(entries));
}

} // namespace vantorel
