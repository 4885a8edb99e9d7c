#!/usr/bin/env python3
"""Prints a line for each source: the source, then the project's headers that it includes.

Follows the lines #include of sources and headers, whatever their conditions. Paths begin at the root folder.
"""

import argparse
import functools
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


def main():
    parser = argparse.ArgumentParser(prog="scripts/includes.py", description=__doc__.splitlines()[0])
    parser.add_argument("sources", metavar="SOURCE", nargs="+", help="a source of src/, tools/ or tests/")
    sources = parser.parse_args().sources
    os.chdir(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    for source in sources:
        print(source, *headers_of(source))


if __name__ == "__main__":
    main()
