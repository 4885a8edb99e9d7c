#!/usr/bin/env python3
"""The packages beside the ZIP and what is inside the images: tests/package/packages_test.py PACKAGES_FOLDER UNPACKED_ZIP"""

import hashlib
import json
import re
import struct
import subprocess
import sys
import tempfile
import types
import unittest
import xml.etree.ElementTree as xml
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "packaging"))
import symbols  # noqa: E402

PACKAGES, UNPACKED = Path(sys.argv[1]), Path(sys.argv[2])
VERSION = re.search(r"^  VERSION (\S+)$", (ROOT / "CMakeLists.txt").read_text(), re.M)[1]
IMAGES = {UNPACKED / "bin/ZQModSettings.dll": UNPACKED / "symbols/ZQModSettings.pdb",
          UNPACKED / "bin/zqsettings.exe": UNPACKED / "symbols/zqsettings.pdb"}
LEGAL = {"NOTICE", "THIRD-PARTY.md", "licences/rapidjson-dev.txt", "licences/g++-mingw-w64-x86-64-posix.txt",
         "licences/mingw-w64-x86-64-dev.txt", "licences/libcli11-dev.txt", "licences/GPL-3"}


class Image:
    """The headers of a Windows image, as far as the tests look at them."""

    def __init__(self, path: Path):
        self.data = path.read_bytes()
        header = struct.unpack_from("<I", self.data, 0x3C)[0]
        self.optional = header + 24
        count, size = struct.unpack_from("<H", self.data, header + 6)[0], struct.unpack_from("<H", self.data, header + 20)[0]
        self.sections = [struct.unpack_from("<8sIIIIIIHHI", self.data, self.optional + size + 40 * i) for i in range(count)]

    def word(self, offset: int) -> int:
        return struct.unpack_from("<H", self.data, self.optional + offset)[0]

    def dword(self, offset: int) -> int:
        return struct.unpack_from("<I", self.data, self.optional + offset)[0]

    def directory(self, index: int) -> bytes:
        rva, size = self.dword(112 + 8 * index), self.dword(116 + 8 * index)
        return self.read(rva, size) if rva else b""

    def read(self, rva: int, size: int) -> bytes:
        for _, virtual_size, virtual, raw_size, raw, *_ in self.sections:
            if virtual <= rva < virtual + max(virtual_size, raw_size):
                return self.data[raw + rva - virtual:raw + rva - virtual + size]
        raise ValueError(f"no section holds {rva:#x}")


