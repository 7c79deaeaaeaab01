#include "finder/StoreFile.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "finder/StoreReader.h"
#include "finder/StoreWriter.h"

#include <sys/stat.h>

namespace finder {

namespace fs = std::filesystem;

namespace {

constexpr uint64_t largestFile = 256 << 20; // real ones have some KiB

fs::path storeIn(const fs::path& folder)
{
    return folder / ".DS_Store";
}

} // namespace

DesktopStore readStoreOf(const fs::path& folder)
{
    const fs::file_status status = fs::symlink_status(storeIn(folder));
    if (!fs::exists(status))
        return {};
    if (!fs::is_regular_file(status))
        throw bytes::FormatError("the .DS_Store is no plain file");
    const auto file = bytes::File::open(storeIn(folder), bytes::File::Mode::read);
    if (file.size() > largestFile)
        throw bytes::FormatError("a .DS_Store of " + std::to_string(file.size()) + " bytes");
    return readStore(file.read(0, file.size()));
}

void writeStoreOf(const fs::path& folder, const DesktopStore& store)
{
    const auto raw = writeStore(store);
    bytes::OutputFile output(storeIn(folder));
    output.file().writeAt(0, raw);
    if (::fchmod(output.file().descriptor(), 0644) != 0)
        bytes::throwErrno(storeIn(folder).string());
    output.file().flush();
    output.commit(true);
}

} // namespace finder
