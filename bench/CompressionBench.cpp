// SPDX-License-Identifier: GPL-2.0-or-later
// The compression operations beside direct calls of the libraries under them, in one run on the same bytes: 250 KB
// of text and 16 MiB of mixed data. The counters `size` (of the result) and `memory` (bytes at the most beside input
// and result) go with the speeds.
#include "vantorel/compression/Compression.h"
#include "vantorel/compression/CompressionStream.h"

#include <benchmark/benchmark.h>
#include <lz4.h>
#include <lzma.h>
#include <malloc.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>

namespace {

using namespace vantorel;

constexpr std::size_t textSize = 250'000;
constexpr std::size_t mixedPart = 4 << 20;

/// The project's own documents and sources, one behind the other.
Data projectText()
{
    std::vector<std::filesystem::path> paths;
    for (const char* folder : {"docs", "include", "src", "host", "tests"})
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::filesystem::path(VANTOREL_PROJECT) / folder, std::filesystem::directory_options::none))
            if (const auto kind = entry.path().extension(); kind == ".md" || kind == ".h" || kind == ".cpp")
                paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    Data text;
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        text.insert(text.end(), std::istreambuf_iterator<char>(file), {});
    }
    text.resize(std::min(text.size(), textSize));
    return text;
}

/// Sectors as a drive gives them: a table of 12-byte rows, of which the last bytes change, then zeros.
Data sectors(std::size_t size, std::mt19937& random)
{
    Data bytes(size);
    for (std::size_t sector = 0; sector + 512 <= size; sector += 512)
        for (std::size_t row = 0; row < 20; ++row) {
            std::uint8_t* const at = bytes.data() + sector + 2 + 12 * row;
            at[0] = static_cast<std::uint8_t>(1 + 3 * row);
            at[1] = row % 3 == 0 ? 0x0f : 0x32;
            at[3] = at[4] = static_cast<std::uint8_t>(100 - random() % 4);
            at[5] = static_cast<std::uint8_t>(random());
            at[6] = static_cast<std::uint8_t>(random() % 16);
        }
    return bytes;
}

Data mixed(const Data& text)
{
    std::mt19937 random(1);
    Data bytes;
    while (bytes.size() < mixedPart)
        bytes.insert(bytes.end(), text.begin(),
                     text.begin() + static_cast<std::ptrdiff_t>(std::min(text.size(), mixedPart - bytes.size())));
    const Data middle = sectors(mixedPart, random);
    bytes.insert(bytes.end(), middle.begin(), middle.end());
    std::generate_n(std::back_inserter(bytes), mixedPart, [&] { return static_cast<std::uint8_t>(random()); });
    bytes.resize(4 * mixedPart);
    return bytes;
}

/// What an operation needs at the most beside its input and its result of up to `resultSize` bytes: what its stream
/// allocates, the output block, and the room to work ahead of that.
double operationMemory(const Data& input, CompressionAlgorithm algorithm, bool encode, std::size_t resultSize)
{
    constexpr std::size_t block = defaultCompressionBufferSize;
    constexpr std::size_t ahead = 2 * system::COMPRESSION_STREAM_AHEAD;
    const auto inUse = [] {
        const auto facts = mallinfo2();
        return facts.uordblks + facts.hblkhd;
    };
    Data result(resultSize + block + ahead);
    const std::size_t before = inUse();
    std::size_t most = before;
    system::compression_stream stream;
    auto status = system::compression_stream_init(
        &stream, encode ? system::COMPRESSION_STREAM_ENCODE : system::COMPRESSION_STREAM_DECODE,
        static_cast<system::compression_algorithm>(algorithm));
    system::compression_stream_in_place(&stream);
    stream.src_ptr = input.data();
    stream.src_size = input.size();
    stream.dst_ptr = result.data();
    while (status == system::COMPRESSION_STATUS_OK) {
        stream.dst_size = block;
        status = system::compression_stream_process(&stream, encode ? system::COMPRESSION_STREAM_FINALIZE : 0);
        most = std::max(most, inUse());
    }
    return static_cast<double>(most - before + block + ahead);
}

struct Direct {
    std::function<std::size_t(const Data& plain, Data& out)> compress; ///< into `out`, which is large enough
    std::function<std::size_t(const Data& packed, Data& out)> expand;
};

