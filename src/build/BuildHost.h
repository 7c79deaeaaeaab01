#pragma once

#include "platform/SystemRoot.h"

#include <QString>

#include <atomic>
#include <memory>

class AppleScriptRunner;
class Clock;
class IconService;
class SettingsManager;
class ToolRunner;

/// The services that a build works with. Borrowed: they outlive every build that was started with
/// them. Copied freely.
struct BuildHost {
    SystemRoot root;
    ToolRunner& tools;
    Clock& clock;
    AppleScriptRunner& scripts;
    IconService& icons;
    SettingsManager& settings;
    QString temporaryFolder; // each build makes a folder of its own in it
    /// Becomes true when copies under way shall end with an error. Absent: they never do.
    std::shared_ptr<const std::atomic<bool>> stopCopies;
};
