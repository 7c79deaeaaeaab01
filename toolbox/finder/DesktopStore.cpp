#include "finder/DesktopStore.h"

#include "bytes/ByteWriter.h"
#include "hfsplus/NameOrder.h"

#include <algorithm>
#include <utility>

namespace finder {

namespace {

/// Where a record stands; the part of it that is ordered.
struct Place {
    std::u16string_view name;
    FourCC code;
};

bool comesBefore(const Place& a, const Place& b)
{
    const auto order = hfsplus::compareNames(a.name, b.name);
    return order != 0 ? order < 0 : a.code < b.code;
}

Place placeOf(const StoreRecord& record)
{
    return {record.name, record.code};
}

/// The records of one name and code: at most one in a store of ours, more in one that a
/// case-sensitive volume's Finder wrote.
template <typename Records>
auto recordsAt(Records& records, const Place& place)
{
    return std::pair(std::ranges::lower_bound(records, place, comesBefore, placeOf),
        std::ranges::upper_bound(records, place, comesBefore, placeOf));
}

StoreValue wordValue(FourCC type, uint32_t word)
{
    bytes::ByteWriter out;
    out.u32(word);
    return {type, out.take()};
}

} // namespace

StoreValue StoreValue::number(uint32_t value)
{
    return wordValue("long", value);
}

StoreValue StoreValue::code(FourCC value)
{
    return wordValue("type", value.value);
}

StoreValue StoreValue::blob(std::span<const std::byte> value)
{
    return {"blob", {value.begin(), value.end()}};
}

DesktopStore::DesktopStore(std::vector<StoreRecord> records)
    : m_records(std::move(records))
{
    std::ranges::stable_sort(m_records, inOrder);
}

bool DesktopStore::inOrder(const StoreRecord& a, const StoreRecord& b)
{
    return comesBefore(placeOf(a), placeOf(b));
}

const StoreValue* DesktopStore::find(std::u16string_view name, FourCC code) const
{
    const auto [first, last] = recordsAt(m_records, {name, code});
    return first == last ? nullptr : &first->value;
}

void DesktopStore::set(std::u16string_view name, FourCC code, StoreValue value)
{
    StoreRecord record{std::u16string(name), code, std::move(value)};
    const auto [first, last] = recordsAt(m_records, placeOf(record));
    const auto at = m_records.erase(first, last);
    m_records.insert(at, std::move(record));
}

void DesktopStore::remove(std::u16string_view name, FourCC code)
{
    const auto [first, last] = recordsAt(m_records, {name, code});
    m_records.erase(first, last);
}

} // namespace finder
