#pragma once

#include "finder/FourCC.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace finder {

/// A value as a `.DS_Store` holds it. `bytes` is the value alone, big-endian, without the count
/// that goes before blobs and strings.
struct StoreValue {
    FourCC type;
    std::vector<std::byte> bytes;

    static StoreValue number(uint32_t value); // `long`
    static StoreValue code(FourCC value); // `type`
    static StoreValue blob(std::span<const std::byte> value);

    friend bool operator==(const StoreValue&, const StoreValue&) = default;
};

/// One setting of one item. `name` is spelled as the volume stores names (see hfsplus/Names.h);
/// "." is the folder that holds the store.
struct StoreRecord {
    std::u16string name;
    FourCC code;
    StoreValue value;

    friend bool operator==(const StoreRecord&, const StoreRecord&) = default;
};

/// What a `.DS_Store` says: records in the order of the format, by name as the volume compares
/// names, then by code. Records that nobody here knows are kept as they are.
class DesktopStore {
public:
    static constexpr std::u16string_view folderItself = u".";

    DesktopStore() = default;
    explicit DesktopStore(std::vector<StoreRecord> records);

    const std::vector<StoreRecord>& records() const { return m_records; }
    /// Null when there is none. Valid until the store changes.
    const StoreValue* find(std::u16string_view name, FourCC code) const;
    /// Adds, or replaces the one of that name and code.
    void set(std::u16string_view name, FourCC code, StoreValue value);
    void remove(std::u16string_view name, FourCC code);

    /// True when `a` comes before `b` in a store.
    static bool inOrder(const StoreRecord& a, const StoreRecord& b);

    friend bool operator==(const DesktopStore&, const DesktopStore&) = default;

private:
    std::vector<StoreRecord> m_records;
};

} // namespace finder
