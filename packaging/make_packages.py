#!/usr/bin/env python3
"""Makes the packages of a release build: packaging/make_packages.py BUILD_FOLDER OUTPUT_FOLDER

A ZIP for every tool chain, and from its content a NuGet package, a vcpkg overlay port and a Conan recipe; SHA256SUMS over
them. The same build gives the same bytes: entries are sorted and bear the time of the commit, or SOURCE_DATE_EPOCH."""

import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

import sbom

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
NAME = "ZQModSettings"


def source_date() -> int:
    if "SOURCE_DATE_EPOCH" in os.environ:
        return int(os.environ["SOURCE_DATE_EPOCH"])
    commit = subprocess.run(["git", "-C", ROOT, "log", "-1", "--format=%ct"], capture_output=True, text=True)
    return int(commit.stdout) if commit.returncode == 0 else 315532800  # the first hour of ZIP's calendar


def write_zip(path: Path, entries: dict[str, bytes], date: int) -> None:
    when = time.gmtime(max(date, 315532800))[:6]
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name in sorted(entries):
            entry = zipfile.ZipInfo(name, when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o100644 << 16
            archive.writestr(entry, entries[name])


def install(build: Path) -> dict[str, bytes]:
    """What the build installs, by its path in the package."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", build, "--prefix", folder], check=True, stdout=subprocess.DEVNULL)
        return {str(file.relative_to(folder)): file.read_bytes() for file in Path(folder).rglob("*") if file.is_file()}


def fill(template: str, values: dict[str, str]) -> bytes:
    text = (HERE / template).read_text()
    return re.sub(r"@(\w+)@", lambda match: values[match[1]], text).encode()


def below(content: dict[str, bytes], folder: str, target: str) -> dict[str, bytes]:
    return {target + name[len(folder):]: data for name, data in content.items() if name.startswith(folder)}


def legal(content: dict[str, bytes]) -> dict[str, bytes]:
    """What every package has of licences: that there is none yet, those of the parts, and the list of the parts."""
    return {name: data for name, data in content.items() if name in ("NOTICE", "LICENSE", "THIRD-PARTY.md", f"{NAME}.spdx.json")
            or name.startswith("licences/")}


def nuget(content: dict[str, bytes], values: dict[str, str]) -> dict[str, bytes]:
    package = legal(content) | {
        f"{NAME}.nuspec": fill("nuget/ZQModSettings.nuspec.in", values),
        f"build/native/{NAME}.targets": fill("nuget/ZQModSettings.targets", values),
        f"build/native/lib/x64/{NAME}.lib": content[f"lib/{NAME}.lib"],
        f"runtimes/win-x64/native/{NAME}.dll": content[f"bin/{NAME}.dll"],
        f"runtimes/win-x64/native/{NAME}.pdb": content[f"symbols/{NAME}.pdb"],
        "README.md": fill("nuget/README.md", values),
    }
    package |= below(content, "include/", "build/native/include/")
    package |= below(content, "bin/defaults/", "build/native/defaults/")
    package |= below(content, "schemas/", "build/native/schemas/")

    # The parts of the Open Packaging Conventions, in which a package is wrapped.
    properties = f"package/services/metadata/core-properties/{hashlib.md5(values['version'].encode()).hexdigest()}.psmdcp"
    package[properties] = fill("nuget/core-properties.psmdcp.in", values)
    package["_rels/.rels"] = fill("nuget/rels.in", values | {"properties": properties})
    extensions = sorted({name.rsplit(".", 1)[1] for name in package if "." in name.rsplit("/", 1)[-1][1:]} - {"rels", "psmdcp"})
    bare = sorted(name for name in package if "." not in name.rsplit("/", 1)[-1])
    package["[Content_Types].xml"] = fill("nuget/content-types.xml.in", values | {
        "defaults": "".join(f'  <Default Extension="{extension}" ContentType="application/octet"/>\n' for extension in extensions),
        "overrides": "".join(f'  <Override PartName="/{name}" ContentType="application/octet"/>\n' for name in bare),
    })
    return package


def vcpkg(archive: Path, values: dict[str, str]) -> dict[str, bytes]:
    port = "ports/zqmodsettings/"
    return {port + archive.name: archive.read_bytes()} | {
        port + Path(template).name.removesuffix(".in"): fill(template, values)
        for template in ("vcpkg/vcpkg.json.in", "vcpkg/portfile.cmake.in", "vcpkg/ZQModSettingsConfig.cmake.in", "vcpkg/usage")
    }


def conan(archive: Path, values: dict[str, str]) -> dict[str, bytes]:
    return {archive.name: archive.read_bytes(), "conanfile.py": fill("conan/conanfile.py.in", values)}


def main() -> int:
    if len(sys.argv) != 3 or sys.argv[1] == "--help":
        print(__doc__)
        return 0 if "--help" in sys.argv else 2
    build, out = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
    cache = (build / "CMakeCache.txt").read_text()
    version = re.search(r"^CMAKE_PROJECT_VERSION:STATIC=(.*)$", cache, re.M)[1]
    date = source_date()
    created = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(date))
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir(parents=True)

    content = install(build)
    images = {build / "bin" / file: build / "bin" / pdb
              for file, pdb in ((f"{NAME}.dll", f"{NAME}.pdb"), ("zqsettings.exe", "zqsettings.pdb"))}
    try:
        content[f"{NAME}.spdx.json"] = sbom.document(NAME, version, images, created).encode()
    except sbom.UnknownComponent as error:
        print(f"make_packages.py: {error}", file=sys.stderr)
        return 1

    archive = out / f"{NAME}-{version}-win64.zip"
    write_zip(archive, {f"{archive.stem}/{name}": data for name, data in content.items()}, date)
    values = {
        "version": version, "created": created, "archive": archive.name, "folder": archive.stem,
        "sha256": hashlib.sha256(archive.read_bytes()).hexdigest(), "sha512": hashlib.sha512(archive.read_bytes()).hexdigest(),
    }
    write_zip(out / f"{NAME}.{version}.nupkg", nuget(content, values), date)
    write_zip(out / f"{NAME}-{version}-vcpkg.zip", vcpkg(archive, values), date)
    write_zip(out / f"{NAME}-{version}-conan.zip", conan(archive, values), date)
    (out / f"{NAME}-{version}.spdx.json").write_bytes(content[f"{NAME}.spdx.json"])
    sums = [f"{hashlib.sha256(file.read_bytes()).hexdigest()}  {file.name}\n" for file in sorted(out.iterdir())]
    (out / "SHA256SUMS").write_text("".join(sums))
    return 0


sys.exit(main())
