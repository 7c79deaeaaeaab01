#pragma once

#include <filesystem>
#include <optional>

namespace volumes {

/// An exclusive lock on a file, among processes and among the threads of one. The kernel drops it
/// when its holder ends, however that happens.
class FileLock {
public:
    /// Waits for the lock; the file is made where it is missing.
    static FileLock wait(const std::filesystem::path& path);
    /// None when somebody holds it.
    static std::optional<FileLock> tryNow(const std::filesystem::path& path);

    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    ~FileLock();

    /// Of the file. Copies of it that other processes have keep the lock, too.
    int descriptor() const { return m_descriptor; }

private:
    explicit FileLock(int descriptor)
        : m_descriptor(descriptor)
    { }
    static std::optional<FileLock> take(const std::filesystem::path& path, int operation);

    int m_descriptor = -1;
};

} // namespace volumes
