#pragma once

#include <filesystem>
#include <functional>
#include <string>

/// A copy of the sample application in a folder of its own, for tests that sign it and damage it.
class SampleBundle {
public:
    SampleBundle();
    ~SampleBundle();
    SampleBundle(const SampleBundle&) = delete;
    SampleBundle& operator=(const SampleBundle&) = delete;

    std::filesystem::path folder() const { return m_folder; }
    std::filesystem::path app() const { return m_folder / "Hello Vandor.app"; }
    std::filesystem::path executable() const { return app() / "Contents/MacOS/Hello Vandor"; }
    std::filesystem::path framework() const
    {
        return app() / "Contents/Frameworks/Greeting.framework";
    }
    std::filesystem::path seal() const { return app() / "Contents/_CodeSignature/CodeResources"; }

    /// Every path below the folder with what is there: for comparing before and after.
    std::string fingerprint() const;

private:
    std::filesystem::path m_folder;
};

std::string contentOf(const std::filesystem::path& path);
void putContent(const std::filesystem::path& path, const std::string& content);
/// Changes one byte.
void flip(const std::filesystem::path& path, std::uintmax_t offset);
