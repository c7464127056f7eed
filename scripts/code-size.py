#!/usr/bin/env python3
"""Counts non-blank, non-comment lines of C++ and GLSL: the program, its tests, and
their ratio. Usage: scripts/code-size.py [repository root]"""
import pathlib
import re
import sys

SUFFIXES = {".h", ".hpp", ".cpp", ".cc", ".inc", ".glsl", ".comp", ".vert", ".frag"}
PROGRAM = ["Halvane", "Platform", "tools", "Tamrix_Editor"]
TESTS = ["tests", "fuzz"]
# Strings first, so that "//" or "/*" inside a literal is not taken for a comment.
TOKEN = re.compile(r'"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|//[^\n]*|/\*.*?\*/', re.S)


def counted_lines(text):
    def keep_strings(match):
        token = match.group(0)
        if token.startswith("/*"):
            return "\n" * token.count("\n")
        return "" if token.startswith("//") else token
    return sum(1 for line in TOKEN.sub(keep_strings, text).splitlines() if line.strip())


def count(root, folders):
    total = 0
    for folder in folders:
        for path in (root / folder).rglob("*"):
            if path.suffix in SUFFIXES and path.is_file():
                total += counted_lines(path.read_text(errors="replace"))
    return total


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent)
    program, tests = count(root, PROGRAM), count(root, TESTS)
    print(f"program {program}")
    print(f"tests   {tests}")
    print(f"ratio   {tests / program:.2f}")


if __name__ == "__main__":
    main()
