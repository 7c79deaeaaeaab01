#pragma once

#include "applescript/Clock.h"
#include "applescript/Finder.h"
#include "applescript/Interpreter.h"
#include "applescript/ScriptError.h"
#include "finder/VolumeWindowStyle.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// A folder that stands for the volume "Demo" (or another name): an application, a link to the
/// applications, a picture. Gone at the end.
class DemoVolume {
public:
    explicit DemoVolume(std::string name = "Demo");
    ~DemoVolume();
    DemoVolume(const DemoVolume&) = delete;
    DemoVolume& operator=(const DemoVolume&) = delete;

    applescript::MountedVolume& mounted() { return m_volume; }
    std::filesystem::path folder() const { return m_volume.folder; }
    /// Beside the volume, not on it.
    std::filesystem::path outside() const { return m_folder / "outside.png"; }
    bool hasStore() const;
    finder::VolumeWindowStyle style() const;
    std::optional<finder::IconLocation> position(std::u16string_view name) const;
    std::string storeDigest() const;

private:
    std::filesystem::path m_folder;
    applescript::MountedVolume m_volume;
};

/// What a job puts into the layout script.
struct LayoutJob {
    std::string mountPath = "/Volumes/Demo";
    std::string volumeName = "Demo";
    std::string right = "1000", bottom = "500", iconSize = "128", textSize = "16";
    std::string background =
        "set background picture to (POSIX file \"/Volumes/Demo/.background/bg.png\") as alias";
    std::string appItem = "Demo.app";
};

std::string layoutScript(const LayoutJob& job);

/// How a run came out.
struct ScriptRun {
    applescript::Value result;
    std::optional<applescript::ScriptError> error;
    double seconds = 0; // of the clock that scripts wait by

    std::string message() const { return error ? error->message() : std::string{}; }
    int number() const { return error ? error->number() : 0; }
    /// The part of `script` that the error points at.
    std::string pointedAt(const std::string& script) const;
};

ScriptRun runScript(const std::string& script, std::vector<applescript::MountedVolume> volumes);
/// Statements inside `tell application "Finder"`.
ScriptRun tellFinder(
    const std::string& lines, std::vector<applescript::MountedVolume> volumes = {});
