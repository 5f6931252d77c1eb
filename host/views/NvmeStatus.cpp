// SPDX-License-Identifier: GPL-2.0-or-later
#include "NvmeStatus.h"

#include <fmt/format.h>

#include <string_view>

namespace vantorel::host {

namespace {

/// The status codes that drives in the field report, with their type in the upper byte (NVM Express Base Specification,
/// "Status Code").
struct StatusName {
    unsigned code;
    std::string_view name;
};
constexpr StatusName statusNames[] = {
    {0x000, "successful completion"},    {0x001, "invalid command opcode"},
    {0x002, "invalid field in command"}, {0x004, "data transfer error"},
    {0x005, "aborted by power loss"},    {0x006, "internal error"},
    {0x007, "abort requested"},          {0x00B, "invalid namespace or format"},
    {0x00C, "command sequence error"},   {0x080, "address out of range"},
    {0x109, "invalid log page"},         {0x10A, "invalid format"},
    {0x10E, "feature not changeable"},   {0x280, "write fault"},
    {0x281, "unrecovered read error"},   {0x282, "end-to-end guard check error"},
    {0x285, "compare failure"},          {0x286, "access denied"},
};

} // namespace

std::string nvmeStatusText(std::uint16_t field)
{
    const unsigned code = (field >> 1U) & 0x7FFU;
    for (const auto& [known, name] : statusNames) {
        if (known == code)
            return std::string(name);
    }
    return fmt::format("type {}, code 0x{:02x}", code >> 8U, code & 0xFFU);
}

} // namespace vantorel::host
