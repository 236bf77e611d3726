#!/usr/bin/env python3
"""Benchmark data for package archives, made once under DIR:
tree/  2,000 small source-like files in 40 folders plus firmware/image.bin of 16 MiB;
big/   the same small files with a 96 MiB image (for peak memory against the size);
many-1000.qvPackage, many-100000.qvPackage  archives of that many empty files (look-ups);
names-1000.txt, names-100000.txt  10,000 names of each archive in a shuffled order."""
import os, random, struct, sys, zlib

out = sys.argv[1]
rng = random.Random(19)
words = [b"static", b"int", b"void", b"return", b"uint32_t", b"register", b"volatile", b"if", b"else",
         b"for", b"while", b"struct", b"gpio", b"clock", b"uart", b"timer", b"0x40021000", b"(", b")",
         b"{", b"}", b";", b"=", b"+", b"<<", b"|=", b"&=", b"~", b"\n", b"    ", b"/*", b"*/"]

def source_text(size):
    parts, length = [], 0
    while length < size:
        w = rng.choice(words)
        parts.append(w + b" ")
        length += len(w) + 1
    return b"".join(parts)[:size]

def image(size):
    # Firmware-like: stretches of code (a small alphabet), tables, padding and noise.
    chunks, length = [], 0
    while length < size:
        kind = rng.random()
        n = rng.randint(256, 8192)
        if kind < 0.45:
            chunk = bytes(rng.choice(b"\x00\x01\x20\x46\x68\x70\xb5\xbd\xe0\xf0\xff") for _ in range(n))
        elif kind < 0.65:
            chunk = struct.pack("<I", rng.getrandbits(32)) * (n // 4)
        elif kind < 0.75:
            chunk = b"\xff" * n
        else:
            chunk = rng.randbytes(n)
        chunks.append(chunk)
        length += len(chunk)
    return b"".join(chunks)[:size]

def write(path, data, mtime=1700000000):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(data)
    os.utime(path, (mtime, mtime))

def tree(root, image_size):
    state = rng.getstate()
    for i in range(2000):
        folder = "src/module%02d" % (i % 40)
        name = "file%04d.%s" % (i, "c" if i % 3 else "h")
        write(os.path.join(root, folder, name), source_text(rng.randint(200, 4000)))
    rng.setstate(state)
    write(os.path.join(root, "firmware", "image.bin"), image(image_size))

def many(path, count):
    names = [("lib/group%03d/entry%06d.h" % (i % 500, i)).encode() for i in range(count)]
    names.sort()
    stream = bytearray(struct.pack("<I", count) + b"\0" * 16)
    offset = 20 + sum(18 + len(n) for n in names)
    for n in names:
        stream += struct.pack("<HIIII", len(n), offset, 0, 0o644, 1700000000) + n
    with open(path, "wb") as f:
        f.write(struct.pack("<IHH", 0x71F5C6B1, 2, 0) + zlib.compress(bytes(stream), 7))
    picked = [n.decode() for n in names]
    rng.shuffle(picked)
    with open(os.path.join(out, "names-%d.txt" % count), "w") as f:
        f.write("\n".join(picked[:10000]) + "\n")

tree(os.path.join(out, "tree"), 16 << 20)
tree(os.path.join(out, "big"), 96 << 20)
many(os.path.join(out, "many-1000.qvPackage"), 1000)
many(os.path.join(out, "many-100000.qvPackage"), 100000)
