#!/usr/bin/env python3
"""Writes the memory-map benchmark's inputs into the directory given:

big.xml         a device of 20,000 registers in 500 register groups, each register with four
                bit fields and the first field with two enums
template/       a templates file whose one template makes a project of 500 source files, and
                the 500 sources it copies (sources/ is also the tree that cp -r copies)
"""
import os
import sys

REGISTERS = 20000
PER_GROUP = 40
FILES = 500


def write_map(path):
    with open(path, "w") as out:
        out.write("<!DOCTYPE Board_Memory_Definition_File>\n")
        out.write('<Board_Memory_Definition_File name="Bench">\n')
        out.write('  <MemorySegment name="FLASH" start="0x08000000" size="1024 * 1024" access="ReadOnly"/>\n')
        out.write('  <MemorySegment name="PERIPH" start="0x40000000" size="0x20000000">\n')
        for group in range(REGISTERS // PER_GROUP):
            out.write('    <RegisterGroup name="P%d" start="0x%08X" size="0x400" description="Peripheral %d">\n'
                      % (group, 0x40000000 + group * 0x400, group))
            for index in range(PER_GROUP):
                out.write('      <Register name="R%d" start="+0x%X" size="4" access="Read/Write" '
                          'description="Register %d of peripheral %d">\n' % (index, index * 4, index, group))
                out.write('        <BitField name="EN" start="0" size="1"><Enum name="Off" start="0"/>'
                          '<Enum name="On" start="1"/></BitField>\n')
                out.write('        <BitField name="MODE" start="1" size="3"/>\n')
                out.write('        <BitField name="DIV" start="8" size="8"/>\n')
                out.write('        <BitField name="FLAG" start="31" size="1" access="ReadOnly"/>\n')
                out.write("      </Register>\n")
            out.write("    </RegisterGroup>\n")
        out.write("  </MemorySegment>\n</Board_Memory_Definition_File>\n")


def write_template(directory):
    sources = os.path.join(directory, "sources")
    os.makedirs(sources, exist_ok=True)
    for index in range(FILES):
        with open(os.path.join(sources, "unit%03d.c" % index), "w") as out:
            out.write("/* unit %d */\n" % index)
            for line in range(60):
                out.write("int unit%d_value%d(int x) { return x * %d + %d; }\n" % (index, line, line, index))
    with open(os.path.join(directory, "project_templates.xml"), "w") as out:
        out.write("<Project_Templates>\n")
        out.write('  <project name="Big" title="Five hundred files">\n')
        out.write('    <property name="project_type" value="Library"/>\n')
        out.write('    <folder name="Source Files" filter="c;h">\n')
        for index in range(FILES):
            out.write('      <file name="unit%03d.c" source="sources/unit%03d.c"/>\n' % (index, index))
        out.write("    </folder>\n  </project>\n</Project_Templates>\n")


def main():
    directory = sys.argv[1]
    os.makedirs(directory, exist_ok=True)
    write_map(os.path.join(directory, "big.xml"))
    write_template(os.path.join(directory, "template"))


if __name__ == "__main__":
    main()
