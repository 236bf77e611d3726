#!/usr/bin/env python3
"""Writes a solution of N tiny C files in one executable project, and a build.ninja and a
Makefile that run the same front end with the same arguments (byte for byte the command lines
of `tess build`), for comparing the build engine with ninja and make."""
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
    # The outputs in the places the engine puts them, named as it names them (absolute), so
    # that the three tools run the same commands and either finds the other's work up to date.
    cc = os.path.join(bindir, "cc")
    sources = ["src/main.c"] + [n for _, ns in sorted(folders.items()) for n in ns]
    objects = [os.path.join(out, "Output/Debug/Obj/app",
                            os.path.splitext(os.path.basename(name))[0] + ".o") for name in sources]
    executable = os.path.join(out, "Output/Debug/Exe/app.elf")
    list_file = "Output/Debug/Obj/app/app.ind"
    compile_line = "%s -v -c -xc %%s -Isrc/include -depend %%s -o %%s" % cc
    link_line = "%s -v -inputfiles %s -printf=i -scanf=i -o %%s" % (cc, list_file)
    write_ninja(out, sources, objects, executable, list_file, compile_line, link_line)
    write_makefile(out, sources, objects, executable, list_file, compile_line, link_line)


def write_ninja(out, sources, objects, executable, list_file, compile_line, link_line):
    ninja = ["rule cc",
             "  command = " + compile_line % ("$in", "$dep", "$out"),
             "  depfile = $dep", "  deps = gcc",
             "rule link",
             "  command = " + link_line % "$out",
             "  rspfile = %s" % list_file, "  rspfile_content = $in_newline", ""]
    for source, obj in zip(sources, objects):
        ninja.append("build %s: cc %s" % (obj, os.path.join(out, source)))
        ninja.append("  dep = %s.d" % obj[:-2])
    ninja.append("build %s: link %s" % (executable, " ".join(objects)))
    ninja.append("default " + executable)
    with open(os.path.join(out, "build.ninja"), "w") as f:
        f.write("\n".join(ninja) + "\n")


def write_makefile(out, sources, objects, executable, list_file, compile_line, link_line):
    """One explicit rule per object (no rule search), the dependency files read back as make
    reads them, the link's list file written by make itself."""
    object_dir = os.path.dirname(objects[0])
    exe_dir = os.path.dirname(executable)
    lines = ["MAKEFLAGS += --no-builtin-rules", "empty :=", "space := $(empty) $(empty)",
             "define newline", "", "", "endef",
             "OBJECTS := " + " ".join(objects), "", ".SUFFIXES:", "all: " + executable, "",
             "%s %s:" % (object_dir, exe_dir), "\tmkdir -p $@", ""]
    for source, obj in zip(sources, objects):
        lines.append("%s: %s | %s" % (obj, os.path.join(out, source), object_dir))
        lines.append("\t" + compile_line % ("$<", "$(@:.o=.d)", "$@"))
    lines += ["", "%s: $(OBJECTS) | %s" % (executable, exe_dir),
              "\t$(file >%s,$(subst $(space),$(newline),$(OBJECTS)))" % list_file,
              "\t" + link_line % "$@", "", "-include $(OBJECTS:.o=.d)", ""]
    with open(os.path.join(out, "Makefile"), "w") as f:
        f.write("\n".join(lines))


main()
