#!/usr/bin/env python3
"""Draws faults at random for scripts/mutate.sh: mutants.py SOURCE_ROOT SEED

Prints every fault that can be planted in src/, in an order that the seed decides, one a line:
file, line number, kind and the changed line, separated by tabs. The kinds:

  comparison  the operator next to it, or its opposite: < and <=, > and >=, == and !=
  constant    a number one higher, a truth value turned round, a text without a blank with one more character: sentences are
              messages, which tests compare where programs read them
  return      a return that leaves a function early is left out
  log         a message is not logged

Each place gives one fault. Comments, preprocessor lines, static assertions and include guards give none.
"""

import pathlib
import random
import re
import signal
import sys

OPPOSITE = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}

# Texts come first, so that nothing inside one is taken for code.
TOKEN = re.compile(
    r"""(?P<text>L?"(?:[^"\\]|\\.)*")
      |(?P<character>L?'(?:[^'\\]|\\.)*')
      |(?P<comment>//.*)
      |(?P<log>^\s*(?:\w+\.)*(?:m_)?log\.Log\()
      |(?P<comparison>(?<=\s)(?:<=|>=|==|!=|<|>)(?=\s))
      |(?P<number>\b(?:0[xX][0-9A-Fa-f']+|[0-9][0-9']*)(?P<suffix>[uUlL]*)\b(?!\.[0-9]))
      |(?P<truth>\b(?:true|false)\b)""",
    re.VERBOSE,
)
SKIPPED_LINE = re.compile(r"^\s*(?:#|//|static_assert|using |namespace |template |extern )")
EARLY_RETURN = re.compile(r"^ {8,}(?:return\b.*;|continue;|break;)$")


def one_higher(number, suffix):
    digits = (number[: len(number) - len(suffix)] if suffix else number).replace("'", "")
    value = int(digits, 0) if not re.fullmatch(r"0[0-9]+", digits) else int(digits, 8)
    return (hex(value + 1) if digits.lower().startswith("0x") else str(value + 1)) + suffix


def faults_of(line):
    """Yields (kind, changed line) for each place in a line of code."""
    if EARLY_RETURN.match(line):
        yield "return", re.match(r"\s*", line).group() + ";"
    for match in TOKEN.finditer(line):
        kind = match.lastgroup if match.lastgroup != "suffix" else "number"
        found = match.group()
        before, after = line[: match.start()], line[match.end() :]
        if kind == "comment":
            return
        if kind == "log":
            call = found.lstrip()
            yield "log", found.removesuffix(call) + "if (false) " + call + after
        elif kind == "comparison":
            yield "comparison", before + OPPOSITE[found] + after
        elif kind == "number":
            yield "constant", before + one_higher(found, match.group("suffix") or "") + after
        elif kind == "truth":
            yield "constant", before + ("false" if found == "true" else "true") + after
        elif kind == "text":
            if " " not in found:
                yield "constant", before + found[:-1] + '~"' + after


def faults_of_file(root, path):
    in_static_assert = False
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if in_static_assert or line.lstrip().startswith("static_assert"):
            in_static_assert = not line.rstrip().endswith(";")
            continue
        if SKIPPED_LINE.match(line):
            continue
        for kind, changed in faults_of(line):
            yield path.relative_to(root), number, kind, changed


def main():
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # whoever has enough faults stops reading
    root = pathlib.Path(sys.argv[1])
    sources = sorted(path for path in (root / "src").rglob("*") if path.suffix in (".cpp", ".h"))
    faults = [fault for path in sources for fault in faults_of_file(root, path)]
    random.Random(int(sys.argv[2])).shuffle(faults)
    for fault in faults:
        print(*fault, sep="\t")


if __name__ == "__main__":
    main()
