#include "FuzzInput.h"

#include "udif/BlockTable.h"
#include "udif/UdifPropertyList.h"

using namespace udif;

namespace {

constexpr uint64_t dataForkLength = 1 << 20;

void readTable(std::span<const std::byte> raw)
{
    const BlockTable table = readBlockTable(raw, dataForkLength);
    const BlockTable again = readBlockTable(writeBlockTable(table), dataForkLength);
    fuzz::insist(again.chunks == table.chunks && again.sectorCount == table.sectorCount,
        "a table that was written reads as the same");
}

} // namespace

// The property list of a disk image with its block tables, or one such table alone.
FUZZ_TARGET(block_table, input)
{
    fuzz::accepts([&] {
        if (!input.empty() && input.front() != std::byte{'<'})
            return readTable(input);
        const std::vector<BlockResource> resources = readPropertyList(input);
        // Control characters in names become blanks, so that names count only once written.
        const std::string xml = writePropertyList(resources);
        const auto again = readPropertyList(std::as_bytes(std::span(xml)));
        fuzz::insist(writePropertyList(again) == xml, "a list that was written reads as the same");
        for (const BlockResource& resource : resources)
            fuzz::accepts([&] { readTable(resource.data); });
    });
}
