// SPDX-License-Identifier: GPL-2.0-or-later
// The compression operations beside direct calls of the libraries under them, in one run on the same bytes: a mebibyte
// of each kind of data, or, called with `small`, inputs of 64 bytes to 64 KB. Those have a process of their own, which
// never had much memory: once malloc has seen large blocks, it keeps what is freed for the next call. The counters
// `size` (of the result) and `memory` (bytes at the most beside input and result) go with the speeds.
#include "vantorel/compression/Compression.h"

#include <benchmark/benchmark.h>
#include <lz4.h>
#include <lzma.h>
#include <malloc.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <string>

namespace {

using namespace vantorel;

constexpr std::size_t mostOfAKind = 1 << 20;

Data bytesOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Data cut(Data bytes)
{
    bytes.resize(std::min(bytes.size(), mostOfAKind));
    return bytes;
}

/// The first `most` bytes of the project's own documents and sources, one behind the other.
Data projectText(std::size_t most)
{
    std::vector<std::filesystem::path> paths;
    for (const char* folder : {"docs", "include", "src", "host", "tests"})
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::filesystem::path(VANTOREL_PROJECT) / folder, std::filesystem::directory_options::none))
            if (const auto kind = entry.path().extension(); kind == ".md" || kind == ".h" || kind == ".cpp")
                paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    Data text;
    text.reserve(most);
    for (auto path = paths.begin(); path != paths.end() && text.size() < most; ++path) {
        const Data bytes = bytesOf(*path);
        text.insert(text.end(), bytes.begin(),
                    bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), most - text.size())));
    }
    return text;
}

/// Readings as a program keeps them: rows of 24 bytes, a number that grows, a time, and values that change a little.
Data records(std::mt19937& random)
{
    Data bytes;
    std::uint32_t time = 1'700'000'000;
    std::uint16_t value = 300;
    for (std::uint32_t row = 0; bytes.size() < mostOfAKind; ++row) {
        time += 58 + static_cast<std::uint32_t>(random() % 4);
        value = static_cast<std::uint16_t>(value + random() % 5 - 2);
        const std::uint32_t fields[] = {row, time, value, 0x0103'0032, static_cast<std::uint32_t>(random() % 1000), 0};
        for (const std::uint32_t field : fields)
            for (int shift = 0; shift < 32; shift += 8)
                bytes.push_back(static_cast<std::uint8_t>(field >> shift));
    }
    return cut(std::move(bytes));
}

/// The same as a table in text.
Data table(std::mt19937& random)
{
    std::string text = "time,drive,temperature,hours,reallocated,written\n";
    std::uint64_t written = 81'234'567'890;
    for (std::uint32_t row = 0; text.size() < mostOfAKind; ++row) {
        written += random() % 4'000'000;
        text += "2026-10-" + std::to_string(10 + row / 6000) + "T" + std::to_string(10 + row / 500 % 12) + ":" +
                std::to_string(10 + row / 10 % 50) + ":00Z,disk" + std::to_string(row % 10) + "," +
                std::to_string(31 + random() % 9) + "," + std::to_string(12'000 + row / 10) + ",0," +
                std::to_string(written) + "\n";
    }
    return cut(Data(text.begin(), text.end()));
}

Data noise(std::mt19937& random)
{
    Data bytes(mostOfAKind);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

/// Test data and samples as `tar` packs them.
Data archive()
{
    const std::string command =
        std::string("tar -C ") + VANTOREL_PROJECT + " --sort=name --owner=0 --group=0 -cf - tests/data samples";
    Data bytes(mostOfAKind);
    std::FILE* const pipe = popen(command.c_str(), "r");
    bytes.resize(pipe ? std::fread(bytes.data(), 1, bytes.size(), pipe) : 0);
    if (pipe)
        pclose(pipe);
    return bytes;
}

/// A field of /proc/self/status, in bytes.
double processMemory(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    for (std::string name; status >> name; status.ignore(std::numeric_limits<std::streamsize>::max(), '\n'))
        if (double size = 0; name == field + ":" && status >> size)
            return 1024 * size;
    return 0;
}

/// How much memory came into use at the most while `call` ran, beside the result of which it gives the size.
double memoryOf(const std::function<std::size_t()>& call)
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5\n"; // the peak begins anew
    const double before = processMemory("VmRSS");
    const std::size_t size = call();
    return processMemory("VmHWM") - before - static_cast<double>(size);
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
        state.counters["memory"] = memoryOf([&] { return compress(plain, algorithm)->size(); });
    });
    benchmark::RegisterBenchmark((input + "/" + name + "/expand/ours").c_str(), [&plain, algorithm](auto& state) {
        const Data packed = *compress(plain, algorithm);
        std::size_t size = 0;
        for (auto _ : state)
            size = decompress(packed, algorithm)->size();
        finish(state, plain, size);
        state.counters["memory"] = memoryOf([&] { return decompress(packed, algorithm)->size(); });
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

using Inputs = std::vector<std::pair<std::string, Data>>;

Inputs smallInputs()
{
    const Data text = projectText(65'536);
    Inputs inputs;
    const auto add = [&](const char* name, std::size_t size) {
        inputs.emplace_back(name, Data(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size)));
    };
    add("64B", 64);
    add("512B", 512);
    add("4KB", 4000);
    add("64KB", text.size());
    return inputs;
}

Inputs largeInputs()
{
    std::mt19937 random(1);
    return {{"text", projectText(mostOfAKind)},
            {"records", records(random)},
            {"table", table(random)},
            {"binary", cut(bytesOf("/bin/bash"))},
            {"noise", noise(random)},
            {"zeros", Data(mostOfAKind)},
            {"tar", archive()}};
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const Inputs inputs = argc > 1 && argv[1] == std::string("small") ? smallInputs() : largeInputs();
    for (const auto& [input, plain] : inputs) {
        addOurs(input, plain, "lzfse", CompressionAlgorithm::lzfse);
        addOurs(input, plain, "zlib", CompressionAlgorithm::zlib);
        addDirect(input, plain, "zlib", directDeflate());
        addOurs(input, plain, "lz4", CompressionAlgorithm::lz4);
        addDirect(input, plain, "lz4", directLz4());
        if (input == "text") {
            addOurs(input, plain, "lzma", CompressionAlgorithm::lzma);
            addDirect(input, plain, "lzma", directXz());
        }
    }
    benchmark::RunSpecifiedBenchmarks();
}
