#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

/// Integers as they lie in a file: fixed byte order, alignment 1, converted on access. A record of
/// a format is a struct of these; its size is asserted beside it. Nothing else swaps bytes.
namespace bytes {

template <typename Value>
constexpr Value swapped(Value value)
{
    auto raw = std::bit_cast<std::array<std::byte, sizeof(Value)>>(value);
    for (std::size_t i = 0; i < raw.size() / 2; ++i)
        std::swap(raw[i], raw[raw.size() - 1 - i]);
    return std::bit_cast<Value>(raw);
}

template <typename Value, std::endian order>
class StoredInteger {
public:
    constexpr StoredInteger() = default;
    constexpr StoredInteger(Value value) { *this = value; }

    constexpr StoredInteger& operator=(Value value)
    {
        if constexpr (order != std::endian::native)
            value = swapped(value);
        m_raw = std::bit_cast<std::array<std::byte, sizeof(Value)>>(value);
        return *this;
    }

    constexpr operator Value() const
    {
        const auto value = std::bit_cast<Value>(m_raw);
        if constexpr (order != std::endian::native)
            return swapped(value);
        return value;
    }

    constexpr Value value() const { return *this; }

    friend constexpr bool operator==(const StoredInteger&, const StoredInteger&) = default;
    template <std::integral Number>
    friend constexpr bool operator==(const StoredInteger& stored, Number number)
    {
        return std::cmp_equal(stored.value(), number);
    }

private:
    std::array<std::byte, sizeof(Value)> m_raw{};
};

using be16 = StoredInteger<uint16_t, std::endian::big>;
using be32 = StoredInteger<uint32_t, std::endian::big>;
using be64 = StoredInteger<uint64_t, std::endian::big>;
using bei16 = StoredInteger<int16_t, std::endian::big>;
using bei32 = StoredInteger<int32_t, std::endian::big>;
using le16 = StoredInteger<uint16_t, std::endian::little>;
using le32 = StoredInteger<uint32_t, std::endian::little>;
using le64 = StoredInteger<uint64_t, std::endian::little>;

/// What may be copied from and to a file as it is.
template <typename Record>
inline constexpr bool isStoredRecord = std::is_trivially_copyable_v<Record> && alignof(Record) == 1;

template <typename Record>
requires isStoredRecord<Record> std::span<const std::byte> recordBytes(const Record& record)
{
    return std::as_bytes(std::span<const Record, 1>(&record, 1));
}

/// The record at the head of `raw`, which must be long enough.
template <typename Record>
requires isStoredRecord<Record> Record recordAt(std::span<const std::byte> raw)
{
    Record record;
    std::memcpy(&record, raw.first(sizeof(Record)).data(), sizeof(Record));
    return record;
}

} // namespace bytes
