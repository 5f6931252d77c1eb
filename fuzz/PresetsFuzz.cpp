// SPDX-License-Identifier: GPL-2.0-or-later
// The first byte parts the input: a preset text, and an expression that is read for its literals.
#include "ata/LiteralAlternatives.h"
#include "ata/TableSearch.h"
#include "vantorel/ata/DriveTableLint.h"
#include "vantorel/base/Text.h"

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
    for (const auto matching : {DriveTableMatching::anywhere, DriveTableMatching::whole}) {
        const DriveTable table{
            .name = "", .revision = "", .rows = {&row, 1}, .matching = matching, .lines = {}, .texts = {}};
        const auto texts = ata::literalAlternatives(expression, 64, matching);
        if (texts && describesDrives(row) && !ata::faultOf(expression)) {
            ata::TableSearch search(table.rows, matching);
            for (const std::string& alternative : *texts) {
                // The blanks at the ends of a whole text do not count.
                if (base::trimmed(alternative) == alternative && search.find(alternative, "") != 0)
                    std::abort();
            }
        }
        (void)lintDriveTable(table);
    }
    return 0;
}
