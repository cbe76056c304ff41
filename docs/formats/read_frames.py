#!/usr/bin/env python3
"""Lists the frames of a recording, every checksum verified: read_frames.py frames.kta [FOLDER]

One line a frame: camera, sequence number, time, format and size, compression, XXH3 of the pixels (of the file, where it
is a PNG). With a folder, frames are written there: PNG files, or bare pixels. Wants the modules xxhash and zstandard.
"""
import datetime
import pathlib
import struct
import sys

import xxhash
import zstandard

FORMATS = {0x01080001: "Mono8", 0x01100003: "Mono10", 0x01100005: "Mono12", 0x01100025: "Mono14", 0x01100007: "Mono16",
           0x02180014: "RGB8", 0x02180015: "BGR8"}  # and so on: the page has the others
EPOCH = datetime.datetime(1970, 1, 1)


def check(data, wanted, what):
    if xxhash.xxh3_64_intdigest(data) != wanted:
        sys.exit(what + ": wrong checksum")


data = open(sys.argv[1], "rb")
index = pathlib.Path(sys.argv[1]).with_suffix(".idx").read_bytes()
magic, version, count = struct.unpack_from("<4sHB", index)
if magic != b"KTA\0" or version != 1:
    sys.exit("no index of version 1")
tracks = []
for at in range(7, 7 + 6161 * count, 6161):
    record = index[at:at + 6161]
    check(record[:5129] + bytes(8) + record[5137:], int.from_bytes(record[5129:5137], "little"), "track record")
    tracks.append(record[:1024].split(b"\0")[0].decode())
for at in range(7 + 6161 * count, len(index) - 112, 113):
    time, track, offset, size, sequence, checksum, width, height, pfnc, compression = struct.unpack_from("<qB4Q3IB", index, at)
    check(index[at:at + 105], struct.unpack_from("<Q", index, at + 105)[0], f"block header at byte {at}")
    data.seek(offset)
    stored = data.read(size)
    check(stored, checksum, f"payload at byte {offset}")
    pixels = zstandard.decompress(stored) if compression == 2 else stored
    stamp = "untimed" if time == -2**63 else (EPOCH + datetime.timedelta(microseconds=time)).isoformat()
    print(tracks[track], sequence, stamp, FORMATS.get(pfnc, hex(pfnc)), f"{width}x{height}", ("none", "png", "zstd")[compression],
          xxhash.xxh3_64_hexdigest(pixels))
    if len(sys.argv) > 2:
        name = f"{tracks[track]}_{sequence:06}." + ("png" if compression == 1 else "raw")
        pathlib.Path(sys.argv[2], name).write_bytes(pixels)
