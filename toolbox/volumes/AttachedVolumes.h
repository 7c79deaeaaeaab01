#pragma once

#include "bytes/Interruption.h"
#include "hfsplus/LayoutPlan.h"
#include "volumes/AttachmentRegistry.h"
#include "volumes/OpenedImage.h"
#include "volumes/VolumeError.h"

namespace volumes {

struct AttachOptions {
    using Access = volumes::Access;

    Access access = Access::whatIsPossible;
    bool mount = true;
    /// As a Mac has it; "/Volumes/" and the volume's name when empty. Outside /Volumes it must be
    /// an empty folder.
    std::filesystem::path mountPoint{};
    /// Without a mount point: the existing folder in which the volume gets one of its name, instead
    /// of "/Volumes". Outside /Volumes that folder stays, empty, when the volume goes.
    std::filesystem::path mountRoot{};
};

struct AttachResult {
    AttachedImage image;
    /// A line for each file that could not be laid out.
    std::vector<std::string> skipped;
};

struct ReleaseOptions {
    /// Goes on although a process uses the volume or changes don't fit.
    bool force = false;
    /// Unmounts only; the image stays attached.
    bool keepAttached = false;
    /// The time that the volume gets if it is written, HFS+ seconds; else the clock's.
    std::optional<uint32_t> fixedTime = std::nullopt;
};

struct ReleaseResult {
    /// Why changes could not be written back, when `force` let them go, the image is gone or it is
    /// attached read-only; else empty.
    std::string lost;
};

/// How an attached volume appears: as a file system that a process of ours serves, or, where the
/// host lets nobody mount one, as a folder in which the files are laid out.
enum class Appearance { mounted, laidOut };

/// The images that this user has attached. Releasing writes back what was added, changed or removed
/// on the volume meanwhile and nothing else, the same for both appearances. May be used by several
/// tools at once.
class AttachedVolumes {
public:
    /// The folder is made by the first attach.
    explicit AttachedVolumes(StateFolder state, Appearance preferred = Appearance::mounted);

    const StateFolder& state() const { return m_registry.state(); }

    /// `image` must be absolute. An attached image is only looked up, or mounted again; asking to
    /// write to one that is attached read-only is an error. Throws VolumeError, udif::ImageError,
    /// bytes::FormatError for a damaged image, std::system_error.
    AttachResult attach(const std::filesystem::path& image, const AttachOptions& options);

    /// Unmounts and, unless asked otherwise, detaches. When it throws, the volume is attached and
    /// mounted as before; or, where the host failed while the image was being written, attached
    /// until another call succeeds. Throws VolumeError, bytes::FormatError, std::system_error.
    ReleaseResult release(const AttachedImage& image, const ReleaseOptions& options);

    /// By device number, without those that are just being made or removed.
    std::vector<AttachedImage> list() const;

    struct Lookup {
        std::optional<AttachedImage> image;
        /// It was there, but as a leftover of a killed tool that has now been tidied away.
        bool tidiedAway = false;
    };
    /// `target` is a mount point, which may be relative, or a device: "disk4", "/dev/disk4",
    /// "disk4s1".
    Lookup find(const std::string& target) const;

    /// Whether the file is attached for writing, so that its content isn't settled.
    bool isBeingWritten(const std::filesystem::path& image) const;

private:
    struct Claim {
        AttachedImage image;
        std::optional<FileLock> held; // none when there is nothing left to do
        /// Until somebody answers for the folder that was just made.
        std::optional<bytes::Uninterrupted> whole;
    };

    Claim claim(const OpenedImage& opened, const AttachOptions& options) const;
    std::optional<AttachedImage> attachedAs(const FileIdentity& identity) const;
    void chooseFolder(AttachedImage& image, const AttachOptions& options) const;
    std::vector<std::string> show(const OpenedImage& opened, AttachedImage& entry) const;
    bool mount(
        const OpenedImage& opened, const hfsplus::LayoutPlan& plan, AttachedImage& entry) const;
    void checkUnused(const AttachedImage& image) const;
    void save(const AttachedImage& image) const;
    std::string writeBack(AttachedImage& image, std::optional<uint32_t> fixedTime) const;

    AttachmentRegistry m_registry;
    Appearance m_preferred;
};

} // namespace volumes
