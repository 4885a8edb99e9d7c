"""The list of what is inside the package, as SPDX 2.3, made from what the linker put in: the PDBs name it."""

import hashlib
import json
import os
import subprocess
from pathlib import Path

import symbols

COMPONENTS = json.loads(Path(__file__).with_name("components.json").read_text())
OWN_FOLDERS = ("src/", "tools/", "include/", "build/")
PUBLIC_DOMAIN = {
    "licenseId": "LicenseRef-public-domain",
    "extractedText": "Parts of the run-time library are in the public domain: see licences/mingw-w64-x86-64-dev.txt.",
    "name": "Public domain",
}


class UnknownComponent(Exception):
    pass


def component_of(path: str, field: str) -> dict | None:
    """The component that a linked file or a header belongs to; None for this project's own."""
    for component in COMPONENTS:
        for pattern in component[field]:
            if path.endswith("/" + pattern) or (pattern.endswith("/") and (pattern in path if field == "linked" else path.startswith(pattern))):
                return component
    own = not path.startswith("/") if field == "linked" else path.startswith(OWN_FOLDERS)
    if own:
        return None
    raise UnknownComponent(f"{path} is in the image, but no component of packaging/components.json has it in its list "
                           f'"{field}". Add its name, package and licence there and in THIRD-PARTY.md.')


def components_of(pdb: Path) -> list[dict]:
    linked = {os.path.normpath(path.replace("\\", "/")) for path in symbols.linked_files(pdb) if path}
    found = [component_of(path, "linked") for path in sorted(linked)]
    found += [component_of(path, "headers") for path in sorted(symbols.source_files(pdb))]
    return [component for component in COMPONENTS if component in found]


def package_version(package: str) -> str:
    query = ["dpkg-query", "--show", "--showformat=${Version}", package]
    return subprocess.run(query, check=True, capture_output=True, text=True).stdout


def npm_versions(names: list[str]) -> list[str]:
    lock = json.loads(Path(__file__).parent.parent.joinpath("web/package-lock.json").read_text())
    return [f"{name}@{lock['packages']['node_modules/' + name]['version']}" for name in names]


def origin_of(component: dict) -> tuple[str, str, list[str]]:
    """Version, supplier and package URLs of a component."""
    if "npm" in component:
        versions = npm_versions(component["npm"])
        return ", ".join(versions), "NOASSERTION", [f"pkg:npm/{version.replace('@', '%40', 1) if version.startswith('@') else version}" for version in versions]
    version = package_version(component["package"])
    return version, "Organization: Debian", [f"pkg:deb/debian/{component['package']}@{version.replace('+', '%2B')}?arch=amd64"]


def spdx_id(kind: str, name: str) -> str:
    return f"SPDXRef-{kind}-" + "".join(letter if letter.isalnum() or letter in ".-" else "-" for letter in name)


def document(name: str, version: str, images: dict[Path, Path], created: str) -> str:
    """SPDX JSON for the product; images are the shipped files with their PDBs."""
    used = {image: components_of(pdb) for image, pdb in images.items()}
    components = [component for component in COMPONENTS if any(component in parts for parts in used.values())]
    product = spdx_id("Package", name)
    digests = {image: {kind: hashlib.new(kind, image.read_bytes()).hexdigest() for kind in ("sha1", "sha256")} for image in images}
    verification = hashlib.sha1("".join(sorted(digest["sha1"] for digest in digests.values())).encode()).hexdigest()

    packages = [{
        "SPDXID": product, "name": name, "versionInfo": version, "supplier": "NOASSERTION", "downloadLocation": "NOASSERTION",
        "filesAnalyzed": True, "packageVerificationCode": {"packageVerificationCodeValue": verification},
        "licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION", "licenseInfoFromFiles": ["NOASSERTION"],
        "copyrightText": "NOASSERTION", "primaryPackagePurpose": "LIBRARY",
    }]
    relationships = [("SPDXRef-DOCUMENT", "DESCRIBES", product)]
    for component in components:
        component_version, supplier, urls = origin_of(component)
        packages.append({
            "SPDXID": spdx_id("Package", component["name"]), "name": component["name"], "versionInfo": component_version,
            "supplier": supplier, "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": component["licence"], "licenseDeclared": component["licence"], "copyrightText": "NOASSERTION",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": url} for url in urls],
        })
    files = []
    for image, parts in used.items():
        identifier = spdx_id("File", image.name)
        files.append({
            "SPDXID": identifier, "fileName": f"./bin/{image.name}", "fileTypes": ["BINARY"],
            "checksums": [{"algorithm": kind.upper(), "checksumValue": value} for kind, value in digests[image].items()],
            "licenseConcluded": "NOASSERTION", "licenseInfoInFiles": ["NOASSERTION"], "copyrightText": "NOASSERTION",
        })
        relationships.append((product, "CONTAINS", identifier))
        relationships += [(identifier, "STATIC_LINK", spdx_id("Package", part["name"])) for part in parts]

    return json.dumps({
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"{name}-{version}",
        "documentNamespace": f"https://spdx.org/spdxdocs/{name}-{version}-{verification}",
        "creationInfo": {"created": created, "creators": ["Tool: make_packages.py"]},
        "hasExtractedLicensingInfos": [PUBLIC_DOMAIN],
        "packages": packages, "files": files,
        "relationships": [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b} for a, kind, b in relationships],
    }, indent=2) + "\n"
