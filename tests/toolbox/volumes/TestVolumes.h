#pragma once

#include "volumes/AttachedVolumes.h"
#include "volumes/ImageCreator.h"

#include <filesystem>
#include <string>
#include <vector>

/// A folder of its own for each test, with a state folder inside; removed at the end.
class TestVolumes {
public:
    explicit TestVolumes(volumes::Appearance appearance = volumes::Appearance::laidOut);
    ~TestVolumes();
    TestVolumes(const TestVolumes&) = delete;
    TestVolumes& operator=(const TestVolumes&) = delete;

    const std::filesystem::path& folder() const { return m_folder; }
    volumes::StateFolder state() const { return volumes::StateFolder(m_folder / "state"); }
    volumes::AttachedVolumes attached() const
    {
        return volumes::AttachedVolumes(state(), m_appearance);
    }

    /// A writable image whose volume holds an application of a few files.
    std::filesystem::path makeImage(
        const std::string& fileName, const std::string& volumeName = "Disk") const;
    volumes::AttachedImage attach(const std::filesystem::path& image,
        volumes::AttachOptions::Access access =
            volumes::AttachOptions::Access::whatIsPossible) const;
    /// What lies in the registry's folder and among the volumes.
    std::vector<std::string> stateNames() const;

private:
    std::filesystem::path m_folder;
    volumes::Appearance m_appearance;
};

void writeFile(const std::filesystem::path& path, const std::string& content);
std::string readFile(const std::filesystem::path& path);
/// The faults that the volume checker finds in a raw image; empty for a sound one.
std::vector<std::string> volumeFaults(const std::filesystem::path& image);
/// For an image of a folder, with the volume name "Disk".
volumes::CreateOptions optionsFor(const std::filesystem::path& source);

/// Everything of the mounted volume is skipped where the host lets nobody mount.
#define ATTACH_OR_SKIP(image, test, ...)                                                           \
    const volumes::AttachedImage image = (test).attach(__VA_ARGS__);                               \
    if (!image.isServed)                                                                           \
    GTEST_SKIP() << "this host lets nobody mount"
