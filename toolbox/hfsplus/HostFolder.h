#pragma once

#include <filesystem>
#include <string_view>
#include <sys/stat.h>

namespace hfsplus {

/// An open folder of the host. What lies below is reached name by name from here and no symbolic
/// link is followed, so a link that came out of a volume leads nowhere. Owns the descriptor.
class HostFolder {
public:
    /// Throws std::system_error, as all below do.
    static HostFolder open(const std::filesystem::path& path);
    HostFolder(HostFolder&& other) noexcept;
    HostFolder& operator=(HostFolder&& other) noexcept;
    ~HostFolder();

    /// The folder at `relative`, names parted by '/'; "" is this one again.
    HostFolder descend(std::string_view relative) const;
    /// The status of `name` itself. False when there is none.
    bool status(const char* name, struct stat& out) const;

    int descriptor() const { return m_descriptor; }
    /// A path of `name` that depends on this descriptor alone, for calls that take only paths.
    std::filesystem::path pathOf(std::string_view name) const;

private:
    explicit HostFolder(int descriptor)
        : m_descriptor(descriptor)
    { }
    int m_descriptor;
};

/// "a/b/c" is the name "c" in the folder "a/b".
std::string_view folderOf(std::string_view path);
std::string_view nameOf(std::string_view path);

} // namespace hfsplus
