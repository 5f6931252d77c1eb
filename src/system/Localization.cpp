// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Localization.h"

#include "StringsFile.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <mutex>
#include <shared_mutex>
#include <system_error>

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

Translations parseTranslations(DataView contents)
{
    return isPropertyList(contents) ? parseStringsPropertyList(contents) : parseStringsText(contents);
}

void loadTranslations(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    const Data contents{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad())
        throw TranslationError(path + ": " + std::generic_category().message(errno));
    try {
        setTranslations(parseTranslations(contents));
    } catch (const TranslationError& error) {
        throw TranslationError(path + ": " + error.what());
    }
}

} // namespace vantorel::system
