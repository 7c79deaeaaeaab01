// How fast and how small images are made and read. Each figure is about a library of machine code,
// which is most of what an application is: BENCHMARK_CORPUS names one, else a system library is
// taken.

#include "bytes/File.h"
#include "udif/ChunkCodec.h"
#include "udif/DiskImage.h"
#include "udif/GuidPartitionTable.h"
#include "udif/ImageConverter.h"
#include "udif/Verification.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <zlib.h>

namespace {

namespace fs = std::filesystem;
using namespace udif;
using Bytes = std::vector<std::byte>;

constexpr std::size_t chunkBytes = std::size_t{1} << 20;
constexpr std::size_t corpusLimit = std::size_t{32} << 20;

const Bytes& corpus()
{
    static const Bytes content = [] {
        constexpr std::array places{"/usr/lib/llvm-14/lib/libclang-cpp.so.14",
            "/usr/lib/x86_64-linux-gnu/libQt6Gui.so.6", "/proc/self/exe"};
        const char* wish = std::getenv("BENCHMARK_CORPUS");
        fs::path path = wish ? wish : "";
        for (const char* place : places)
            if (!fs::exists(path))
                path = place;
        const auto file = bytes::File::open(path, bytes::File::Mode::read);
        return file.read(0, std::min<std::size_t>(file.size(), corpusLimit));
    }();
    return content;
}

template <typename Each>
void forChunks(Each each)
{
    const std::span<const std::byte> content(corpus());
    for (std::size_t at = 0; at < content.size(); at += chunkBytes)
        each(content.subspan(at, std::min(chunkBytes, content.size() - at)));
}

void count(benchmark::State& state, std::size_t stored)
{
    state.SetBytesProcessed(
        static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(corpus().size()));
    state.counters["storedPercent"] =
        100.0 * static_cast<double>(stored) / static_cast<double>(corpus().size());
}

void encode(benchmark::State& state, ChunkType type)
{
    const auto encoder = codecFor(type)->makeEncoder(static_cast<int>(state.range(0)));
    std::size_t stored = 0;
    for (auto iteration : state) {
        stored = 0;
        forChunks([&](std::span<const std::byte> chunk) {
            const std::size_t length = encoder->encode(chunk).size();
            stored += length != 0 ? length : chunk.size();
        });
    }
    count(state, stored);
}
BENCHMARK_CAPTURE(encode, zlib, ChunkType::zlib)->DenseRange(1, 9)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, bzip2, ChunkType::bzip2)->Arg(9)->Unit(benchmark::kMillisecond);

/// The same by the library that gave the format its name.
void encodeReference(benchmark::State& state)
{
    Bytes out(chunkBytes * 2);
    std::size_t stored = 0;
    for (auto iteration : state) {
        stored = 0;
        forChunks([&](std::span<const std::byte> chunk) {
            uLongf length = out.size();
            compress2(reinterpret_cast<Bytef*>(out.data()), &length,
                reinterpret_cast<const Bytef*>(chunk.data()), chunk.size(),
                static_cast<int>(state.range(0)));
            stored += length;
        });
    }
    count(state, stored);
}
BENCHMARK(encodeReference)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond);

/// A raw disk in a file, 256 MiB of the corpus over and over, and the images made of it.
class Files {
public:
    Files()
        : m_folder(fs::temp_directory_path() / ("udif-benchmark-" + std::to_string(::getpid())))
    {
        fs::create_directory(m_folder);
        const SingleVolumeDisk plan{.volumeSectors = (256 << 20) / sectorBytes,
            .diskID = Guid::derived(1),
            .partitionID = Guid::derived(2)};
        auto file = bytes::File::open(raw(), bytes::File::Mode::create);
        file.resize(plan.diskSectors() * sectorBytes);
        const uint64_t end = file.size();
        for (uint64_t at = 20480; at < end; at += corpus().size())
            file.writeAt(at, std::span(corpus()).first(std::min(corpus().size(), end - at)));
        writeGuidPartitionTable(file, plan);
    }
    ~Files()
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    fs::path raw() const { return m_folder / "disk.img"; }
    fs::path image() const { return m_folder / "out.dmg"; }

private:
    fs::path m_folder;
};

void convert(benchmark::State& state, ImageFormat format)
{
    const Files files;
    ConvertOptions options;
    options.format = format;
    options.replace = true;
    for (auto iteration : state)
        convertImage(DiskImage::open(files.raw()), files.image(), options);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations())
        * static_cast<int64_t>(fs::file_size(files.raw())));
}
BENCHMARK_CAPTURE(convert, UDRO, ImageFormat::UDRO)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, UDZO, ImageFormat::UDZO)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, UDBZ, ImageFormat::UDBZ)->UseRealTime()->Unit(benchmark::kMillisecond);

void verify(benchmark::State& state)
{
    const Files files;
    convertImage(DiskImage::open(files.raw()), files.image(), {});
    for (auto iteration : state)
        if (!verifyImage(files.image()).valid())
            state.SkipWithError("the image is damaged");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations())
        * static_cast<int64_t>(fs::file_size(files.raw())));
}
BENCHMARK(verify)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
