// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace vantorel::test {

/// What a file holds; nothing where there is none.
inline std::string contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A folder of the test's own, gone with it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "vantorel-test-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// The path of a file in the folder.
    [[nodiscard]] std::string file(const std::string& name) const { return path_ / name; }

    /// Makes a file and gives its path.
    std::string write(const std::string& name, const std::string& contents) const
    {
        std::ofstream(path_ / name, std::ios::binary) << contents;
        return file(name);
    }

private:
    std::filesystem::path path_;
};

} // namespace vantorel::test
