"""Reads Android.bp as far as this project writes it, and refuses what goes beyond that.

A construct that this reader does not know may change what the platform's build does, so it is an
error here and not skipped.
"""
import dataclasses
import re

TOKENS = re.compile(r"""
    (?P<space>\s+|//[^\n]*) | (?P<string>"[^"\\\n]*") | (?P<word>[A-Za-z_][A-Za-z0-9_]*)
    | (?P<mark>[][{}:,])
""", re.VERBOSE)

# The properties of each module type that the checks take into account or that change nothing for
# them. Written as paths; a list of maps counts as its map.
COMMON = {"name", "defaults", "device_supported", "host_supported", "system_ext_specific",
          "visibility"}
CC = COMMON | {
    "aidl.export_aidl_headers", "aidl.local_include_dirs", "cflags", "cpp_std", "exclude_srcs",
    "generated_headers", "ldflags", "local_include_dirs", "proto.canonical_path_from_root",
    "proto.export_proto_headers", "proto.include_dirs", "proto.type", "sanitize.cfi", "sanitize.integer_overflow",
    "sanitize.misc_undefined", "shared_libs", "srcs", "static_libs"}
TARGETS = {f"target.{system}.{key}" for system in ("android", "host")
           for key in ("local_include_dirs", "sanitize.cfi", "shared_libs", "srcs", "static_libs")}
TESTS = {"test_options.unit_test", "test_suites"}
BACKENDS = {f"backend.{name}.enabled" for name in ("cpp", "java", "ndk", "rust")}
PROPERTIES = {
    "aidl_interface": {"name", "frozen", "host_supported", "local_include_dir", "owner", "srcs",
                       "stability", "unstable", "vendor_available", "versions_with_info.version",
                       "versions_with_info.imports"} | BACKENDS,
    "cc_benchmark": CC | TARGETS,
    "cc_binary": CC | TARGETS | {"init_rc"},
    "cc_defaults": CC | TARGETS | TESTS,
    "cc_fuzz": CC | TARGETS | {"corpus"},
    "cc_library_static": CC | TARGETS,
    "cc_test": CC | TARGETS | TESTS,
    "filegroup": {"name", "path", "srcs"},
    "genrule": {"name", "cmd", "out", "srcs", "tool_files"},
    "soong_config_module_type": {"name", "bool_variables", "config_namespace", "module_type",
                                 "properties"},
}


class Error(Exception):
    """What is wrong in the file, with its line."""


@dataclasses.dataclass
class Module:
    kind: str
    line: int
    properties: dict

    @property
    def name(self):
        return self.properties["name"]


class Reader:
    def __init__(self, text):
        self.tokens = []
        at, line = 0, 1
        while at < len(text):
            found = TOKENS.match(text, at)
            if not found:
                raise Error(f"line {line}: cannot read {text[at:].splitlines()[0]!r}")
            if found.lastgroup != "space":
                self.tokens.append((found.lastgroup, found.group(), line))
            line += found.group().count("\n")
            at = found.end()
        self.tokens.append(("end", "the end of the file", line))
        self.at = 0

    def take(self, *expected):
        kind, text, line = self.tokens[self.at]
        if expected and text not in expected and kind not in expected:
            raise Error(f"line {line}: {text!r} where {' or '.join(expected)} is due")
        self.at += 1
        return text

    def peek(self):
        return self.tokens[self.at][1]

    def value(self):
        kind, text, line = self.tokens[self.at]
        if text == "[":
            return self.sequence()
        if text == "{":
            return self.mapping()
        self.at += 1
        if kind == "string":
            return text[1:-1]
        if text in ("true", "false"):
            return text == "true"
        raise Error(f"line {line}: {text!r} is a value that this reader does not know")

    def sequence(self):
        values = []
        self.take("[")
        while self.peek() != "]":
            values.append(self.value())
            if self.peek() != "]":
                self.take(",")
        self.take("]")
        return values

    def mapping(self):
        values = {}
        self.take("{")
        while self.peek() != "}":
            line = self.tokens[self.at][2]
            key = self.take("word")
            if key in values:
                raise Error(f"line {line}: '{key}' stands twice")
            self.take(":")
            values[key] = self.value()
            if self.peek() != "}":
                self.take(",")
        self.take("}")
        return values

    def modules(self):
        modules = []
        while self.tokens[self.at][0] != "end":
            line = self.tokens[self.at][2]
            kind = self.take("word")
            modules.append(Module(kind, line, self.mapping()))
        return modules


def paths(value, prefix=""):
    """The dotted paths of all leaves of a map."""
    if isinstance(value, dict):
        for key, inner in value.items():
            yield from paths(inner, f"{prefix}.{key}" if prefix else key)
    elif isinstance(value, list) and value and isinstance(value[0], dict):
        for inner in value:
            yield from paths(inner, prefix)
    else:
        yield prefix


def known_properties(modules):
    """The properties of each module type, with the types that the file itself makes."""
    known = dict(PROPERTIES)
    for module in modules:
        if module.kind != "soong_config_module_type":
            continue
        values = module.properties
        if values["module_type"] not in PROPERTIES:
            raise Error(f"line {module.line}: unknown module type {values['module_type']}")
        switched = {f"soong_config_variables.{variable}.{place}{key}"
                    for variable in values["bool_variables"] for key in values["properties"]
                    for place in ("", "conditions_default.")}
        known[module.name] = PROPERTIES[values["module_type"]] | switched
    return known


def read(path):
    """The modules of the file, in order, each of a known type with known properties."""
    with open(path, encoding="utf-8") as file:
        modules = Reader(file.read()).modules()
    known = known_properties(modules)
    names = set()
    for module in modules:
        if module.kind not in known:
            raise Error(f"line {module.line}: module type '{module.kind}' is not known here")
        if "name" not in module.properties:
            raise Error(f"line {module.line}: a {module.kind} without a name")
        if module.name in names:
            raise Error(f"line {module.line}: a second module '{module.name}'")
        names.add(module.name)
        for path_ in paths(module.properties):
            if path_ not in known[module.kind]:
                raise Error(f"line {module.line}: '{path_}' of {module.kind} '{module.name}' is "
                            "not known here")
    return modules


def merge(first, second):
    """Properties of a module behind those of its defaults: lists grow, other values replace."""
    merged = dict(first)
    for key, value in second.items():
        if isinstance(value, dict) and key in merged:
            merged[key] = merge(merged[key], value)
        elif isinstance(value, list) and key in merged:
            merged[key] = merged[key] + value
        else:
            merged[key] = value
    return merged


class Tree:
    """The modules with their defaults applied, for one position of the product's switches."""

    def __init__(self, modules, switches):
        self.switches = switches
        self.modules = {module.name: module for module in modules}

    def properties(self, name):
        if name not in self.modules:
            raise Error(f"there is no module '{name}'")
        own = dict(self.modules[name].properties)
        for variable, cases in own.pop("soong_config_variables", {}).items():
            cases = dict(cases)
            otherwise = cases.pop("conditions_default", {})
            own = merge(own, cases if variable in self.switches else otherwise)
        result = {}
        for default in own.pop("defaults", []):
            inherited = self.properties(default)
            inherited.pop("name")
            result = merge(result, inherited)
        return merge(result, own)

    def for_system(self, name, system):
        """The properties on "android" or "host"."""
        values = self.properties(name)
        target = values.pop("target", {})
        return merge(values, target.get(system, {}))

    def systems(self, name):
        values = self.properties(name)
        return [system for system, there in
                (("android", values.get("device_supported", True)),
                 ("host", values.get("host_supported", False))) if there]
