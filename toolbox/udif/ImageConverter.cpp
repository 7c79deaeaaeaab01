#include "udif/ImageConverter.h"

#include "bytes/File.h"
#include "udif/DiskImage.h"
#include "udif/RawImageJob.h"
#include "udif/UdifImageJob.h"

#include <system_error>

namespace udif {

namespace fs = std::filesystem;

ConvertReport convertImage(
    const DiskImage& source, const fs::path& target, const ConvertOptions& options)
{
    requireWritable(options.format);
    // Only spares the work: the commit refuses an existing file too.
    if (!options.replace && fs::exists(fs::symlink_status(target)))
        throw std::system_error(EEXIST, std::generic_category(), target.string());

    bytes::OutputFile output(target, bytes::OutputFile::Until::nameless);
    ConvertReport report = options.format == ImageFormat::UDRW
        ? RawImageJob(source, options).write(output.file())
        : UdifImageJob(source, options).write(output.file());
    output.file().flush();
    output.commit(options.replace);
    return report;
}

} // namespace udif
