// SPDX-License-Identifier: GPL-2.0-or-later
// The first byte parts the input: a preset text, and an expression that is read for its literals.
#include "ata/DriveTable.h"
#include "ata/LiteralAlternatives.h"
#include "vantorel/ata/DriveTableLint.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace vantorel;
    if (size == 0)
        return 0;
    const std::string text(bytes + 1, bytes + size);
    const std::size_t cut = std::min<std::size_t>(bytes[0], text.size());
    const std::string expression = text.substr(0, cut);
    const std::string presets = text.substr(cut);

    for (const auto& definition : parsePresets(presets)) {
        if (definition &&
            (definition->format == ata_attr_raw_format::none || static_cast<unsigned>(definition->format) > 19))
            std::abort();
    }

    // A row that matches a text must not be ruled out by its literals: a table of it alone finds what it stands for.
    const drive_settings row{"", expression, "", "", presets};
    const auto texts = ata::literalAlternatives(expression, 64);
    if (texts && !ata::DriveTable::faultOf(expression)) {
        ata::DriveTable table({&row, 1});
        for (const std::string& alternative : *texts) {
            if (table.find(alternative, "") != 0)
                std::abort();
        }
    }
    (void)lintDriveTable({&row, 1});
    return 0;
}
