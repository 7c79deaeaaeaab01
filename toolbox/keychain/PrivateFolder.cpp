#include "keychain/PrivateFolder.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace keychain {

namespace fs = std::filesystem;

namespace {

/// Certificates and keys take a few kilobytes.
constexpr uint64_t longestFile = 1 << 20;

} // namespace

PrivateFolder::PrivateFolder(fs::path path)
    : m_path(std::move(path))
{
    if (::mkdir(m_path.c_str(), 0700) != 0 && errno != EEXIST)
        bytes::throwErrno(m_path.string());
    struct stat status { };
    if (::stat(m_path.c_str(), &status) != 0)
        bytes::throwErrno(m_path.string());
    const int fault = !S_ISDIR(status.st_mode) ? ENOTDIR : status.st_uid != ::geteuid() ? EPERM : 0;
    if (fault != 0)
        throw std::system_error(fault, std::generic_category(), m_path.string());
    if ((status.st_mode & 0777) != 0700 && ::chmod(m_path.c_str(), 0700) != 0)
        bytes::throwErrno(m_path.string());
}

PrivateFolder PrivateFolder::establish(
    const fs::path& path, const std::function<void(const PrivateFolder&)>& fill)
{
    const auto isThere = [&] { return fs::exists(path) && !fs::is_empty(path); };
    if (isThere())
        return PrivateFolder(path);
    std::string draft = path.string() + ".XXXXXX";
    if (::mkdtemp(draft.data()) == nullptr)
        bytes::throwErrno(draft);
    fill(PrivateFolder(draft));
    std::error_code fault;
    fs::rename(draft, path, fault);
    if (fault) {
        fs::remove_all(draft);
        if (!isThere())
            throw std::system_error(fault, path.string());
    }
    return PrivateFolder(path);
}

bytes::File PrivateFolder::lock() const
{
    auto folder = bytes::File::open(m_path, bytes::File::Mode::read);
    while (::flock(folder.descriptor(), LOCK_EX) != 0) {
        if (errno != EINTR)
            bytes::throwErrno(m_path.string());
    }
    return folder;
}

bool PrivateFolder::has(const std::string& name) const
{
    return fs::exists(m_path / name);
}

std::string PrivateFolder::read(const std::string& name) const
{
    const auto file = bytes::File::open(m_path / name, bytes::File::Mode::read);
    const uint64_t size = file.size();
    if (size > longestFile)
        throw bytes::FormatError(name + " is too long");
    std::string text(size, '\0');
    file.readAt(0, std::as_writable_bytes(std::span(text)));
    return text;
}

void PrivateFolder::write(const std::string& name, const std::string& text) const
{
    bytes::OutputFile output(m_path / name);
    if (::fchmod(output.file().descriptor(), 0600) != 0)
        bytes::throwErrno((m_path / name).string());
    output.file().writeAt(0, std::as_bytes(std::span(text)));
    output.file().flush();
    output.commit(true);
}

bool PrivateFolder::remove(const std::string& name) const
{
    return fs::remove(m_path / name);
}

std::vector<std::string> PrivateFolder::names() const
{
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(m_path))
        if (entry.is_regular_file())
            all.push_back(entry.path().filename().string());
    std::ranges::sort(all);
    return all;
}

} // namespace keychain
