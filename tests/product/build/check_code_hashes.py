#!/usr/bin/env python3
"""Recomputes every hash of a signed bundle's main executable, sharing nothing with the signer.

usage: check_code_hashes.py BUNDLE EXECUTABLE. Exit status 0 when all agree.
"""

import hashlib
import plistlib
import struct
import sys
from pathlib import Path

HASHES = {1: ("sha1", 20), 2: ("sha256", 32), 3: ("sha256", 20), 4: ("sha384", 48)}


def digest(kind, data):
    name, size = HASHES[kind]
    return hashlib.new(name, data).digest()[:size]


def slices(data):
    if struct.unpack(">I", data[:4])[0] == 0xCAFEBABE:
        for i in range(struct.unpack(">I", data[4:8])[0]):
            _, _, offset, size, _ = struct.unpack(">5I", data[8 + 20 * i : 28 + 20 * i])
            yield data[offset : offset + size]
    else:
        yield data


def signature(code):
    count = struct.unpack("<I", code[16:20])[0]
    at = 32
    for _ in range(count):
        command, size = struct.unpack("<II", code[at : at + 8])
        if command == 0x1D:
            offset, room = struct.unpack("<II", code[at + 8 : at + 16])
            assert offset + room == len(code), "the signature is not the slice's end"
            return offset, code[offset : offset + room]
        at += size
    raise SystemExit("not signed")


def blobs(raw):
    magic, _, count = struct.unpack(">III", raw[:12])
    assert magic == 0xFADE0CC0
    for i in range(count):
        slot, offset = struct.unpack(">II", raw[12 + 8 * i : 20 + 8 * i])
        length = struct.unpack(">I", raw[offset + 4 : offset + 8])[0]
        yield slot, raw[offset : offset + length]


def check_directory(code, limit_expected, directory, parts, files):
    hash_offset, special, count, limit = (
        struct.unpack(">I", directory[i : i + 4])[0] for i in (16, 24, 28, 32)
    )
    size, kind, page = directory[36], directory[37], 1 << directory[39]
    assert limit == limit_expected, "the code limit is not where the signature begins"
    for i in range(count):
        expected = directory[hash_offset + i * size : hash_offset + (i + 1) * size]
        assert digest(kind, code[i * page : min((i + 1) * page, limit)]) == expected, f"page {i}"
    assert count == -(-limit // page)
    for slot in range(1, special + 1):
        expected = directory[hash_offset - slot * size : hash_offset - (slot - 1) * size]
        content = files.get(slot, parts.get(slot))
        if content is None:
            assert not any(expected), f"slot {slot} covers something that is not there"
        else:
            assert digest(kind, content) == expected, f"slot {slot}"


def check_seal(contents):
    seal = plistlib.loads((contents / "_CodeSignature/CodeResources").read_bytes())
    for name, entry in seal["files2"].items():
        path = contents / name
        if "symlink" in entry:
            assert path.readlink() == Path(entry["symlink"]), name
        elif "hash2" in entry:
            assert hashlib.sha256(path.read_bytes()).digest() == entry["hash2"], name
    assert any("requirement" in entry for entry in seal["files2"].values())


def main():
    bundle, executable = Path(sys.argv[1]), Path(sys.argv[2])
    contents = bundle / "Contents"
    files = {
        1: (contents / "Info.plist").read_bytes(),
        3: (contents / "_CodeSignature/CodeResources").read_bytes(),
    }
    for code in slices(executable.read_bytes()):
        limit, raw = signature(code)
        parts = dict(blobs(raw))
        for slot, blob in parts.items():
            if slot == 0 or 0x1000 <= slot < 0x1005:
                check_directory(code, limit, blob, parts, files)
    check_seal(contents)
    print("all hashes agree")


main()
