#pragma once

#include "hfsplus/Records.h"

#include <string_view>

/// Which metadata of a volume belongs to the system, so that programs neither see nor change it.
namespace hfsplus {

using FinderInfoBytes = std::array<std::byte, 32>;

/// True for attributes that describe the volume's own structure (access lists, link heads,
/// compressed data).
bool isSystemAttribute(std::u16string_view name);

/// What a program reads as com.apple.FinderInfo: without the document number, the date of adding
/// and the write count, and without the type that marks a symbolic link.
FinderInfoBytes visibleFinderInfo(const FinderInfoBytes& stored, bool symlink);

/// The stored form of `visible`; what a program doesn't see is taken over from `before`.
FinderInfoBytes storedFinderInfo(
    const FinderInfoBytes& visible, const FinderInfoBytes& before, bool symlink);

} // namespace hfsplus
