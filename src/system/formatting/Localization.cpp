// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Localization.h"

#include <mutex>
#include <shared_mutex>

namespace vantorel::system {

namespace {

struct Table {
    std::shared_mutex mutex;
    Translations translations;

    static Table& shared()
    {
        static Table table;
        return table;
    }
};

} // namespace

std::string localized(std::string_view key)
{
    Table& table = Table::shared();
    const std::shared_lock lock(table.mutex);
    const auto found = table.translations.find(key);
    return found == table.translations.end() ? std::string(key) : found->second;
}

void setTranslations(Translations translations)
{
    Table& table = Table::shared();
    const std::unique_lock lock(table.mutex);
    table.translations.swap(translations);
}

} // namespace vantorel::system
