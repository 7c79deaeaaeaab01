#pragma once

#include "bytes/File.h"

#include <filesystem>
#include <vector>

namespace volumes {

/// A disk as it will be: what is written goes into a file of its own, what is read back has it in
/// place. Once the log is complete its changes are carried out, as often as it takes: a tool that
/// is killed or a host's disk that fills up in between leaves nothing half done for ever.
class ChangeLog final : public bytes::ByteDevice {
public:
    /// Borrows `disk`. `file` appears with `commit`.
    ChangeLog(const bytes::ByteSource& disk, const std::filesystem::path& file);

    uint64_t size() const override { return m_disk.size(); }
    void readAt(uint64_t offset, std::span<std::byte> out) const override;
    void writeAt(uint64_t offset, std::span<const std::byte> in) override;

    bool empty() const { return m_changes.empty(); }
    void commit();

    /// Writes to `disk` what the log in `file` says; the same again changes nothing. Throws
    /// bytes::FormatError, before it writes, for a file that is no complete log.
    static void carryOut(const std::filesystem::path& file, bytes::ByteDevice& disk);

private:
    struct Change {
        uint64_t offset = 0; // on the disk
        uint64_t length = 0;
        uint64_t place = 0; // of its bytes in the file
    };
    static std::vector<Change> readChanges(const bytes::File& file);

    const bytes::ByteSource& m_disk;
    mutable bytes::OutputFile m_file; // reading what was written needs the same descriptor
    uint64_t m_end = 0; // of what is in the file
    std::vector<Change> m_changes;
};

} // namespace volumes
