#!/usr/bin/env python3
"""Writes a large solution and the equivalent build.ninja into a directory.

The solution has PROJECTS projects of FOLDERS folders of FILES files each, with property values
at every level (solution, private and public configurations, projects, folders, files), so that
resolving a file's object name walks the whole chain. build.ninja holds one compile edge per
file of the Debug configuration, with the object names the solution gives.

usage: generate.py DIR [--projects N] [--folders N] [--files N] [--sources]
  --sources  also writes an empty source file for every file element
"""
import argparse
import os


def object_name(project, folder, index, name):
    """The Debug object of a file, relative to its project directory."""
    if index % 50 == 0:
        return f"Output/Debug/Obj/{project}/special/{name}.o"
    return f"Output/Debug/Obj/{project}/{name}.o"


def defines(project_index, folder_index, index):
    items = ["FAMILY_stm32", "DEBUG", f"PROJECT_{project_index}", f"FOLDER_{folder_index}"]
    if index % 7 == 0:
        items.append("FILE_TUNED")
    return " ".join("-D" + item for item in items)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("directory")
    parser.add_argument("--projects", type=int, default=10)
    parser.add_argument("--folders", type=int, default=10)
    parser.add_argument("--files", type=int, default=100)
    parser.add_argument("--sources", action="store_true")
    args = parser.parse_args()
    os.makedirs(args.directory, exist_ok=True)

    solution = ['<!DOCTYPE Tessbench_Project_File>', '<Tessbench_Project_File>',
                '  <solution Name="Bench" version="2" target="0" macros="Family=stm32" '
                'c_preprocessor_definitions="FAMILY_$(Family)">']
    ninja = ["rule cc", "  command = cc -c $in -o $out $defines", ""]
    for p in range(args.projects):
        project = f"P{p}"
        solution.append(f'    <project Name="{project}" project_directory="{project}" '
                        f'macros="ProjectTag=p{p}" c_preprocessor_definitions="PROJECT_{p}">')
        solution.append(f'      <configuration Name="Debug" c_user_include_directories="inc/$(ProjectTag)" />')
        for f in range(args.folders):
            solution.append(f'      <folder Name="F{f}" c_preprocessor_definitions="FOLDER_{f}">')
            solution.append('        <configuration Name="Release" build_quietly="Yes" />')
            for i in range(args.files):
                name = f"f_{p}_{f}_{i}"
                file_name = f"F{f}/{name}.c"
                attributes = f'file_name="{file_name}"'
                if i % 50 == 0:
                    attributes += ' build_object_file_name="$(IntDir)/special/$(InputName)$(OBJ)"'
                if i % 7 == 0:
                    solution.append(f'        <file {attributes}>')
                    solution.append('          <configuration Name="Debug" '
                                    'c_preprocessor_definitions="FILE_TUNED" />')
                    solution.append('        </file>')
                else:
                    solution.append(f'        <file {attributes} />')
                source = f"{project}/{file_name}"
                ninja.append(f"build {project}/{object_name(project, f, i, name)}: cc {source}")
                ninja.append(f"  defines = {defines(p, f, i)}")
                if args.sources:
                    os.makedirs(os.path.dirname(os.path.join(args.directory, source)), exist_ok=True)
                    open(os.path.join(args.directory, source), "w").close()
            solution.append('      </folder>')
        solution.append('    </project>')
    solution.append('    <configuration Name="Base" hidden="Yes" '
                    'build_intermediate_directory="Output/$(Configuration)/Obj/$(ProjectName)" />')
    solution.append('    <configuration Name="Debug" inherited_configurations="Base" '
                    'build_debug_information="Yes" c_preprocessor_definitions="DEBUG" />')
    solution.append('    <configuration Name="Release" inherited_configurations="Base" '
                    'build_debug_information="No" c_preprocessor_definitions="NDEBUG" />')
    solution.append('  </solution>')
    solution.append('</Tessbench_Project_File>')
    with open(os.path.join(args.directory, "Bench.qvProject"), "w") as out:
        out.write("\n".join(solution) + "\n")
    with open(os.path.join(args.directory, "build.ninja"), "w") as out:
        out.write("\n".join(ninja) + "\n")


if __name__ == "__main__":
    main()
