#!/usr/bin/env python3
"""The packet readers of examples/packet/ on the same packets: packet_readers_test.py BUILD_FOLDER

Samples: a packet that the module made of the default files, packets with the last corner of every rule of
docs/variable-packet.md, and damaged ones, cut and scrambled. Python, TypeScript and C# must all read what is expected.
"""
import json
import pathlib
import random
import struct
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
READERS = ROOT / "examples" / "packet"
sys.dont_write_bytecode = True
sys.path.insert(0, str(READERS))
import zq_packet  # noqa: E402
from zq_packet import Type, Variable  # noqa: E402

UTF16_HEADER = b"\xbf\xfe\xeb\x01" + struct.pack("<I", 0)
UTF8_HEADER = b"\xbf\xfe\xeb\x01" + struct.pack("<I", 65001)


def record(kind, name, value, name_length=None, value_length=None):
    name_length = len(name) if name_length is None else name_length
    value_length = len(value) if value_length is None else value_length
    return struct.pack("<Iii", kind, name_length, value_length) + name + value


def wide(text):
    return text.encode("utf-16-le", "surrogatepass")


WHOLE = record(1, wide("A"), b"\x01")  # read before the damage of each sample
A = Variable("A", Type.BOOL, True)
HUGE = 2**31 - 1

# Name, packet, the variables in it, and how many bytes at the end are not read; None for no packet.
SAMPLES = [
    ("nothing", b"", None, 0),
    ("seven bytes", UTF16_HEADER[:7], None, 0),
    ("other magic", b"\xbf\xfe\xec" + UTF16_HEADER[3:], None, 0),
    ("header only", UTF16_HEADER, [], 0),
    ("another version", b"\xbf\xfe\xeb\x09" + UTF16_HEADER[4:] + WHOLE, [A], 0),
    ("every type", UTF16_HEADER + record(1, wide("A"), b"\x02") + record(2, wide("A"), struct.pack("<q", -2**63)) +
     record(3, wide("A"), struct.pack("<d", -0.0)) + record(4, wide("A"), wide("x\U0001F600")) +
     record(5, wide("A"), b"\x00\xff"),
     [A, Variable("A", Type.INTEGER, -2**63), Variable("A", Type.DOUBLE, -0.0),
      Variable("A", Type.STRING, "x\U0001F600"), Variable("A", Type.BINARY, b"\x00\xff")], 0),
    ("ends of numbers", UTF16_HEADER + record(2, wide("I"), struct.pack("<q", 2**63 - 1)) +
     record(3, wide("D"), struct.pack("<d", float("-inf"))) + record(3, wide("E"), struct.pack("<d", 5e-324)),
     [Variable("I", Type.INTEGER, 2**63 - 1), Variable("D", Type.DOUBLE, float("-inf")),
      Variable("E", Type.DOUBLE, 5e-324)], 0),
    ("empty values", UTF16_HEADER + record(4, wide("S"), b"") + record(5, wide("B"), b""),
     [Variable("S", Type.STRING, ""), Variable("B", Type.BINARY, b"")], 0),
    ("unpaired surrogates", UTF16_HEADER + record(4, wide("S"), b"\x00\xd8a\x00\x00\xdc"),
     [Variable("S", Type.STRING, "\ud800a\udc00")], 0),
    ("mark of byte order", UTF16_HEADER + record(4, wide("S"), wide("\ufeffx")), [Variable("S", Type.STRING, "\ufeffx")], 0),
    ("utf-8", UTF8_HEADER + record(4, "n\u00e9".encode(), "\u20ac\ufeff".encode()),
     [Variable("n\u00e9", Type.STRING, "\u20ac\ufeff")], 0),
    ("utf-8 mark first", UTF8_HEADER + record(4, b"S", "\ufeffx".encode()), [Variable("S", Type.STRING, "\ufeffx")], 0),
    ("odd bytes", UTF16_HEADER + record(4, wide("S") + b"x", wide("t") + b"y"), [Variable("S", Type.STRING, "t")], 0),
    ("zero inside", UTF16_HEADER + record(4, wide("S\0no"), wide("t\0no")), [Variable("S", Type.STRING, "t")], 0),
    ("values too long", UTF16_HEADER + record(1, wide("A"), b"\x01\x00") + record(2, wide("I"), struct.pack("<qB", 7, 1)),
     [A, Variable("I", Type.INTEGER, 7)], 0),
    ("values too short", UTF16_HEADER + record(1, wide("X"), b"") + record(2, wide("X"), b"1234567") +
     record(3, wide("X"), b"1234567") + WHOLE, [A], 0),
    ("unknown types", UTF16_HEADER + record(0, wide("X"), b"12345678") + record(6, wide("X"), b"12345678") +
     record(2**32 - 1, wide("X"), b"12345678") + WHOLE, [A], 0),
    ("no name", UTF16_HEADER + WHOLE + record(1, b"", b"\x01") + WHOLE, [A], 13 + len(WHOLE)),
    ("name empty once decoded", UTF16_HEADER + WHOLE + record(1, wide("\0A"), b"\x01"), [A], 17),
    ("name of one byte", UTF16_HEADER + WHOLE + record(1, b"A", b"\x01"), [A], 14),
    ("negative name", UTF16_HEADER + WHOLE + record(1, wide("A"), b"\x01", name_length=-2), [A], 15),
    ("negative value", UTF16_HEADER + WHOLE + record(1, wide("A"), b"\x01", value_length=-1), [A], 15),
    ("longer than the rest", UTF16_HEADER + WHOLE + record(1, wide("A"), b"\x01", value_length=2), [A], 15),
    ("far longer than the rest", UTF16_HEADER + WHOLE + record(1, wide("A"), b"\x01", HUGE, HUGE), [A], 15),
    ("eleven bytes at the end", UTF16_HEADER + WHOLE + bytes(11), [A], 11),
    ("another encoding", b"\xbf\xfe\xeb\x01" + struct.pack("<I", 1252) + record(1, b"A", b"\x01"), [], 14),
]


