#!/usr/bin/env python3
"""Writes NameTables.cpp: run it in its own folder after changing it, then format the output.

HFS+ froze its decomposition at Unicode 3.2 (Apple TN1150, "Unicode Subtleties"), which Python
carries as `ucd_3_2_0`; the order of combining marks is Unicode 4.0's.
"""
import unicodedata

OLD = unicodedata.ucd_3_2_0
# Left as they are on the disk: symbols, and the compatibility ideographs and what follows them.
KEPT = [(0x2000, 0x2FFF), (0xF900, 0xFAFF), (0xAC00, 0xD7A3), (0xD800, 0xDFFF)]
# Combining marks that came with Unicode 4.0; their classes never changed since.
MARKS_OF_4_0 = [(0x350, 0x357), (0x35D, 0x35F), (0x610, 0x615), (0x656, 0x658), (0xCBC, 0xCBC),
                (0x17DD, 0x17DD), (0x1939, 0x193B)]


def within(code, ranges):
    return any(first <= code <= last for first, last in ranges)


def decompositions():
    for code in range(0x10000):
        units = "" if within(code, KEPT) else OLD.normalize("NFD", chr(code))
        if units not in ("", chr(code)):
            yield code, units, OLD.normalize("NFC", chr(code)) == chr(code)


def combining_class(code):
    data = unicodedata if within(code, MARKS_OF_4_0) else OLD
    return 0 if 0xD800 <= code <= 0xDFFF else data.combining(chr(code))


def class_runs():
    first = 0
    for code in range(1, 0x10001):
        if code == 0x10000 or combining_class(code) != combining_class(first):
            if combining_class(first):
                yield first, code - 1, combining_class(first)
            first = code


def packed(items):
    lines, line = [], "   "
    for item in items:
        if len(line) + len(item) + 2 > 100:
            lines.append(line)
            line = "   "
        line += f" {item},"
    return "\n".join(lines + [line])


with open("NameTables.cpp", "w", encoding="ascii") as out:
    rows = list(decompositions())
    runs = list(class_runs())
    out.write(f"""// Written by make-name-tables.py.
#include "hfsplus/NameTables.h"

namespace hfsplus {{

// clang-format off
const std::array<Decomposition, {len(rows)}> decompositions = {{{{
""")
    out.write(packed(
        f"{{0x{code:X},{int(whole)},{{{','.join(f'0x{ord(unit):X}' for unit in units)}}}}}"
        for code, units, whole in rows))
    out.write(f"""
}}}};

const std::array<CombiningRun, {len(runs)}> combiningRuns = {{{{
""")
    out.write(packed(f"{{0x{first:X},0x{last:X},{kind}}}" for first, last, kind in runs))
    out.write("""
}};
// clang-format on

} // namespace hfsplus
""")
    print(len(rows), "decompositions,", len(runs), "runs of combining marks")
