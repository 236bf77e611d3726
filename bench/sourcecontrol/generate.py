#!/usr/bin/env python3
"""Writes the working copy the source control benchmark measures.

A git repository of FILES files in nested folders (20 modules of 20 folders by default), all
committed, then MODIFIED of them changed, and a solution Bench.qvProject whose one project lists
the first SOLUTION files, so that refreshing it gives that many file elements their state.
An existing repository with the same shape is kept, so the file system cache stays warm.

usage: generate.py DIR [--files N] [--modified N] [--solution N]
"""
import argparse
import os
import shutil
import subprocess


def git(repo, *arguments):
    subprocess.run(["git", "-C", repo, *arguments], check=True, stdout=subprocess.DEVNULL)


def paths(count):
    """The files, spread over mod<a>/sub<b>/file<c>.c, 50 a folder."""
    per_folder = 50
    for index in range(count):
        folder = index // per_folder
        yield f"mod{folder // 20:02d}/sub{folder % 20:02d}/file{index % per_folder:02d}.c"


def write_solution(repo, files):
    lines = ['<!DOCTYPE Tessbench_Project_File>', '<Tessbench_Project_File>',
             '  <solution Name="Bench" version="2">', '    <project Name="Firmware">']
    lines += [f'      <file file_name="{path}" />' for path in files]
    lines += ['    </project>', '  </solution>', '</Tessbench_Project_File>', '']
    with open(os.path.join(repo, "Bench.qvProject"), "w") as out:
        out.write("\n".join(lines))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("directory")
    parser.add_argument("--files", type=int, default=20000)
    parser.add_argument("--modified", type=int, default=100)
    parser.add_argument("--solution", type=int, default=10000)
    options = parser.parse_args()
    repo = os.path.join(options.directory, "repo")
    shape = f"{options.files} {options.modified} {options.solution}\n"
    marker = os.path.join(options.directory, "shape")
    if os.path.exists(marker) and open(marker).read() == shape:
        return
    shutil.rmtree(options.directory, ignore_errors=True)
    os.makedirs(repo)
    all_files = list(paths(options.files))
    for index, path in enumerate(all_files):
        os.makedirs(os.path.join(repo, os.path.dirname(path)), exist_ok=True)
        with open(os.path.join(repo, path), "w") as out:
            out.write(f"int value{index} = {index};\n")
    write_solution(repo, all_files[:options.solution])
    git(repo, "init", "-q", "-b", "main")
    git(repo, "add", "-A")
    git(repo, "-c", "user.name=Bench", "-c", "user.email=bench@example.invalid", "commit", "-q", "-m", "Start")
    # Changes spread over the tree, one in every FILES/MODIFIED files.
    step = max(1, options.files // max(1, options.modified))
    for path in all_files[::step][:options.modified]:
        with open(os.path.join(repo, path), "a") as out:
            out.write("// changed\n")
    with open(marker, "w") as out:
        out.write(shape)


if __name__ == "__main__":
    main()