Direct directDeflate()
{
    const auto run = [](auto init, auto step, auto end, const Data& in, Data& out) {
        z_stream z{};
        init(&z);
        z.next_in = const_cast<Bytef*>(in.data());
        z.avail_in = static_cast<uInt>(in.size());
        z.next_out = out.data();
        z.avail_out = static_cast<uInt>(out.size());
        step(&z, Z_FINISH);
        end(&z);
        return static_cast<std::size_t>(z.total_out);
    };
    return {[run](const Data& in, Data& out) {
                return run([](z_stream* z) { deflateInit2(z, 5, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY); }, deflate,
                           deflateEnd, in, out);
            },
            [run](const Data& in, Data& out) {
                return run([](z_stream* z) { inflateInit2(z, -15); }, inflate, inflateEnd, in, out);
            }};
}

Direct directXz()
{
    return {[](const Data& in, Data& out) {
                std::size_t size = 0;
                const lzma_ret result = lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr, in.data(), in.size(),
                                                                out.data(), &size, out.size());
                return result == LZMA_OK ? size : 0;
            },
            [](const Data& in, Data& out) {
                std::uint64_t limit = UINT64_MAX;
                std::size_t used = 0;
                std::size_t size = 0;
                const lzma_ret result = lzma_stream_buffer_decode(&limit, 0, nullptr, in.data(), &used, in.size(),
                                                                  out.data(), &size, out.size());
                return result == LZMA_OK ? size : 0;
            }};
}

Direct directLz4()
{
    const auto run = [](auto call, const Data& in, Data& out) {
        return static_cast<std::size_t>(call(reinterpret_cast<const char*>(in.data()),
                                             reinterpret_cast<char*>(out.data()), static_cast<int>(in.size()),
                                             static_cast<int>(out.size())));
    };
    return {[run](const Data& in, Data& out) { return run(LZ4_compress_default, in, out); },
            [run](const Data& in, Data& out) { return run(LZ4_decompress_safe, in, out); }};
}

void finish(benchmark::State& state, const Data& plain, std::size_t size)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * plain.size()));
    state.counters["size"] = static_cast<double>(size);
}

void addOurs(const std::string& input, const Data& plain, const std::string& name, CompressionAlgorithm algorithm)
{
    benchmark::RegisterBenchmark((input + "/" + name + "/compress/ours").c_str(), [&plain, algorithm](auto& state) {
        std::size_t size = 0;
        for (auto _ : state)
            size = compress(plain, algorithm)->size();
        finish(state, plain, size);
        state.counters["memory"] = operationMemory(plain, algorithm, true, size);
    });
    benchmark::RegisterBenchmark((input + "/" + name + "/expand/ours").c_str(), [&plain, algorithm](auto& state) {
        const Data packed = *compress(plain, algorithm);
        std::size_t size = 0;
        for (auto _ : state)
            size = decompress(packed, algorithm)->size();
        finish(state, plain, size);
        state.counters["memory"] = operationMemory(packed, algorithm, false, size);
    });
}

void addDirect(const std::string& input, const Data& plain, const std::string& name, const Direct& direct)
{
    const std::size_t bound = plain.size() + plain.size() / 100 + 1024;
    benchmark::RegisterBenchmark((input + "/" + name + "/compress/direct").c_str(),
                                 [&plain, direct, bound](auto& state) {
                                     std::size_t size = 0;
                                     for (auto _ : state) {
                                         Data out(bound);
                                         size = direct.compress(plain, out);
                                     }
                                     finish(state, plain, size);
                                 });
    benchmark::RegisterBenchmark((input + "/" + name + "/expand/direct").c_str(), [&plain, direct, bound](auto& state) {
        Data packed(bound);
        packed.resize(direct.compress(plain, packed));
        std::size_t size = 0;
        for (auto _ : state) {
            Data out(plain.size());
            size = direct.expand(packed, out);
        }
        if (size != plain.size())
            state.SkipWithError("the result is not the input");
        finish(state, plain, size);
    });
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    // Memory stays with the process, so that neither side pays for fresh pages by the luck of malloc's thresholds.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    const Data text = projectText();
    const Data mixture = mixed(text);
    for (const auto& [input, plain] : {std::pair<const char*, const Data&>("text", text), {"mixed", mixture}}) {
        addOurs(input, plain, "lzfse", CompressionAlgorithm::lzfse);
        addOurs(input, plain, "zlib", CompressionAlgorithm::zlib);
        addDirect(input, plain, "zlib", directDeflate());
        addOurs(input, plain, "lz4", CompressionAlgorithm::lz4);
        addDirect(input, plain, "lz4", directLz4());
        addOurs(input, plain, "lzma", CompressionAlgorithm::lzma);
        addDirect(input, plain, "lzma", directXz());
    }
    benchmark::RunSpecifiedBenchmarks();
}
