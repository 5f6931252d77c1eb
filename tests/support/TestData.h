// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace vantorel::test {

/// The whole file of that path below `tests/data`. Throws when there is none.
inline Data readTestData(const std::string& path)
{
    std::ifstream file(std::string(VANTOREL_TEST_DATA) + '/' + path, std::ios::binary);
    if (!file)
        throw std::runtime_error("no test data " + path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace vantorel::test
