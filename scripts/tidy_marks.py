#!/usr/bin/env python3
"""Prints a line for each source: the source, and a hash of all that clang-tidy's result for it depends on.

Reads a line for each source from its input: the source and the compiler's arguments, with tabs between them. Follows the lines
#include of sources and headers, whatever their conditions. Paths begin at the root folder.
"""

import argparse
import functools
import hashlib
import os
import re
import sys

# Where the compiler looks, in this order; the last one has what the build makes.
SEARCHED = ("include", "src", "tools/zqsettings", "tests", "benchmarks", "build/release/include")
FOR_THREADS = ("tests/concurrency/shim", "tests/concurrency") + SEARCHED
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


@functools.lru_cache(maxsize=None)
def included_names(path):
    with open(path, encoding="utf-8") as file:
        return tuple((quoted or angled, bool(quoted)) for quoted, angled in INCLUDE.findall(file.read()))


def find(name, is_quoted, includer, searched):
    folders = (os.path.dirname(includer),) + searched if is_quoted else searched
    for folder in folders:
        path = os.path.normpath(os.path.join(folder, name))
        if os.path.isfile(path):
            return path
    return None


def headers_of(source):
    searched = FOR_THREADS if source.startswith("tests/concurrency/") else SEARCHED
    found = set()
    waiting = [source]
    while waiting:
        path = waiting.pop()
        for name, is_quoted in included_names(path):
            header = find(name, is_quoted, path, searched)
            if header and header not in found:
                found.add(header)
                waiting.append(header)
    return sorted(found)


@functools.lru_cache(maxsize=None)
def content(path):
    with open(path, "rb") as file:
        return file.read()


def mark_of(version, source, arguments):
    configurations = [".clang-tidy"] + ["tests/.clang-tidy"] * source.startswith("tests/")
    mark = hashlib.sha256("".join(f"{line}\n" for line in (version, source, *arguments)).encode())
    for path in (*configurations, source, *headers_of(source)):
        mark.update(content(path))
    return mark.hexdigest()[:32]


def main():
    parser = argparse.ArgumentParser(prog="scripts/tidy_marks.py", description=__doc__.splitlines()[0])
    parser.add_argument("version", metavar="VERSION", help="of clang-tidy, as it prints it")
    version = parser.parse_args().version
    os.chdir(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    for line in sys.stdin:
        source, *arguments = line.rstrip("\n").split("\t")
        print(source, mark_of(version, source, arguments))


if __name__ == "__main__":
    main()
