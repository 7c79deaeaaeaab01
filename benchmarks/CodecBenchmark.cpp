// How fast each compression writes and reads a chunk, and how small it makes it: all of them over
// the same machine code and the same text, in one run. BENCHMARK_CODE and BENCHMARK_TEXT name other
// files.

#include "bytes/File.h"
#include "udif/ChunkCodec.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>
#include <zlib.h>

namespace {

namespace fs = std::filesystem;
using namespace udif;
using Bytes = std::vector<std::byte>;

constexpr std::size_t chunkBytes = std::size_t{1} << 20;
constexpr std::size_t corpusLimit = std::size_t{16} << 20;

void append(Bytes& content, const fs::path& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const Bytes part = file.read(0, std::min<uint64_t>(file.size(), corpusLimit - content.size()));
    content.insert(content.end(), part.begin(), part.end());
}

/// A large library: machine code is most of what an application is.
Bytes machineCode()
{
    constexpr std::array places{"/usr/lib/llvm-14/lib/libclang-cpp.so.14",
        "/usr/lib/x86_64-linux-gnu/libQt6Gui.so.6", "/proc/self/exe"};
    const char* wish = std::getenv("BENCHMARK_CODE");
    fs::path path = wish ? wish : "";
    for (const char* place : places)
        if (!fs::exists(path))
            path = place;
    Bytes content;
    append(content, path);
    return content;
}

/// The headers of the C library and others.
Bytes text()
{
    Bytes content;
    if (const char* wish = std::getenv("BENCHMARK_TEXT")) {
        append(content, wish);
        return content;
    }
    std::vector<fs::path> paths;
    for (const auto& entry : fs::recursive_directory_iterator("/usr/include"))
        if (entry.is_regular_file())
            paths.push_back(entry.path());
    std::ranges::sort(paths);
    for (const fs::path& path : paths)
        append(content, path);
    return content;
}

using Chunks = std::vector<Bytes>;

const Chunks& chunksOf(bool isCode)
{
    static const auto cut = [](const Bytes& content) {
        Chunks chunks;
        for (std::size_t at = 0; at < content.size(); at += chunkBytes) {
            const auto part = std::span(content).subspan(at);
            const auto chunk = part.first(std::min(chunkBytes, part.size()));
            chunks.emplace_back(chunk.begin(), chunk.end());
        }
        return chunks;
    };
    static const Chunks code = cut(machineCode());
    static const Chunks words = cut(text());
    return isCode ? code : words;
}

std::size_t sizeOf(const Chunks& chunks)
{
    std::size_t size = 0;
    for (const Bytes& chunk : chunks)
        size += chunk.size();
    return size;
}

void report(benchmark::State& state, const Chunks& content, std::size_t stored)
{
    const std::size_t size = sizeOf(content);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
    state.counters["ratio"] = static_cast<double>(size) / static_cast<double>(stored);
}

void compress(benchmark::State& state, ChunkType type, int level, bool isCode)
{
    const Chunks& content = chunksOf(isCode);
    const auto encoder = codecFor(type)->makeEncoder(level);
    std::size_t stored = 0;
    for (auto iteration : state) {
        stored = 0;
        for (const Bytes& chunk : content) {
            const std::size_t length = encoder->encode(chunk).size();
            stored += length != 0 ? length : chunk.size();
        }
    }
    report(state, content, stored);
}

void decompress(benchmark::State& state, ChunkType type, int level, bool isCode)
{
    const Chunks& content = chunksOf(isCode);
    const auto encoder = codecFor(type)->makeEncoder(level);
    Chunks stored;
    for (const Bytes& chunk : content)
        stored.push_back(encoder->encode(chunk));
    Bytes out(chunkBytes);
    for (auto iteration : state)
        for (std::size_t i = 0; i < content.size(); ++i) {
            if (stored[i].empty())
                std::ranges::copy(content[i], out.begin());
            else
                decodeChunk(type, stored[i], std::span(out).first(content[i].size()));
            benchmark::DoNotOptimize(out.data());
        }
    report(state, content, sizeOf(stored));
}

/// Zlib's format by the library that gave it its name.
void compressByZlib(benchmark::State& state, int level, bool isCode)
{
    const Chunks& content = chunksOf(isCode);
    Bytes out(chunkBytes * 2);
    std::size_t stored = 0;
    for (auto iteration : state) {
        stored = 0;
        for (const Bytes& chunk : content) {
            uLongf length = out.size();
            compress2(reinterpret_cast<Bytef*>(out.data()), &length,
                reinterpret_cast<const Bytef*>(chunk.data()), chunk.size(), level);
            stored += length;
        }
    }
    report(state, content, stored);
}

struct Codec {
    const char* name;
    ChunkType type;
    int level;
};

constexpr std::array codecs{
    Codec{"zlib 1", ChunkType::zlib, 1},
    Codec{"zlib 6 (UDZO)", ChunkType::zlib, 6},
    Codec{"zlib 8", ChunkType::zlib, 8},
    Codec{"zlib 9", ChunkType::zlib, 9},
    Codec{"zlib 12", ChunkType::zlib, 12},
    Codec{"lzfse (ULFO)", ChunkType::lzfse, 0},
    Codec{"bzip2 6 (UDBZ)", ChunkType::bzip2, 6},
    Codec{"bzip2 9", ChunkType::bzip2, 9},
    Codec{"lzma 6 (ULMO)", ChunkType::lzma, 6},
};

void registerAll(bool isCode)
{
    const std::string corpus = isCode ? "code" : "text";
    const auto add = [&](const std::string& name, auto run) {
        benchmark::RegisterBenchmark((corpus + "/" + name).c_str(), run)
            ->Unit(benchmark::kMillisecond);
    };
    for (const Codec& codec : codecs) {
        add(std::string("compress/") + codec.name,
            [=](benchmark::State& state) { compress(state, codec.type, codec.level, isCode); });
        add(std::string("decompress/") + codec.name,
            [=](benchmark::State& state) { decompress(state, codec.type, codec.level, isCode); });
    }
    for (const int level : {6, 9})
        add("compress/the zlib library " + std::to_string(level),
            [=](benchmark::State& state) { compressByZlib(state, level, isCode); });
}

} // namespace

int main(int count, char** arguments)
{
    registerAll(true);
    registerAll(false);
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
}
