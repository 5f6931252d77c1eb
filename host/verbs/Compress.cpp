// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/files/OutputFile.h"
#include "vantorel/compression/Compression.h"
#include "vantorel/compression/CompressionStream.h"

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

constexpr std::size_t blockSize = 65536;

const std::map<std::string, CompressionAlgorithm> algorithms = {
    {"lz4", CompressionAlgorithm::lz4},
    {"zlib", CompressionAlgorithm::zlib},
    {"lzma", CompressionAlgorithm::lzma},
    {"lzfse", CompressionAlgorithm::lzfse},
};

struct Arguments {
    std::string algorithm = "lzfse";
    std::string input = "-";
    std::string output = "-";
};

/// What is read, block by block.
class Input {
public:
    explicit Input(const std::string& path)
        : name_(path == "-" ? "standard input" : path), file_(path == "-" ? stdin : std::fopen(path.c_str(), "rbe"))
    {
        struct stat facts {};
        if (!file_ || fstat(fileno(file_.get()), &facts) != 0)
            throw CommandError(name_, reason(errno));
        if (S_ISDIR(facts.st_mode))
            throw CommandError(name_, reason(EISDIR));
        if (S_ISREG(facts.st_mode) && facts.st_size > 0)
            size_ = facts.st_size;
    }

    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] std::optional<std::int64_t> size() const { return size_; }

    /// The next bytes; none only at the end.
    DataView read()
    {
        const std::size_t count = std::fread(block_.get(), 1, blockSize, file_.get());
        if (count == 0 && std::ferror(file_.get()))
            throw CommandError(name_, reason(errno));
        return {block_.get(), count};
    }

private:
    struct Closer {
        void operator()(std::FILE* file) const
        {
            if (file != stdin)
                std::fclose(file);
        }
    };

    std::string name_;
    std::unique_ptr<std::FILE, Closer> file_;
    std::optional<std::int64_t> size_;
    std::unique_ptr<std::uint8_t[]> block_ = std::make_unique_for_overwrite<std::uint8_t[]>(blockSize);
};

/// How far a long run got.
class Progress {
public:
    explicit Progress(std::optional<std::int64_t> whole) : whole_(whole) {}

    void add(std::size_t count)
    {
        done_ += static_cast<std::int64_t>(count);
        const auto now = std::chrono::steady_clock::now();
        if (!line_.isSeen() || now < next_)
            return;
        next_ = now + std::chrono::milliseconds(200);
        const auto megabytes = static_cast<double>(done_) / 1e6;
        line_.show(whole_ ? fmt::format(
                                "{:.1f} MB, {} %", megabytes,
                                std::min<std::int64_t>(100, static_cast<std::int64_t>(100 * static_cast<double>(done_) /
                                                                                      static_cast<double>(*whole_))))
                          : fmt::format("{:.1f} MB", megabytes));
    }

private:
    ProgressLine line_;
    std::optional<std::int64_t> whole_;
    std::int64_t done_ = 0;
    std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
};

/// Sends the input through a stream into the output. The bytes of the input behind the end of the stream are left.
void transfer(Input& input, OutputFile& output, system::compression_stream& stream, bool encode,
              const std::string& algorithm)
{
    Progress progress(input.size());
    const auto block = std::make_unique_for_overwrite<std::uint8_t[]>(blockSize);
    for (;;) {
        const DataView source = input.read();
        const int flags = source.empty() ? system::COMPRESSION_STREAM_FINALIZE : 0;
        stream.src_ptr = source.data();
        stream.src_size = source.size();
        auto status = system::COMPRESSION_STATUS_OK;
        do {
            stream.dst_ptr = block.get();
            stream.dst_size = blockSize;
            status = system::compression_stream_process(&stream, flags);
            output.write({block.get(), blockSize - stream.dst_size});
        } while (status == system::COMPRESSION_STATUS_OK && stream.dst_size == 0);
        if (status == system::COMPRESSION_STATUS_END)
            return;
        if (status == system::COMPRESSION_STATUS_ERROR && !encode)
            throw CommandError(input.name(), source.empty() ? "stops before the end of its " + algorithm + " stream"
                                                            : "is no " + algorithm + " stream, or a damaged one");
        if (status == system::COMPRESSION_STATUS_ERROR)
            throw CommandError(input.name(), reason(ENOMEM));
        progress.add(source.size());
    }
}

int run(const Arguments& arguments, bool encode)
{
    if (encode && arguments.output == "-" && isatty(STDOUT_FILENO) != 0)
        throw CommandError("standard output", "is a terminal; name a file with -o");
    system::compression_stream stream;
    const auto algorithm = static_cast<system::compression_algorithm>(algorithms.at(arguments.algorithm));
    const auto direction = encode ? system::COMPRESSION_STREAM_ENCODE : system::COMPRESSION_STREAM_DECODE;
    if (system::compression_stream_init(&stream, direction, algorithm) == system::COMPRESSION_STATUS_ERROR)
        throw CommandError(arguments.algorithm, reason(ENOMEM));
    Input input(arguments.input);
    OutputFile output(arguments.output);
    transfer(input, output, stream, encode, arguments.algorithm);
    output.commit();
    if (stream.src_size > 0 || !input.read().empty())
        complain(input.name(), "the bytes behind the end of the stream were left out");
    return success;
}

void addVerb(CLI::App& app, int& status, const char* name, const char* description, bool encode)
{
    CLI::App* verb = app.add_subcommand(name, description);
    const auto arguments = std::make_shared<Arguments>();
    verb->add_option("--algorithm,-a", arguments->algorithm, "lz4, zlib (raw deflate), lzma (xz) or lzfse")
        ->type_name("ALGORITHM")
        ->check(CLI::IsMember(algorithms))
        ->capture_default_str();
    verb->add_option("IN", arguments->input, "File to read; - for standard input")
        ->type_name("FILE")
        ->capture_default_str();
    verb->add_option("-o,--output", arguments->output, "File to write; - for standard output")
        ->type_name("FILE")
        ->capture_default_str();
    verb->callback([arguments, encode, &status] { status = run(*arguments, encode); });
}

} // namespace

void addCompress(CLI::App& app, int& status)
{
    addVerb(app, status, "compress", "Compress a file", true);
}

void addExpand(CLI::App& app, int& status)
{
    addVerb(app, status, "expand", "Expand what compress, or a Mac, wrote", false);
}

} // namespace vantorel::host
