#!/usr/bin/env python3
"""Writes the header of typed keys: settings_keys.py SCHEMAS DEFAULTS HEADER

Names every variable that the schemas describe, the default files hold, and the module sets by itself, each with the type
under which a file always gives it: a number that may have a fraction is a double, whole or not.
"""
import json
import pathlib
import sys
import textwrap

# What the module sets by itself: its default settings, the device name, the survey of the machine.
MODULE_VARIABLES = {
    "Settings.PerformanceLevel": ("int64_t", None),
    "Settings.EnableDashboard": ("bool", None),
    "Settings.CurrentBitrate": ("int64_t", None),
    "Settings.ServerName": ("std::wstring", None),
    "Properties.BitrateList": ("std::wstring", None),
    "DHI": ("int64_t", None),
    "DefaultDeviceName": ("std::wstring", "Name of the headset in use."),
    "HmdNameSize": ("int64_t", "Number of headsets in HmdNameList."),
    "Server IP List": ("std::wstring", "The machine's addresses."),
    "Server Network Device": ("std::wstring", "The machine's network adapter."),
    "LocalClientAPKVersion": ("std::wstring", "Version of the installed client."),
}
PRESETS = ("Quality", "Balance", "Performance", "Ultra")
SCHEMA_TYPES = {"boolean": "bool", "integer": "int64_t", "number": "double", "string": "std::wstring"}
WORDS = frozenset(
    """alignas alignof and asm auto bool break case catch char class const constexpr continue default delete do double else
    enum explicit export extern false float for friend goto if inline int long mutable namespace new not operator or private
    protected public register return short signed sizeof static struct switch template this throw true try typedef typename
    union unsigned using virtual void volatile while xor""".split())


def type_of(value):
    """The type of a value in a default file that no schema describes."""
    return {bool: "bool", int: "int64_t", float: "double", str: "std::wstring"}.get(type(value))


def add(keys, name, key_type, text):
    """The first description of a name counts, and the module's own type over all."""
    own_type, own_text = MODULE_VARIABLES.get(name, (None, None))
    if key_type and name not in keys:
        keys[name] = (own_type or key_type, own_text or text or "")


def add_members(keys, prefix, schema, values):
    """The members of an object: those of its schema, then those that only the default file has."""
    properties = schema.get("properties", {})
    for name in list(properties) + [name for name in values if name not in properties]:
        member, value = properties.get(name, {}), values.get(name)
        if member.get("type") == "object" or isinstance(value, dict):
            add_members(keys, f"{prefix}{name}.", member, value or {})
        else:
            add(keys, prefix + name, SCHEMA_TYPES.get(member.get("type")) or type_of(value), member.get("description"))


def add_settings(keys, schema, values):
    headsets = values.pop("CL", [])
    schema["properties"] = {name: member for name, member in schema["properties"].items() if name.upper() != "CL"}
    add_members(keys, "", schema, values)
    for index, headset in enumerate(headsets):
        add(keys, f"HmdNameList.{index}", "std::wstring", "Name of a headset.")
        add_members(keys, f"CL.{headset['HD']}.", schema["definitions"]["headset"], headset)


def add_headset_list(keys, values):
    for device in values:
        for response in device["Response"]:
            numbers = [response[part] for part in ("MainRequest", "SubRequest", "index")]
            name = ".".join(["CL", device["DeviceName"], *map(str, numbers)])
            text = "Answer to request {}, {}, index {}.".format(*numbers)
            value = response["Value"]
            if not isinstance(value, list):
                add(keys, name, type_of(value), text)
                continue
            add(keys, name + ".ArraySize", "int64_t", text)
            for index, element in enumerate(value):
                add(keys, f"{name}.{index}", type_of(element), text)


def add_presets(keys, schema, values):
    for name, value in values.items():
        if not isinstance(value, list):
            add_members(keys, "", {"properties": {name: schema["properties"].get(name, {})}}, {name: value})
            continue
        for preset, members in zip(PRESETS, value):
            add_members(keys, f"CL.{name}.{preset}.", schema["definitions"]["preset"], members)


def identifier(part):
    """A part of a name as C++ spells it: 0 is n0, a blank an underscore, a word of the language has one behind it."""
    spelt = "".join(c if c.isascii() and (c.isalnum() or c == "_") else "_" for c in part)
    spelt = "n" + spelt if spelt[:1].isdigit() else spelt
    return spelt + "_" if spelt in WORDS else spelt


def tree_of(keys):
    tree = {}
    for name, key in keys.items():
        *spaces, last = map(identifier, name.split("."))
        node = tree
        for space in spaces:
            node = node.setdefault(space, {})
        if last in node:
            sys.exit(f"settings_keys.py: {name} and another variable or group have the same C++ name {last}")
        node[last] = (name, *key)
    return tree


def lines_of(tree):
    for name, node in tree.items():
        if isinstance(node, dict):
            yield f"namespace {name} {{"
            yield from lines_of(node)
            yield f"}} // namespace {name}"
        else:
            variable, key_type, text = node
            yield from textwrap.wrap(text, 100, initial_indent="// ", subsequent_indent="// ")
            yield f'inline constexpr Key<{key_type}> {name}{{L"{variable}"}};'


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    schemas, defaults, header = map(pathlib.Path, sys.argv[1:])

    def schema(name):
        return json.loads((schemas / f"{name}.schema.json").read_text("ascii"))

    keys = {}
    add_settings(keys, schema("ZQ2_serverSetting"),
                 json.loads((defaults / "ZQ2_serverSetting.setting").read_text("ascii")))
    add_headset_list(keys, json.loads((defaults / "ZQ2_HmdList.json").read_text("ascii")))
    add_presets(keys, schema("ZQ2_QualityPreset"), json.loads((defaults / "ZQ2_QualityPreset.json").read_text("ascii")))
    for name, (key_type, text) in MODULE_VARIABLES.items():
        add(keys, name, key_type, text)
    header.parent.mkdir(parents=True, exist_ok=True)
    header.write_text("\n".join([
        "// Every variable that the schemas, the default files and the module itself name, as a typed key: a misspelt name or",
        "// a wrong type does not compile. Made by the build; the schemas are the source. Other names: zq::Key<double>{L\"...\"}.",
        "//",
        "// A part of a name that begins with a digit has an n before it: CL.MERIN5.3.2.0 is CL::MERIN5::n3::n2::n0. What the",
        "// schemas call a number is a double, whole or not; the integer beside it is Key<int64_t> of the same name.",
        "#pragma once", "", '#include "ZQSettings.hpp"', "", "namespace zq::keys {", "",
        *lines_of(tree_of(keys)), "", "} // namespace zq::keys", ""]), "ascii", newline="\n")


if __name__ == "__main__":
    main()
