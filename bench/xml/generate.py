#!/usr/bin/env python3
"""Writes the XML benchmark inputs into the directory given as the first argument.

big.xml          about 20 MB: a project-like tree 5 deep, several attributes per element with
                 entities and $(...) references, a little text
wide.xml         one element with 200,000 children
defines-for.xml  a for loop stamping out 100,000 define directives with an expression
defines-flat.xml the same 100,000 defines written out, for the anchor
"""
import os
import random
import sys

out = sys.argv[1]
os.makedirs(out, exist_ok=True)
rng = random.Random(4711)
words = ["alpha", "beta", "gamma", "delta", "kernel", "driver", "board", "flash", "boot", "util"]


def attrs(level, i):
    w = rng.choice(words)
    pairs = [
        ("name", f"{w}_{level}_{i}"),
        ("path", f"$(ProjectDir)/src/{w}/file{i}.c"),
        ("flags", f"-O{i % 4} -D{w.upper()}=&quot;{i}&quot; &amp;&amp; -g"),
        ("description", f"{w} &lt;{level}&gt; &apos;{i}&apos; for $(TargetName)"),
    ]
    if i % 3 == 0:
        pairs.append(("build_output_directory", f"$(BuildDir)/{w}/obj{i}"))
    return " ".join(f'{k}="{v}"' for k, v in pairs)


def write_big(path, target=20 * 1024 * 1024):
    tags = ["configuration", "group", "folder", "file", "option"]
    with open(path, "w") as f:
        f.write('<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE Tessbench_Project_File>\n')
        f.write('<Tessbench_Project_File version="3">\n')
        n = 0
        while f.tell() < target:
            def node(level, indent):
                nonlocal n
                n += 1
                pad = "  " * indent
                tag = tags[level]
                if level == len(tags) - 1 or rng.random() < 0.15:
                    f.write(f"{pad}<{tag} {attrs(level, n)}/>\n")
                    return
                f.write(f"{pad}<{tag} {attrs(level, n)}>\n")
                if rng.random() < 0.05:
                    f.write(f"{pad}  note &amp; text {n}\n")
                for _ in range(rng.randint(2, 4)):
                    node(level + 1, indent + 1)
                f.write(f"{pad}</{tag}>\n")
            node(0, 1)
        f.write("</Tessbench_Project_File>\n")


def write_wide(path, width=200000):
    with open(path, "w") as f:
        f.write("<wide>\n")
        for i in range(width):
            f.write(f'  <item index="{i}" value="v{i} &amp; $(Name)"/>\n')
        f.write("</wide>\n")


def write_defines(for_path, flat_path, count=100000):
    with open(for_path, "w") as f:
        f.write('<root>\n  <for index="i" start="0" end="%d" incr="1">\n' % count)
        f.write('    <define name="m$(i)" expression="$(i) * 2 + 1"/>\n  </for>\n')
        f.write('  <result last="$(m%d)"/>\n</root>\n' % (count - 1))
    with open(flat_path, "w") as f:
        f.write("<root>\n")
        for i in range(count):
            f.write(f'  <define name="m{i}" expression="{i} * 2 + 1"/>\n')
        f.write('  <result last="$(m%d)"/>\n</root>\n' % (count - 1))


write_big(os.path.join(out, "big.xml"))
write_wide(os.path.join(out, "wide.xml"))
write_defines(os.path.join(out, "defines-for.xml"), os.path.join(out, "defines-flat.xml"))
