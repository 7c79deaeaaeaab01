#include "TestVolumes.h"

#include "hfsplus/VolumeChecker.h"
#include "mounting/Mount.h"
#include "udif/DiskImage.h"
#include "volumes/ImageCreator.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace fs = std::filesystem;

TestVolumes::TestVolumes(volumes::Appearance appearance)
    : m_appearance(appearance)
{
    std::string pattern = (fs::temp_directory_path() / "volumes-XXXXXX").string();
    m_folder = ::mkdtemp(pattern.data());
}

TestVolumes::~TestVolumes()
{
    std::error_code absent;
    for (const auto& volume : fs::directory_iterator(m_folder / "state/Volumes", absent))
        if (mounting::isMountedAt(volume))
            mounting::unmount(volume, true);
    fs::remove_all(m_folder);
}

fs::path TestVolumes::makeImage(const std::string& fileName, const std::string& volumeName) const
{
    const fs::path source = m_folder / (fileName + ".source");
    writeFile(source / "Sample.app/Contents/MacOS/Sample", std::string(100'000, 'x'));
    writeFile(source / "Sample.app/Contents/Info.plist", "<plist/>");
    writeFile(source / ".background/picture.png", "a picture");
    fs::create_symlink("/Applications", source / "Applications");
    const fs::path image = m_folder / fileName;
    volumes::CreateOptions options = optionsFor(source);
    options.volumeName = volumeName;
    options.identifierSeed = 7;
    volumes::createImage(image, options);
    return image;
}

volumes::AttachedImage TestVolumes::attach(
    const fs::path& image, volumes::AttachOptions::Access access) const
{
    volumes::AttachOptions options;
    options.access = access;
    return attached().attach(image, options).image;
}

std::vector<std::string> TestVolumes::stateNames() const
{
    std::vector<std::string> names;
    for (const fs::path& folder : {state().attached(), state().volumes()}) {
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

void writeFile(const fs::path& path, const std::string& content)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> volumeFaults(const fs::path& image)
{
    const udif::DiskImage disk = udif::DiskImage::open(image);
    const udif::Partition* partition = disk.partitions().hfsPlusPartition();
    if (partition == nullptr)
        return {"no volume"};
    const bytes::SourceRange source(disk.disk(), partition->firstSector * udif::sectorBytes,
        partition->sectorCount * udif::sectorBytes);
    std::vector<std::string> faults;
    for (const hfsplus::Finding& finding : hfsplus::checkVolume(source))
        faults.push_back(finding.message);
    return faults;
}

volumes::CreateOptions optionsFor(const fs::path& source)
{
    volumes::CreateOptions options;
    options.folder = source;
    options.volumeName = "Disk";
    return options;
}
