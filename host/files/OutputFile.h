// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace vantorel::host {

/// What a run writes: standard output, or a file that appears under its name only when it is complete. Until then it
/// grows beside that name, and it is gone again if the run fails or is interrupted.
class OutputFile {
public:
    /// Who may read a file that is new: whom the process gives its files to, or everybody, as for one that a service of
    /// another user reads. One that was there keeps its readers, and gets these besides.
    enum class Readers { asUsual, everybody };

    /// `path`: "-" for standard output. What is no regular file, such as a device, is written to at once. Throws
    /// `CommandError`, like all of these.
    explicit OutputFile(const std::string& path, Readers readers = Readers::asUsual);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(DataView bytes);

    /// Gives the file its name, in the place of one that had it.
    void commit();

private:
    struct Closer {
        void operator()(std::FILE* file) const
        {
            if (file != stdout)
                std::fclose(file);
        }
    };

    [[noreturn]] void fail() const;
    void openBeside(unsigned mode);

    std::string path_;
    std::string growing_; ///< the name until `commit`; empty when there is none of its own
    std::unique_ptr<std::FILE, Closer> file_;
};

/// Writes a whole text to standard output, or to a file. Throws `CommandError`.
void writeText(const std::string& path, std::string_view text);

} // namespace vantorel::host
