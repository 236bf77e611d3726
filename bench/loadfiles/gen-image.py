#!/usr/bin/env python3
"""Writes the load-file benchmark's inputs into DIR: image.bin, 16 MiB of seeded random bytes
meant for 0x08000000, and ranged.hex, the same bytes as Intel Hex in five ranges separated by
gaps of 4 KiB to 1 MiB, in records of 16 bytes."""
import binascii
import random
import sys

BASE = 0x08000000
SIZE = 16 << 20
RANGES = 5


def intel_record(kind, address, data):
    body = bytes([len(data), (address >> 8) & 0xFF, address & 0xFF, kind]) + data
    checksum = (-sum(body)) & 0xFF
    return ":" + binascii.hexlify(body + bytes([checksum])).decode().upper() + "\n"


def ranged_hex(image, rng):
    cuts = sorted(rng.sample(range(1, SIZE // 16), RANGES - 1))
    bounds = [0] + [c * 16 for c in cuts] + [SIZE]
    lines = []
    address = BASE
    high = None
    for start, end in zip(bounds, bounds[1:]):
        for offset in range(start, end, 16):
            if address >> 16 != high:
                high = address >> 16
                lines.append(intel_record(4, 0, bytes([high >> 8, high & 0xFF])))
            # A record never crosses 64 KiB: ranges start on 16-byte boundaries.
            lines.append(intel_record(0, address & 0xFFFF, image[offset:offset + 16]))
            address += 16
        address += rng.randrange(4096, (1 << 20) + 1, 16)
    lines.append(":00000001FF\n")
    return "".join(lines)


def main():
    directory = sys.argv[1]
    rng = random.Random(20240601)
    image = rng.randbytes(SIZE)
    with open(f"{directory}/image.bin", "wb") as out:
        out.write(image)
    with open(f"{directory}/ranged.hex", "w") as out:
        out.write(ranged_hex(image, rng))


if __name__ == "__main__":
    main()
