#include "tools/HdiutilVerbs.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"
#include "udif/ImageConverter.h"

#include <cerrno>
#include <chrono>
#include <functional>
#include <ostream>
#include <system_error>

namespace tools {

namespace fs = std::filesystem;

namespace {

/// Prints each table as the converter comes to it, so that a long conversion is seen to go on.
void showProgress(udif::ConvertOptions& options, std::ostream& out, Progress& progress)
{
    options.tableBegins = [&out, &progress](const std::string& table) {
        progress.pause();
        out << "Reading " << oneLine(table) << "…\n" << std::flush;
    };
    options.tableDone = [&out, &progress](const std::string& table, std::optional<uint32_t> crc) {
        progress.pause();
        if (crc)
            out << "   (" << crcText(*crc) << ": " << oneLine(table) << ")\n" << std::flush;
    };
    options.progress = std::ref(progress);
}

void printReport(std::ostream& out, const udif::ConvertReport& report, double seconds)
{
    const auto diskBytes = static_cast<double>(report.sectors) * udif::sectorBytes;
    const auto storedBytes = static_cast<double>(report.storedSectors) * udif::sectorBytes;
    if (!report.tables.empty())
        out << "Adding resources…\n";
    out << "Elapsed Time: " << elapsedText(seconds) << '\n';
    if (!report.tables.empty()) {
        out << "File size: " << report.fileBytes
            << " bytes, Checksum: " << crcText(report.masterChecksum) << '\n'
            << "Sectors processed: " << report.sectors << ", " << report.storedSectors
            << " compressed\n";
    }
    out << "Speed: " << decimal(storedBytes / (1 << 20) / seconds, 1) << "MB/s\n"
        << "Savings: " << decimal(100 * (1 - static_cast<double>(report.fileBytes) / diskBytes), 1)
        << "%\n";
}

} // namespace

int convertImage(Session& session)
{
    const Arguments& arguments = session.arguments;
    const fs::path source = session.hostPath(arguments.onlyOperand());
    const fs::path named = imagePath(arguments.required("-o"));
    const fs::path target = session.hostPath(named);

    udif::ConvertOptions options;
    options.format = udif::formatNamed(arguments.required("-format")).format;
    options.level = compressionLevel(arguments);
    options.replace = arguments.has("-ov");
    const auto progress = session.progress();
    showProgress(options, session.out, *progress);
    udif::requireWritable(options.format);
    if (session.volumes.isBeingWritten(source) || session.volumes.isBeingWritten(target))
        throw volumes::VolumeError(volumes::VolumeError::Case::attachedAlready);

    const udif::DiskImage image = udif::DiskImage::open(source);
    if (!fs::is_directory(target.parent_path()))
        throw std::system_error(EINVAL, std::generic_category(), target.string());
    session.out << "Preparing imaging engine…\n" << std::flush;
    const auto start = std::chrono::steady_clock::now();
    const udif::ConvertReport report = udif::convertImage(image, target, options);
    progress->pause();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    printReport(session.out, report, elapsed.count());
    session.out << "created: " << fs::absolute(named).lexically_normal().string() << '\n';
    return 0;
}

} // namespace tools
