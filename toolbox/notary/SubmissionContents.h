#pragma once

#include "bytes/ByteDevice.h"
#include "notary/CodeInspector.h"
#include "notary/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace notary {

/// Finds all code in a file that was handed in, whatever it is packed in: archives and images are
/// unpacked into a folder of this process, also those inside of others.
class SubmissionContents {
public:
    /// Everything unpacked together may take so many bytes.
    static constexpr uint64_t mostBytes = uint64_t{1} << 38;
    static constexpr int deepest = 6; // containers in containers

    /// Borrows the inspector, which sees every piece of code.
    explicit SubmissionContents(CodeInspector& inspector)
        : m_inspector(inspector)
    { }

    static bool isZip(const bytes::ByteSource& file);
    /// Whether `file` is something to unpack.
    static bool isContainer(const bytes::ByteSource& file);

    /// Inspects the container at `file`, called `name`. What can't be unpacked is an error of the
    /// outermost and a warning inside. Throws std::system_error.
    void inspect(const std::filesystem::path& file, const std::string& name);

private:
    void enter(const std::filesystem::path& file, const std::string& name, int depth);
    void unpackImage(const std::filesystem::path& image, const std::filesystem::path& folder);
    void inspectFolder(const std::filesystem::path& folder, const std::string& name, int depth);

    CodeInspector& m_inspector;
    TemporaryFolder m_unpacked;
    uint64_t m_bytesLeft = mostBytes;
};

} // namespace notary
