#pragma once

#include "macho/Slice.h"

#include <cstddef>
#include <vector>

namespace macho {

/// A slice as it will be with room for a signature (or with none): the new head, what is kept of
/// the old bytes behind it, and how long it becomes. Nothing is written here.
struct SlicePlan {
    std::vector<std::byte> head; // replaces the first head.size() bytes
    uint64_t keep = 0; // bytes of the old slice that stay (the head included)
    uint64_t signatureOffset = 0; // where the signature's room begins; `size` when there is none
    uint64_t size = 0; // of the new slice; what lies between is zero
};

/// A signature may be followed by this many bytes of alignment, and by nothing else.
inline constexpr uint64_t alignmentSlack = 7;

/// Where the signed bytes end: the signature's place if there is one, else the slice's end
/// rounded up to 16.
uint64_t signedLength(const Slice& slice);

/// Makes `room` bytes (a multiple of 16) for a signature at the slice's end, in place of the one
/// that is there. Throws bytes::FormatError when the header has no room for the load command,
/// when there is no __LINKEDIT segment to hold the signature, and when more than alignment follows
/// the old signature: it would be lost.
SlicePlan planSignature(const Slice& slice, uint64_t room);

/// Takes the signature and its load command away. Throws as `planSignature` does.
SlicePlan planRemoval(const Slice& slice);

/// Copies `slice` to `out` at `offset` as `plan` has it, in pieces; the signature's room and what
/// is rounded up are left to be zeros that were never written.
void writePlanned(
    const bytes::ByteSource& slice, const SlicePlan& plan, bytes::ByteDevice& out, uint64_t offset);

} // namespace macho
