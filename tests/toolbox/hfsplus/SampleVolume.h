#pragma once

#include "TemporaryFolder.h"
#include "hfsplus/VolumeBuilder.h"
#include "hfsplus/VolumeChecker.h"
#include "hfsplus/VolumeEditor.h"
#include "hfsplus/VolumeExtractor.h"
#include "macfile/Metadata.h"

#include <sys/stat.h>
#include <unistd.h>

/// A small volume that has one of everything: nested folders, an empty file, one of many blocks,
/// a symbolic link, hard links, metadata in node and in blocks of its own.
class SampleVolume {
public:
    static constexpr uint32_t buildTime = 3'800'000'000; // seconds since 1904
    static constexpr uint64_t slackBytes = 1 << 20;

    static std::string bigContent()
    {
        std::string content(150'000, 'b');
        for (std::size_t i = 0; i < content.size(); i += 100)
            content[i] = static_cast<char>(i / 100);
        return content;
    }

    static void fill(const TemporaryFolder& folder)
    {
        folder.write("App.app/Contents/MacOS/tool", bigContent());
        folder.write("App.app/Contents/Info.plist", "<plist/>");
        folder.write("caf\u00E9:1", "composed on the host, decomposed on the volume");
        folder.write("nothing", "");
        std::filesystem::create_directory(folder.path() / "empty");
        std::filesystem::create_symlink("App.app/Contents", folder.path() / "alias");
        std::filesystem::create_hard_link(
            folder.path() / "App.app/Contents/Info.plist", folder.path() / "linked.plist");
        ::chmod((folder.path() / "App.app/Contents/MacOS/tool").c_str(), 0755);
        macfile::writeMetadata(folder.path() / "nothing", sampleMetadata());
    }

    static macfile::Metadata sampleMetadata()
    {
        macfile::Metadata metadata;
        metadata.setFinderFlags(0x4000, true);
        metadata.resourceFork.assign(5000, std::byte{7});
        metadata.attributes["com.example.small"].assign(11, std::byte{1});
        metadata.attributes["com.example.large"].assign(9000, std::byte{2});
        return metadata;
    }

    static bytes::MemoryDevice build(
        const std::filesystem::path& folder, uint64_t slack = slackBytes, uint32_t blockSize = 4096)
    {
        hfsplus::VolumeBuilder builder(folder,
            {.volumeName = "Sample",
                .blockSize = blockSize,
                .slackBytes = slack,
                .fixedTime = buildTime,
                .volumeID = 42});
        bytes::MemoryDevice device{std::vector<std::byte>(builder.volumeBytes())};
        builder.write(device);
        return device;
    }

    static bytes::MemoryDevice make()
    {
        const TemporaryFolder folder;
        fill(folder);
        return build(folder);
    }
};

/// All findings in one text; empty for a sound volume.
inline std::string findingsOf(const bytes::ByteSource& volume)
{
    std::string text;
    for (const hfsplus::Finding& finding : hfsplus::checkVolume(volume))
        text += finding.message + "\n";
    return text;
}

/// A volume laid out in a folder, ready to be changed there.
class LaidOut {
public:
    explicit LaidOut(bytes::MemoryDevice device)
        : m_device(std::move(device))
        , m_report(hfsplus::VolumeExtractor(hfsplus::Volume(m_device), m_folder.path()).extract())
    { }

    const TemporaryFolder& folder() const { return m_folder; }
    std::filesystem::path at(const std::filesystem::path& name) const
    {
        return m_folder.path() / name;
    }
    bytes::MemoryDevice& device() { return m_device; }
    const hfsplus::ExtractReport& report() const { return m_report; }

    hfsplus::EditReport apply()
    {
        return hfsplus::VolumeEditor(m_device, m_folder.path(), m_report.snapshot).apply();
    }

private:
    TemporaryFolder m_folder;
    bytes::MemoryDevice m_device;
    hfsplus::ExtractReport m_report;
};
