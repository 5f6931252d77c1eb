// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Text.h"
#include "vantorel/system/Localization.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace vantorel;
    try {
        for (const auto& [key, value] : system::parseTranslations({bytes, size})) {
            if (!base::isUtf8(key) || !base::isUtf8(value))
                std::abort();
        }
    } catch (const system::TranslationError&) {
    }
    return 0;
}
