#!/usr/bin/env python3
"""Writes a solution of N tiny C files in one executable project, and a build.ninja that runs
the same front end with the same arguments, for comparing the build engine with ninja."""
import os
import sys

def main():
    if len(sys.argv) != 4:
        sys.exit("usage: generate.py COUNT OUTDIR BINDIR")
    count, out, bindir = int(sys.argv[1]), os.path.abspath(sys.argv[2]), os.path.abspath(sys.argv[3])
    per_folder = 100
    folders = {}
    for i in range(count):
        folder = "d%03d" % (i // per_folder)
        os.makedirs(os.path.join(out, "src", folder), exist_ok=True)
        name = "src/%s/f%05d.c" % (folder, i)
        path = os.path.join(out, name)
        if not os.path.exists(path):
            with open(path, "w") as f:
                f.write('#include "common.h"\nint f%05d(int x) { return x * %d + COMMON; }\n' % (i, i))
        folders.setdefault(folder, []).append(name)
    os.makedirs(os.path.join(out, "src", "include"), exist_ok=True)
    with open(os.path.join(out, "src", "include", "common.h"), "w") as f:
        f.write("#define COMMON 1\n")
    with open(os.path.join(out, "src", "main.c"), "w") as f:
        f.write("int main(void) { return 0; }\n")
    lines = ['<!DOCTYPE Tessbench_Project_File>', '<Tessbench_Project_File>',
             '  <solution Name="bench" version="2">', '    <configuration Name="Debug" />',
             '    <project Name="app" project_type="Executable" linker_map_file="No"'
             ' c_user_include_directories="src/include" build_debug_information="No">',
             '      <file file_name="src/main.c" />']
    for folder, names in sorted(folders.items()):
        lines.append('      <folder Name="%s">' % folder)
        lines += ['        <file file_name="%s" />' % n for n in names]
        lines.append('      </folder>')
    lines += ['    </project>', '  </solution>', '</Tessbench_Project_File>', '']
    with open(os.path.join(out, "bench.qvProject"), "w") as f:
        f.write("\n".join(lines))
    # The same command lines the engine gives the front end, and the same outputs in the same
    # places, so that either tool finds the other's work up to date.
    cc = os.path.join(bindir, "cc")
    system_include = os.path.join(os.path.dirname(bindir), "include")
    ninja = ["rule cc",
             "  command = %s -v -c -xc $in -Isrc/include -I%s -depend $dep -o $out" % (cc, system_include),
             "  depfile = $dep", "  deps = gcc",
             "rule link",
             "  command = %s -v -inputfiles $rsp -printf=i -scanf=i -o $out" % cc,
             "  rspfile = $rsp", "  rspfile_content = $in_newline", ""]
    objects = []
    for name in ["src/main.c"] + [n for _, ns in sorted(folders.items()) for n in ns]:
        obj = "Output/Debug/Obj/app/" + os.path.splitext(os.path.basename(name))[0] + ".o"
        objects.append(obj)
        ninja.append("build %s: cc %s" % (obj, os.path.join(out, name)))
        ninja.append("  dep = %s.d" % obj[:-2])
    ninja.append("build Output/Debug/Exe/app.elf: link " + " ".join(objects))
    ninja.append("  rsp = Output/Debug/Obj/app/app.ind")
    ninja.append("default Output/Debug/Exe/app.elf")
    with open(os.path.join(out, "build.ninja"), "w") as f:
        f.write("\n".join(ninja) + "\n")

main()
