#!/usr/bin/env python3
"""Window descriptions of a given number of menu items for the shell's builder benchmark: menus of
100 items each on the menu bar, the items naming the shell's actions in turn."""
import os
import re
import sys

here = os.path.dirname(os.path.abspath(__file__))
table = open(os.path.join(here, '..', '..', 'shell', 'ActionTable.cpp')).read()
names = re.findall(r'^    \{"(\w+)", "', table[:table.index('constexpr MultiMember')], re.M)

def description(items, per_menu=100):
    lines = ['<gui>', '  <menubar name="BenchMenuBar">']
    for start in range(0, items, per_menu):
        menu = start // per_menu
        lines.append('    <menu name="BenchMenu%d" caption="Menu &amp;%d">' % (menu, menu))
        for i in range(start, min(items, start + per_menu)):
            lines.append('      <item name="%s"/>' % names[i % len(names)])
            if i % 10 == 9:
                lines.append('      <separator/>')
        lines.append('    </menu>')
    lines += ['  </menubar>', '</gui>', '']
    return '\n'.join(lines)

if __name__ == '__main__':
    out = sys.argv[1]
    os.makedirs(out, exist_ok=True)
    for items in (1000, 5000, 20000):
        with open(os.path.join(out, 'menus-%d.xml' % items), 'w') as f:
            f.write(description(items))
