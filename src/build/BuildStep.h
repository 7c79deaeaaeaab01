#pragma once

#include <QStringView>

#include <optional>

/// The steps of a build that can fail or that the user hears of, in their order.
enum class BuildStep {
    freeVolumeName,
    prepareWorkspace,
    copyApplication,
    linkApplications,
    copyBackground,
    createImage,
    mount,
    setVolumeIcon,
    styleWindow,
    flush,
    unmount,
    compress,
    setFileIcon,
};

/// What is reported when the step begins; empty for a silent one.
QStringView announcement(BuildStep step);
/// The step that begins with this message.
std::optional<BuildStep> stepAnnouncedBy(QStringView message);
