// How fast images are made and read. Each figure is about a library of machine code, which is most
// of what an application is: BENCHMARK_CODE names one, else a system library is taken.

#include "bytes/File.h"
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

namespace {

namespace fs = std::filesystem;
using namespace udif;
using Bytes = std::vector<std::byte>;

constexpr std::size_t corpusLimit = std::size_t{32} << 20;

const Bytes& corpus()
{
    static const Bytes content = [] {
        constexpr std::array places{"/usr/lib/llvm-14/lib/libclang-cpp.so.14",
            "/usr/lib/x86_64-linux-gnu/libQt6Gui.so.6", "/proc/self/exe"};
        const char* wish = std::getenv("BENCHMARK_CODE");
        fs::path path = wish ? wish : "";
        for (const char* place : places)
            if (!fs::exists(path))
                path = place;
        const auto file = bytes::File::open(path, bytes::File::Mode::read);
        return file.read(0, std::min<std::size_t>(file.size(), corpusLimit));
    }();
    return content;
}

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
BENCHMARK_CAPTURE(convert, ULFO, ImageFormat::ULFO)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, UDBZ, ImageFormat::UDBZ)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, ULMO, ImageFormat::ULMO)->UseRealTime()->Unit(benchmark::kMillisecond);

void verify(benchmark::State& state, ImageFormat format)
{
    const Files files;
    ConvertOptions options;
    options.format = format;
    convertImage(DiskImage::open(files.raw()), files.image(), options);
    for (auto iteration : state)
        if (!verifyImage(files.image()).valid())
            state.SkipWithError("the image is damaged");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations())
        * static_cast<int64_t>(fs::file_size(files.raw())));
}
BENCHMARK_CAPTURE(verify, UDZO, ImageFormat::UDZO)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(verify, ULFO, ImageFormat::ULFO)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
