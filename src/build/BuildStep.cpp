#include "build/BuildStep.h"

#include <algorithm>
#include <iterator>

namespace {

struct Row {
    BuildStep step;
    QStringView announcement;
};

constexpr Row rows[] = {
    {BuildStep::freeVolumeName, u""},
    {BuildStep::prepareWorkspace, u"Preparing workspace..."},
    {BuildStep::copyApplication, u"Copying app bundle..."},
    {BuildStep::linkApplications, u"Creating Applications link..."},
    {BuildStep::copyBackground, u"Processing background image..."},
    {BuildStep::createImage, u"Creating writable disk image..."},
    {BuildStep::mount, u"Mounting for customization..."},
    {BuildStep::setVolumeIcon, u"Setting volume icon..."},
    {BuildStep::styleWindow, u"Applying finder styles..."},
    {BuildStep::flush, u"Syncing file system..."},
    {BuildStep::unmount, u"Unmounting..."},
    {BuildStep::compress, u"Compressing final DMG..."},
    {BuildStep::setFileIcon, u"Setting file icon..."},
};

} // namespace

QStringView announcement(BuildStep step)
{
    return std::ranges::find(rows, step, &Row::step)->announcement;
}

std::optional<BuildStep> stepAnnouncedBy(QStringView message)
{
    const auto* row =
        message.isEmpty() ? std::end(rows) : std::ranges::find(rows, message, &Row::announcement);
    if (row == std::end(rows))
        return std::nullopt;
    return row->step;
}