def form(content):
    """What the readers' test programs print of one packet: its offset, then a line for each variable, every value exact."""
    if content is None:
        return ["no packet"]
    variables, offset = content
    values = {
        Type.BOOL: lambda value: str(int(value)),
        Type.INTEGER: str,
        Type.DOUBLE: lambda value: struct.pack(">d", value).hex(),
        Type.STRING: lambda value: wide(value).hex(),
        Type.BINARY: lambda value: value.hex(),
    }
    return [str(offset)] + [f"{int(v.type)} {wide(v.name).hex()} {values[v.type](v.value)}" for v in variables]


def read_in_python(packet):
    try:
        return zq_packet.read_packet(packet)
    except zq_packet.NotAPacket:
        return None


def run(command, folder):
    # Not into pipes: Wine's desktop process may keep those of the program that started it open for minutes.
    with tempfile.TemporaryFile("w+") as output, tempfile.TemporaryFile("w+") as errors:
        done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=output, stderr=errors, timeout=100)
        output.seek(0)
        errors.seek(0)
        printed = output.read()
        if done.returncode != 0:
            sys.exit(f"{command[0]} ended with {done.returncode}: {printed}{errors.read()}")
    return printed


def typescript(folder):
    run(["tsc", "--strict", "--target", "ES2020", "--module", "commonjs", "--lib", "ES2020,DOM", "--typeRoots", str(folder),
         "--outDir", str(folder), str(READERS / "zqPacket.ts")], folder)
    return ["node", str(ROOT / "tests/packet/print_packets.js"), str(folder / "zqPacket.js")]


def csharp(folder):
    program = folder / "PrintPackets.exe"
    run(["mcs", "-warn:4", "-warnaserror", "-langversion:6", f"-out:{program}", str(READERS / "ZQPacket.cs"),
         str(ROOT / "tests/packet/PrintPackets.cs")], folder)
    return ["mono", str(program)]


def module_packet(build, folder):
    """The module's packet of the default files, and its variables as zqsettings lists them."""
    tool = [str(ROOT / "scripts/wine-watched.sh"), str(build / "bin/zqsettings.exe")]
    run([*tool, "show", "--save-packet", "module.packet"], folder)
    listed = json.loads(run([*tool, "packet", "--json", "module.packet"], folder))
    return (folder / "module.packet").read_bytes(), {(v["name"], v["type"]): v["value"] for v in listed}


def damaged(packet):
    """The same hundred packets each time: cut anywhere, or with some bytes changed."""
    chance = random.Random(1)
    for _ in range(50):
        yield packet[: chance.randrange(len(packet))]
    for _ in range(50):
        scrambled = bytearray(packet[: chance.randrange(2000)])
        for _ in range(chance.randrange(1, 4)):
            if scrambled:
                scrambled[chance.randrange(len(scrambled))] = chance.choice([0, 1, 0x7F, 0x80, 0xFF])
        yield bytes(scrambled)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    problems = []

    def expect(wanted, got, what):
        if wanted != got:
            problems.append(f"{what}: wanted {wanted[:5]}, got {got[:5]}")

    with tempfile.TemporaryDirectory() as work:
        folder = pathlib.Path(work)
        from_module, listed = module_packet(pathlib.Path(sys.argv[1]).resolve(), folder)
        for name, packet, variables, left in SAMPLES:
            wanted = form(None if variables is None else (variables, len(packet) - left))
            expect(wanted, form(read_in_python(packet)), f"Python, {name}")
        variables, offset = zq_packet.read_packet(from_module)
        if offset != len(from_module) or len(variables) < 800:
            problems.append(f"the module's packet gave {len(variables)} variables and was read up to {offset}")
        if {(v.name, v.type.name.lower()): v.value for v in variables} != listed:
            problems.append("Python read other variables in the module's packet than zqsettings")

        packets = [packet for _, packet, _, _ in SAMPLES] + [from_module, *damaged(from_module)]
        names = [name for name, *_ in SAMPLES] + ["the module's"] + [f"damaged {i}" for i in range(100)]
        for i, packet in enumerate(packets):
            (folder / f"{i}.packet").write_bytes(packet)
        files = [f"{i}.packet" for i in range(len(packets))]
        for language, build in (("TypeScript", typescript), ("C#", csharp)):
            printed = run([*build(folder), *files], folder).split("\n\n")[:-1]
            if len(printed) != len(packets):
                problems.append(f"{language} printed {len(printed)} packets of {len(packets)}")
            for name, packet, lines in zip(names, packets, printed):
                expect(form(read_in_python(packet)), lines.split("\n"), f"{language}, {name}")
    if problems:
        sys.exit("\n".join(problems) + f"\npacket_readers_test.py: {len(problems)} problems, see above.")


if __name__ == "__main__":
    main()
