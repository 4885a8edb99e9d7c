"""Reads Windows images and their PDBs: what links the two, and what the PDB says was linked in."""

import re
import struct
import subprocess
import uuid
from functools import cache
from pathlib import Path

PDBUTIL = "llvm-pdbutil-14"


def codeview_record(image: bytes) -> tuple[str, int, str]:
    """GUID, age and name of the PDB that the image's debug directory asks for."""
    header = struct.unpack_from("<I", image, 0x3C)[0]
    section_count, optional_size = struct.unpack_from("<H", image, header + 6)[0], struct.unpack_from("<H", image, header + 20)[0]
    optional = header + 24
    debug_rva, debug_size = struct.unpack_from("<II", image, optional + 112 + 6 * 8)
    sections = [struct.unpack_from("<IIII", image, optional + optional_size + 40 * i + 8) for i in range(section_count)]

    def offset(rva: int) -> int:
        for virtual_size, virtual, raw_size, raw in sections:
            if virtual <= rva < virtual + max(virtual_size, raw_size):
                return raw + rva - virtual
        raise ValueError(f"no section holds the address {rva:#x}")

    for entry in range(offset(debug_rva), offset(debug_rva) + debug_size, 28):
        kind, size, _, raw = struct.unpack_from("<IIII", image, entry + 12)
        if kind == 2 and image[raw : raw + 4] == b"RSDS":
            guid = uuid.UUID(bytes_le=image[raw + 4 : raw + 20])
            age = struct.unpack_from("<I", image, raw + 20)[0]
            return str(guid).upper(), age, image[raw + 24 : raw + size].split(b"\0")[0].decode()
    raise ValueError("the image has no CodeView record")


@cache
def dump(pdb: Path, *options: str) -> str:
    return subprocess.run([PDBUTIL, "dump", *options, pdb], check=True, capture_output=True, text=True).stdout


def pdb_identity(pdb: Path) -> tuple[str, int]:
    """The PDB's GUID and its age."""
    text = dump(pdb, "-summary")
    return re.search(r"GUID: \{(.*)\}", text)[1], int(re.search(r"Age: (\d+)", text)[1])


def linked_files(pdb: Path) -> set[str]:
    """The objects and archives that gave the image its parts."""
    return set(re.findall(r"Obj: `(.*?)`", dump(pdb, "-modules")))


def source_files(pdb: Path) -> set[str]:
    """The source files that gave the image its lines, relative, with slashes."""
    return {name.replace("\\", "/") for name in re.findall(r"^- \(MD5: \w+\) (\S.*)$", dump(pdb, "-files"), re.M)}