class ImageTest(unittest.TestCase):
    def test_the_checksum_is_that_of_the_file(self):
        for path in IMAGES:
            image = Image(path)
            data = bytearray(image.data)
            struct.pack_into("<I", data, image.optional + 64, 0)
            words = sum(struct.unpack(f"<{len(data) // 2}H", data[:len(data) // 2 * 2])) + (data[-1] if len(data) % 2 else 0)
            while words >> 16:
                words = (words & 0xFFFF) + (words >> 16)
            self.assertEqual(image.dword(64), words + len(data), path.name)

    def test_no_section_is_writable_and_executable_and_all_are_aligned_to_pages(self):
        for path in IMAGES:
            image = Image(path)
            self.assertEqual((image.dword(32), image.dword(36)), (4096, 512), path.name)
            for name, _, virtual, *_, characteristics in image.sections:
                self.assertEqual(virtual % 4096, 0, name)
                self.assertNotEqual(characteristics & 0xA0000000, 0xA0000000, f"{path.name} {name}")
                self.assertFalse(name.startswith(b"/"), f"{path.name} has a section with a long name: debug information of GCC")

    def test_address_randomisation_with_64_bits_and_data_execution_prevention_are_on(self):
        for path in IMAGES:
            self.assertEqual(Image(path).word(70) & 0x160, 0x160, path.name)

    def test_the_load_configuration_names_the_guard_and_only_the_system_folder(self):
        for path in IMAGES:
            config = Image(path).directory(10)
            self.assertGreaterEqual(len(config), 148, path.name)
            self.assertEqual(struct.unpack_from("<H", config, 78)[0], 0x800, path.name)
            self.assertNotEqual(struct.unpack_from("<Q", config, 88)[0], 0, path.name)

    def test_functions_with_arrays_check_their_stack(self):
        for path, pdb in IMAGES.items():
            publics = symbols.dump(pdb, "-publics")
            section, offset = re.search(r"`__stack_chk_fail`\n.*addr = (\d+):(\d+)", publics).groups()
            image = Image(path)
            text = image.sections[int(section) - 1]
            target, code = int(offset), image.data[text[4]:text[4] + text[1]]
            calls, found = 0, code.find(b"\xe8")
            while found >= 0 and found + 5 <= len(code):
                calls += found + 5 + struct.unpack_from("<i", code, found + 1)[0] == target
                found = code.find(b"\xe8", found + 1)
            self.assertGreater(calls, 30, path.name)

    def test_the_version_resource_is_complete(self):
        for path in IMAGES:
            image = Image(path)
            data = image.directory(2)
            for key, value in {"CompanyName": "", "FileVersion": VERSION, "ProductVersion": VERSION, "LegalCopyright": "",
                               "ProductName": "ZQModSettings", "OriginalFilename": path.name, "InternalName": path.stem}.items():
                start = data.find((key + "\0").encode("utf-16-le"))
                self.assertGreaterEqual(start, 0, f"{path.name}: {key}")
                text = data[start + 2 * (len(key) + 1):start + 200].decode("utf-16-le", "replace").lstrip("\0")
                if value:
                    self.assertTrue(text.startswith(value + "\0"), f"{path.name}: {key} is {text[:20]!r}")
            fixed = data.find(struct.pack("<I", 0xFEEF04BD))
            major, minor, patch = map(int, VERSION.split("."))
            expected = (minor | major << 16, patch << 16)
            self.assertEqual(struct.unpack_from("<II", data, fixed + 8), expected, path.name)


class SymbolsTest(unittest.TestCase):
    def test_the_image_names_its_pdb_by_guid_and_without_a_folder(self):
        for path, pdb in IMAGES.items():
            guid, age, name = symbols.codeview_record(path.read_bytes())
            self.assertEqual((guid, age), symbols.pdb_identity(pdb), path.name)
            self.assertEqual(name, pdb.name)

    def test_source_files_are_relative_and_those_of_this_tree(self):
        for pdb in IMAGES.values():
            text = symbols.dump(pdb, "-files")
            own = 0
            for digest, name in set(re.findall(r"^- \(MD5: (\w+)\) (\S.*)$", text, re.M)):
                self.assertNotRegex(name, r"^[/\\]|^\w:", pdb.name)
                file = ROOT / name.replace("\\", "/")
                if name.startswith(("src\\", "tools\\")):
                    own += 1
                    self.assertEqual(hashlib.md5(file.read_bytes()).hexdigest().upper(), digest, name)
            self.assertGreater(own, 30, pdb.name)

    def test_a_function_has_its_name_and_the_lines_of_its_source(self):
        for pdb, function, file, text in (
            (UNPACKED / "symbols/ZQModSettings.pdb", "CreateSettings", "src/module/Export.cpp", "CreateSettings()"),
            (UNPACKED / "symbols/zqsettings.pdb", "main", "tools/zqsettings/Main.cpp", "int main("),
        ):
            procedure = re.search(rf"S_GPROC32 \[size = \d+\] `{function}`\n.*addr = \d+:(\d+), code size = (\d+)",
                                  symbols.dump(pdb, "-symbols"))
            self.assertIsNotNone(procedure, function)
            start, size = map(int, procedure.groups())
            windows_name = re.escape(file.replace("/", "\\"))
            # The lines of one object only: those of all are hundreds of megabytes.
            module = re.search(rf"^Mod (\d+) \| .*\\{Path(file).name}\.obj`", symbols.dump(pdb, "-files"), re.M)[1]
            tables = re.findall(rf"^{windows_name} \(MD5: \w+\)\n  \d+:([0-9A-F]+)-([0-9A-F]+), line/addr entries = \d+\n((?:    .*\n)+)",
                                symbols.dump(pdb, "-l", f"-modi={int(module)}"), re.M)
            lines = [int(line) for begin, end, rows in tables if int(begin, 16) == start and int(end, 16) == start + size
                     for line in re.findall(r"(\d+) [0-9A-F]{8} ", rows)]
            source = (ROOT / file).read_text().splitlines()
            declared = next(number for number, line in enumerate(source, 1) if text in line)
            self.assertIn(declared, lines, f"{function}: lines {lines}")

    def test_methods_are_listed_by_their_demangled_names(self):
        names = re.findall(r"S_[GL]PROC32 \[size = \d+\] `(.*?)`", symbols.dump(UNPACKED / "symbols/ZQModSettings.pdb", "-symbols"))
        self.assertIn("zq::CZQModSettingsImpl::DoInit", names)
        self.assertFalse([name for name in names if name.startswith("_Z")])


class NugetTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.package = zipfile.ZipFile(PACKAGES / f"ZQModSettings.{VERSION}.nupkg")
        cls.names = set(cls.package.namelist())

    def read(self, name: str) -> xml.Element:
        return xml.fromstring(self.package.read(name))

    def test_the_manifest_has_what_the_gallery_demands(self):
        metadata = self.read("ZQModSettings.nuspec")[0]
        values = {child.tag.split("}")[1]: child.text for child in metadata}
        self.assertRegex(values["id"], r"^\w+([.-]\w+)*$")
        self.assertLessEqual(len(values["id"]), 100)
        self.assertEqual((values["id"], values["version"], values["authors"]), ("ZQModSettings", VERSION, "ZQModSettings"))
        self.assertTrue(0 < len(values["description"]) <= 4000)
        self.assertIn(values["license"], self.names)
        self.assertIn(values["readme"], self.names)

    def test_each_part_has_a_content_type_and_each_relationship_leads_to_a_part(self):
        types_ = self.read("[Content_Types].xml")
        extensions = {entry.get("Extension").lower() for entry in types_ if entry.get("Extension")}
        overrides = {entry.get("PartName") for entry in types_ if entry.get("PartName")}
        for name in self.names - {"[Content_Types].xml"}:
            bare = name.rsplit("/", 1)[-1]
            known = "/" + name in overrides or ("." in bare and bare.rsplit(".", 1)[1].lower() in extensions)
            self.assertTrue(known, f"{name} has no content type")
        targets = {entry.get("Type").rsplit("/", 1)[-1]: entry.get("Target") for entry in self.read("_rels/.rels")}
        self.assertEqual(targets["manifest"], "/ZQModSettings.nuspec")
        for target in targets.values():
            self.assertIn(target.lstrip("/"), self.names)

    def test_the_targets_name_files_of_the_package(self):
        text = self.package.read("build/native/ZQModSettings.targets").decode()
        xml.fromstring(text)
        paths = re.findall(r"\$\(MSBuildThisFileDirectory\)([^;\"<]*)", text)
        self.assertEqual(len(paths), 5)
        for path in paths:
            parts = ("build/native/" + path.replace("\\", "/")).split("/")
            while ".." in parts:
                up = parts.index("..")
                del parts[up - 1:up + 1]
            prefix = "/".join(parts).rstrip("*")
            self.assertTrue(any(name.startswith(prefix) for name in self.names), prefix)

    def test_it_has_headers_library_dll_symbols_and_legal_texts(self):
        wanted = LEGAL | {"ZQModSettings.spdx.json", "build/native/include/CZQModSettings.h", "build/native/lib/x64/ZQModSettings.lib",
                          "runtimes/win-x64/native/ZQModSettings.dll", "runtimes/win-x64/native/ZQModSettings.pdb",
                          "build/native/defaults/ZQ2_HmdList.json"}
        self.assertFalse(wanted - self.names)
        self.assertEqual(self.package.read("runtimes/win-x64/native/ZQModSettings.dll"), (UNPACKED / "bin/ZQModSettings.dll").read_bytes())


# What vcpkg does for a port, as far as this one asks for it.
VCPKG = """
set(CURRENT_PACKAGES_DIR "{out}")
set(PORT zqmodsettings)
function(vcpkg_check_linkage)
endfunction()
function(vcpkg_extract_source_archive out)
  cmake_parse_arguments(ARG "" "ARCHIVE" "" ${{ARGN}})
  file(ARCHIVE_EXTRACT INPUT "${{ARG_ARCHIVE}}" DESTINATION "{work}")
  file(GLOB folder "{work}/*")
  set(${{out}} "${{folder}}" PARENT_SCOPE)
endfunction()
function(vcpkg_install_copyright)
  cmake_parse_arguments(ARG "" "" "FILE_LIST" ${{ARGN}})
  foreach(file IN LISTS ARG_FILE_LIST)
    file(READ "${{file}}" text)
    file(APPEND "{out}/share/${{PORT}}/copyright" "${{text}}")
  endforeach()
endfunction()
include("{port}/portfile.cmake")
"""


class VcpkgTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        zipfile.ZipFile(PACKAGES / f"ZQModSettings-{VERSION}-vcpkg.zip").extractall(cls.folder.name)
        cls.port = Path(cls.folder.name) / "ports/zqmodsettings"
        cls.out = Path(cls.folder.name) / "out"

    def install(self) -> subprocess.CompletedProcess:
        script = Path(self.folder.name) / "install.cmake"
        script.write_text(VCPKG.format(out=self.out, work=Path(self.folder.name) / "work", port=self.port))
        return subprocess.run(["cmake", "-P", script], capture_output=True, text=True)

    def test_the_manifest_follows_the_schema(self):
        manifest = json.loads((self.port / "vcpkg.json").read_text())
        self.assertRegex(manifest["name"], r"^[a-z0-9]+(-[a-z0-9]+)*$")
        self.assertEqual(manifest["name"], self.port.name)
        self.assertEqual(manifest["version"], VERSION)
        self.assertFalse(set(manifest) - {"name", "version", "description", "license", "supports"})
        self.assertIsNone(manifest["license"])

    def test_the_port_installs_what_vcpkg_expects_and_cmake_finds_it(self):
        done = self.install()
        self.assertEqual(done.returncode, 0, done.stderr)
        for file in ("include/CZQModSettings.h", "bin/ZQModSettings.dll", "debug/bin/ZQModSettings.dll", "lib/ZQModSettings.lib",
                     "debug/lib/ZQModSettings.lib", "bin/ZQModSettings.pdb", "share/zqmodsettings/usage",
                     "share/zqmodsettings/defaults/ZQ2_HmdList.json", "tools/zqmodsettings/zqsettings.exe"):
            self.assertTrue((self.out / file).is_file(), file)
        self.assertFalse(list(self.out.glob("bin/*.exe")) + list(self.out.glob("debug/include")))
        copyright_ = (self.out / "share/zqmodsettings/copyright").read_text(errors="replace")
        for text in ("No licence is granted yet", "RapidJSON", "GCC RUNTIME LIBRARY EXCEPTION"):
            self.assertIn(text.lower(), copyright_.lower())
        find = subprocess.run(["cmake", "-S", ROOT / "tests/package/find", "-B", Path(self.folder.name) / "find", "-G", "Ninja",
                               f"-DZQModSettings_DIR={self.out}/share/zqmodsettings", "-DSYSTEM=Windows", "-DIMPORT_SUFFIX=.lib",
                               "-DWANTED=ZQModSettings.lib"], capture_output=True, text=True)
        self.assertEqual(find.returncode, 0, find.stderr)

    def test_the_port_refuses_another_archive(self):
        archive = next(self.port.glob("*.zip"))
        content = archive.read_bytes()
        archive.write_bytes(content + b"x")
        self.addCleanup(archive.write_bytes, content)
        done = self.install()
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("is not the file that this port was made for", done.stderr.replace("\n ", ""))


class ConanTest(unittest.TestCase):
    """Runs the recipe with as much of Conan 2 as it uses."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        zipfile.ZipFile(PACKAGES / f"ZQModSettings-{VERSION}-conan.zip").extractall(cls.folder.name)
        conan, errors, tools, files = (types.ModuleType(name) for name in ("conan", "conan.errors", "conan.tools", "conan.tools.files"))
        conan.ConanFile = object
        errors.ConanInvalidConfiguration = type("ConanInvalidConfiguration", (Exception,), {})
        files.check_sha256, files.unzip, files.copy = cls.check_sha256, cls.unzip, cls.copy
        sys.modules |= {"conan": conan, "conan.errors": errors, "conan.tools": tools, "conan.tools.files": files}
        names: dict = {}
        exec((Path(cls.folder.name) / "conanfile.py").read_text(), names)
        cls.recipe, cls.invalid = names["ZQModSettingsConan"], errors.ConanInvalidConfiguration

    @staticmethod
    def check_sha256(_, path, expected):
        if hashlib.sha256(Path(path).read_bytes()).hexdigest() != expected:
            raise ValueError(path)

    @staticmethod
    def unzip(_, path, destination, strip_root):
        assert strip_root
        archive = zipfile.ZipFile(path)
        for name in archive.namelist():
            target = Path(destination) / name.split("/", 1)[1]
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(archive.read(name))

    @staticmethod
    def copy(_, pattern, source, target):
        for file in Path(source).rglob(pattern):
            if file.is_file():
                to = Path(target) / file.relative_to(source)
                to.parent.mkdir(parents=True, exist_ok=True)
                to.write_bytes(file.read_bytes())

    def make(self, system: str):
        recipe = self.recipe()
        recipe.settings = types.SimpleNamespace(os=system, arch="x86_64")
        recipe.source_folder = self.folder.name
        recipe.build_folder, recipe.package_folder = self.folder.name + "/build", self.folder.name + "/package"
        return recipe

    def test_the_recipe_packs_the_zip_and_names_the_library(self):
        recipe = self.make("Windows")
        recipe.validate()
        recipe.build()
        recipe.package()
        for file in ("bin/ZQModSettings.dll", "include/CZQModSettings.h", "lib/ZQModSettings.lib", "symbols/ZQModSettings.pdb",
                     "licenses/NOTICE", "licenses/rapidjson-dev.txt", "bin/defaults/ZQ2_HmdList.json"):
            self.assertTrue((Path(recipe.package_folder) / file).is_file(), file)
        properties: dict = {}
        recipe.cpp_info = types.SimpleNamespace(set_property=properties.__setitem__)
        recipe.package_info()
        for module in properties["cmake_build_modules"]:
            self.assertTrue((Path(recipe.package_folder) / module).is_file(), module)
        self.assertEqual(recipe.cpp_info.libs, ["ZQModSettings"])
        self.assertEqual((recipe.name, recipe.version, recipe.license), ("zqmodsettings", VERSION, "NOASSERTION"))

    def test_the_recipe_refuses_other_systems(self):
        with self.assertRaises(self.invalid):
            self.make("Linux").validate()


class PartsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sbom = json.loads((UNPACKED / "ZQModSettings.spdx.json").read_text())

    def test_the_document_follows_spdx(self):
        document = self.sbom
        self.assertEqual((document["spdxVersion"], document["dataLicense"], document["SPDXID"]), ("SPDX-2.3", "CC0-1.0", "SPDXRef-DOCUMENT"))
        self.assertRegex(document["creationInfo"]["created"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertRegex(document["documentNamespace"], r"^https://[^#]+$")
        elements = document["packages"] + document["files"]
        ids = [element["SPDXID"] for element in elements]
        self.assertEqual(len(ids), len(set(ids)))
        for element in elements:
            self.assertRegex(element["SPDXID"], r"^SPDXRef-[A-Za-z0-9.-]+$")
            for field in ("licenseConcluded", "copyrightText"):
                self.assertTrue(element[field])
        for package in document["packages"]:
            self.assertTrue(package["name"] and package["downloadLocation"] and package["versionInfo"])
        for relation in document["relationships"]:
            self.assertIn(relation["spdxElementId"], ids + ["SPDXRef-DOCUMENT"])
            self.assertIn(relation["relatedSpdxElement"], ids)

    def test_no_licence_is_asserted_for_the_product_itself(self):
        product = self.sbom["packages"][0]
        self.assertEqual((product["name"], product["versionInfo"]), ("ZQModSettings", VERSION))
        self.assertEqual((product["licenseDeclared"], product["licenseConcluded"], product["copyrightText"]), ("NOASSERTION",) * 3)
        self.assertTrue((UNPACKED / "NOTICE").read_text().find("No licence is granted yet") > 0)

    def test_the_files_are_those_of_the_package(self):
        for file in self.sbom["files"]:
            data = (UNPACKED / file["fileName"]).read_bytes()
            sums = {checksum["algorithm"]: checksum["checksumValue"] for checksum in file["checksums"]}
            self.assertEqual(sums, {"SHA1": hashlib.sha1(data).hexdigest(), "SHA256": hashlib.sha256(data).hexdigest()})

    def test_the_parts_are_those_that_the_third_party_list_names(self):
        listed = re.findall(r"^\| ([^|]+?) \| ([^|]+?) \|", (UNPACKED / "THIRD-PARTY.md").read_text(), re.M)[1:]
        listed = dict(listed)
        parts = {package["SPDXID"]: package["name"] for package in self.sbom["packages"][1:]}
        linked: dict = {}
        for relation in self.sbom["relationships"]:
            if relation["relationshipType"] == "STATIC_LINK":
                linked.setdefault(parts[relation["relatedSpdxElement"]], set()).add(relation["spdxElementId"])
        where = {name: "both" if len(images) == 2 else ("DLL" if "SPDXRef-File-ZQModSettings.dll" in images else "`zqsettings.exe`")
                 for name, images in linked.items()}
        self.assertEqual(where, listed)

    def test_the_sums_are_right(self):
        done = subprocess.run(["sha256sum", "--check", "--strict", "SHA256SUMS"], cwd=PACKAGES, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(done.stdout.splitlines()), 5)


unittest.main(argv=sys.argv[:1])
