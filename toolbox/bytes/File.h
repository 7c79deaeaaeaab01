#pragma once

#include "bytes/ByteDevice.h"
#include "bytes/Interruption.h"

#include <filesystem>

namespace bytes {

/// Owns a file descriptor. Positional reads and writes that either do the whole job or throw
/// std::system_error naming the path.
class File final : public ByteDevice {
public:
    enum class Mode { read, readWrite, create };

    /// `create` makes a new file (0666 less the umask) and fails when something is there.
    static File open(const std::filesystem::path& path, Mode mode);
    /// Takes over `descriptor`; `path` is for messages.
    File(int descriptor, std::filesystem::path path);
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    ~File() override;

    uint64_t size() const override;
    void readAt(uint64_t offset, std::span<std::byte> out) const override;
    /// Unlike the interface's, this one grows the file.
    void writeAt(uint64_t offset, std::span<const std::byte> in) override;
    /// Cuts or grows to `size` bytes; what is added reads as zeros and takes no room.
    void resize(uint64_t size);
    void flush();

    int descriptor() const { return m_descriptor; }
    const std::filesystem::path& path() const { return m_path; }

private:
    int m_descriptor = -1;
    std::filesystem::path m_path;
};

/// A file that appears under its name whole or not at all: written beside the target under a
/// temporary name, renamed by `commit`, removed when dropped or interrupted before.
class OutputFile {
public:
    /// `nameless` writes, where the file system can, a file that has no name until `commit`, so
    /// that not even a killed process leaves anything; `temporaryPath` is empty then, and the file
    /// may not be closed before.
    enum class Until { named, nameless };

    /// Throws std::system_error when the folder is missing or not writable.
    explicit OutputFile(const std::filesystem::path& target, Until until = Until::named);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    File& file() { return m_file; }
    /// Gives the descriptor back when all is written; `commit` still works. For those who hold
    /// many files until all can take their places.
    void close();
    const std::filesystem::path& temporaryPath() const { return m_temporary; }
    /// Puts the file in place; an old one is replaced only when `replace` is set, else
    /// std::system_error with EEXIST.
    void commit(bool replace);

private:
    OutputFile(
        const std::filesystem::path& target, Until until, const Uninterrupted& untilItCanBeRemoved);
    void giveName(bool replace);

    std::filesystem::path m_target;
    std::filesystem::path m_temporary;
    File m_file;
    OnInterruption m_removal;
    bool m_committed = false;
};

/// Throws std::system_error for the current `errno`, with `what` (a path or an operation).
[[noreturn]] void throwErrno(const std::string& what);

} // namespace bytes
