#!/usr/bin/env python3
"""Turns the plain comments of a public header into Doxygen's.

A comment above a declaration documents it, one behind a declaration too, the one that begins a file
documents the file. Lines that are indented keep their columns. Nothing else in a comment is markup,
but `code` between backticks.
"""
import re
import sys

SPECIAL = re.compile(r'([\\<>%#@&])')


def escaped(text):
    """What Doxygen would read as a command stays text; what stands between backticks is left alone."""
    parts = text.split('`')
    return '`'.join(part if odd else SPECIAL.sub(r'\\\1', part) for part, odd in zip(parts, [False, True] * len(parts)))


def block(lines, indent, first_in_file):
    """The comment `lines` (without their slashes) as one Doxygen comment."""
    out = [indent + '/**' + (' @file' if first_in_file else '')]
    verbatim = False
    for position, line in enumerate(lines):
        table = line.startswith('   ') or (verbatim and not line.strip()
                                           and any(later.startswith('   ') for later in lines[position + 1:position + 2]))
        if table != verbatim:
            out.append('@verbatim' if table else '@endverbatim')
            verbatim = table
        out.append(line if table else escaped(line.strip()))
    if verbatim:
        out.append('@endverbatim')
    return out + [indent + '*/']


def is_tool_remark(text):
    return text.strip() in ('clang-format off', 'clang-format on') or text.strip().startswith('NOLINT')


def documented(source):
    comment, indent, seen_code = [], '', False
    for line in source.splitlines() + ['']:
        whole = re.match(r'^(\s*)//(.*)$', line)
        if whole:
            if not is_tool_remark(whole[2]):
                indent = whole[1]
                comment.append(whole[2])
            continue
        if comment:
            # A comment that no declaration follows is a remark between declarations.
            remark = seen_code and not line.strip()
            yield from ([''] * len(comment) if remark else block(comment, indent, not seen_code))
            comment = []
        trailing = re.match(r'^(.*[;,])\s+// (.*)$', line)
        seen_code = seen_code or bool(line.strip())
        yield f'{trailing[1]} ///< {escaped(trailing[2])}' if trailing else line


print('\n'.join(documented(open(sys.argv[1], encoding='utf-8').read())))
