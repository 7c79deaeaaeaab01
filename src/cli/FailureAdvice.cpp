#include "cli/FailureAdvice.h"

#include <algorithm>

namespace {

constexpr FailureAdvice rows[] = {
    {BuildStep::freeVolumeName, u"freeing the volume's name", u"/usr/sbin/diskutil",
        u"Eject the volume of this name, or choose another name with --volume-name."},
    {BuildStep::prepareWorkspace, u"preparing the workspace", u"",
        u"Set TMPDIR to a folder that you can write to."},
    {BuildStep::copyApplication, u"copying the application", u"",
        u"See that every file of the application can be read and that TMPDIR has room for a copy."},
    {BuildStep::linkApplications, u"creating the Applications link", u"",
        u"Set TMPDIR to a file system that keeps symbolic links."},
    {BuildStep::copyBackground, u"copying the background", u"",
        u"See that the picture can be read and that TMPDIR has room for it."},
    {BuildStep::createImage, u"creating the writable image", u"/usr/bin/hdiutil",
        u"See that TMPDIR has room for twice the application, and that no two of its file names "
        u"differ in case or in how an accent is stored alone."},
    {BuildStep::mount, u"mounting the writable image", u"/usr/bin/hdiutil",
        u"See that TMPDIR has room for another copy of the application, then try again."},
    {BuildStep::setVolumeIcon, u"setting the volume's icon", u"/usr/bin/SetFile",
        u"See that the application's icon file is whole."},
    {BuildStep::styleWindow, u"styling the window", u"/usr/bin/osascript",
        u"Choose names for the volume, the application and the background without double "
        u"quotation marks and backslashes."},
    {BuildStep::flush, u"flushing the volume", u"/bin/sync", u"Try again."},
    {BuildStep::unmount, u"ejecting the volume", u"/usr/sbin/diskutil",
        u"Close what uses the volume, then try again."},
    {BuildStep::compress, u"converting the image", u"/usr/bin/hdiutil",
        u"See that the output's folder can be written to and has room for the image."},
    {BuildStep::setFileIcon, u"putting the finished image in place", u"",
        u"See that nothing but a file has the output's name and that its folder can be written "
        u"to."},
};

} // namespace

const FailureAdvice& adviceFor(BuildStep step)
{
    return *std::ranges::find(rows, step, &FailureAdvice::step);
}
