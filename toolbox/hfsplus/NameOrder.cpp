#include "hfsplus/NameOrder.h"

#include <array>

namespace hfsplus {

namespace {

/// Every `step`-th unit from `first` to `last` folds to itself plus `delta`.
struct FoldRun {
    char16_t first, last;
    uint8_t step;
    uint8_t delta;
};

// clang-format off
constexpr FoldRun foldRuns[] = {
    {0x0041, 0x005A, 1, 32},  {0x00C6, 0x00C6, 1, 32},  {0x00D0, 0x00D0, 1, 32},
    {0x00D8, 0x00D8, 1, 32},  {0x00DE, 0x00DE, 1, 32},  {0x0110, 0x0110, 1, 1},
    {0x0126, 0x0126, 1, 1},   {0x0132, 0x0132, 1, 1},   {0x013F, 0x0141, 2, 1},
    {0x014A, 0x014A, 1, 1},   {0x0152, 0x0152, 1, 1},   {0x0166, 0x0166, 1, 1},
    {0x0181, 0x0181, 1, 210}, {0x0182, 0x0184, 2, 1},   {0x0186, 0x0186, 1, 206},
    {0x0187, 0x0187, 1, 1},   {0x0189, 0x018A, 1, 205}, {0x018B, 0x018B, 1, 1},
    {0x018E, 0x018E, 1, 79},  {0x018F, 0x018F, 1, 202}, {0x0190, 0x0190, 1, 203},
    {0x0191, 0x0191, 1, 1},   {0x0193, 0x0193, 1, 205}, {0x0194, 0x0194, 1, 207},
    {0x0196, 0x0196, 1, 211}, {0x0197, 0x0197, 1, 209}, {0x0198, 0x0198, 1, 1},
    {0x019C, 0x019C, 1, 211}, {0x019D, 0x019D, 1, 213}, {0x019F, 0x019F, 1, 214},
    {0x01A2, 0x01A4, 2, 1},   {0x01A7, 0x01A7, 1, 1},   {0x01A9, 0x01A9, 1, 218},
    {0x01AC, 0x01AC, 1, 1},   {0x01AE, 0x01AE, 1, 218}, {0x01B1, 0x01B2, 1, 217},
    {0x01B3, 0x01B5, 2, 1},   {0x01B7, 0x01B7, 1, 219}, {0x01B8, 0x01B8, 1, 1},
    {0x01BC, 0x01BC, 1, 1},   {0x01C4, 0x01C4, 1, 2},   {0x01C5, 0x01C5, 1, 1},
    {0x01C7, 0x01C7, 1, 2},   {0x01C8, 0x01C8, 1, 1},   {0x01CA, 0x01CA, 1, 2},
    {0x01CB, 0x01CB, 1, 1},   {0x01E4, 0x01E4, 1, 1},   {0x01F1, 0x01F1, 1, 2},
    {0x01F2, 0x01F2, 1, 1},   {0x0391, 0x03A1, 1, 32},  {0x03A3, 0x03A9, 1, 32},
    {0x03E2, 0x03EE, 2, 1},   {0x0402, 0x0404, 2, 80},  {0x0405, 0x0406, 1, 80},
    {0x0408, 0x040B, 1, 80},  {0x040F, 0x040F, 1, 80},  {0x0410, 0x0418, 1, 32},
    {0x041A, 0x042F, 1, 32},  {0x0460, 0x0474, 2, 1},   {0x0478, 0x0480, 2, 1},
    {0x0490, 0x04BE, 2, 1},   {0x04C3, 0x04C3, 1, 1},   {0x04C7, 0x04C7, 1, 1},
    {0x04CB, 0x04CB, 1, 1},   {0x0531, 0x0556, 1, 48},  {0x10A0, 0x10C5, 1, 48},
    {0x2160, 0x216F, 1, 16},  {0xFF21, 0xFF3A, 1, 32},
};
// clang-format on

struct IgnoredRun {
    char16_t first, last;
};

constexpr IgnoredRun ignoredRuns[] = {
    {0x200C, 0x200F}, {0x202A, 0x202E}, {0x206A, 0x206F}, {0xFEFF, 0xFEFF}};

/// Blocks of 256 units; all blocks in which every unit folds to itself share none.
struct FoldTable {
    static constexpr std::size_t blockCount = 10;
    std::array<uint8_t, 256> blockOf{}; // 0: folds to itself, else 1 + index
    std::array<std::array<char16_t, 256>, blockCount> blocks{};
    std::size_t used = 0;

    constexpr void set(unsigned unit, char16_t value)
    {
        const unsigned high = unit >> 8;
        if (blockOf[high] == 0) {
            for (unsigned low = 0; low < 256; ++low)
                blocks[used][low] = static_cast<char16_t>(high << 8 | low);
            blockOf[high] = static_cast<uint8_t>(++used);
        }
        blocks[blockOf[high] - 1U][unit & 0xFF] = value;
    }
};

constexpr FoldTable makeFoldTable()
{
    FoldTable table;
    table.set(0, 0xFFFF); // NUL comes last
    for (const FoldRun& run : foldRuns) {
        for (unsigned unit = run.first; unit <= run.last; unit += run.step)
            table.set(unit, static_cast<char16_t>(unit + run.delta));
    }
    for (const IgnoredRun& run : ignoredRuns) {
        for (unsigned unit = run.first; unit <= run.last; ++unit)
            table.set(unit, 0);
    }
    return table;
}

constexpr FoldTable foldTable = makeFoldTable();
static_assert(foldTable.used == FoldTable::blockCount);

/// The next value of `name` that counts, from `at` on; 0 at its end.
char16_t nextFolded(std::u16string_view name, std::size_t& at)
{
    while (at < name.size()) {
        if (const char16_t value = folded(name[at++]); value != 0)
            return value;
    }
    return 0;
}

} // namespace

char16_t folded(char16_t unit)
{
    const uint8_t block = foldTable.blockOf[static_cast<uint8_t>(unit >> 8)];
    return block == 0 ? unit : foldTable.blocks[block - 1U][unit & 0xFF];
}

std::weak_ordering compareNames(std::u16string_view a, std::u16string_view b)
{
    // An empty name is a thread's and stands before one of ignored units only.
    if (a.empty() || b.empty())
        return a.size() <=> b.size();
    std::size_t atA = 0;
    std::size_t atB = 0;
    for (;;) {
        const char16_t unitA = nextFolded(a, atA);
        const char16_t unitB = nextFolded(b, atB);
        if (unitA != unitB)
            return unitA <=> unitB;
        if (unitA == 0)
            return std::weak_ordering::equivalent;
    }
}

std::weak_ordering compareCatalogKeys(
    uint32_t parentA, std::u16string_view nameA, uint32_t parentB, std::u16string_view nameB)
{
    if (parentA != parentB)
        return parentA <=> parentB;
    return compareNames(nameA, nameB);
}

} // namespace hfsplus
