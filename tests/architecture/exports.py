#!/usr/bin/env python3
"""Checks that an installed header declares each class, function and variable that a library exports.

usage: exports.py SOURCE_FOLDER LIBRARY
"""
import pathlib
import re
import subprocess
import sys

SPECIAL = re.compile(r"^(?:(?:non-virtual |virtual |covariant return )?thunk to"
                     r"|(?:construction )?vtable for|VTT for|typeinfo(?: name)? for"
                     r"|guard variable for) ")
# Code that headers of other libraries and the compiler put into ours.
FOREIGN = re.compile(r"^(?:\S+ )*(?:std|boost|__gnu_cxx)::|^(?:operator|_init|_fini)\b|^__\w*san")


def exported(library):
    out = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, text=True,
                         stdout=subprocess.PIPE).stdout
    names = {line.split(" ", 2)[2].split("@")[0] for line in out.splitlines()}
    return sorted(name for name in names if not FOREIGN.match(SPECIAL.sub("", name)))


def without(pair, text):
    """Removes the innermost pairs of brackets and what is in them, until none is left."""
    nested = re.compile(f"\\{pair[0]}[^\\{pair[0]}\\{pair[1]}]*\\{pair[1]}")
    while (shorter := nested.sub("", text)) != text:
        text = shorter
    return text


def entity(symbol, namespaces):
    """The class, function or variable at namespace scope that the symbol belongs to, and whether it
    is a class."""
    is_class = SPECIAL.match(symbol) is not None
    name = SPECIAL.sub("", symbol).replace("[abi:cxx11]", "").replace("(anonymous namespace)", "")
    name = re.sub(r"operator(?:<=>|<<|>>|<=|>=|->|<|>|\(\))", "operator", name)
    name = without("()", without("<>", name)).split(" const")[0].split()[-1]
    parts = name.split("::")
    while parts and parts[0] in namespaces:
        parts.pop(0)
    return parts[0], is_class or len(parts) > 1


def installed(root):
    names = [line for line in (root / "cmake/InstalledHeaders.txt").read_text().splitlines()
             if line.startswith("platform/")]
    return [root / name for name in names] + sorted((root / "include2").rglob("*.h"))


def declared(headers):
    """Names of the namespaces, of the classes that are defined, and of what else is declared."""
    code = "\n".join(re.sub(r"//.*", "", header.read_text(encoding="utf-8")) for header in headers)
    namespaces = {part for name in re.findall(r"namespace ([\w:]+)", code)
                  for part in name.split("::")}
    classes = set(re.findall(r"\b(?:class|struct) (?:\[\[\w+\]\] )?(?:KESTRAV_API )?(\w+)\s[^;{]*\{",
                             code))
    others = set(re.findall(r"\b(\w+)(?:\(|;| =|\[)", code))
    return namespaces, classes, others


def check(root, library):
    namespaces, classes, others = declared(installed(root))
    for symbol in exported(library):
        name, is_class = entity(symbol, namespaces)
        if name not in (classes if is_class else others):
            yield f"no installed header declares {symbol}"


def main():
    mistakes = list(check(pathlib.Path(sys.argv[1]), sys.argv[2]))
    print("\n".join([*mistakes, f"{len(mistakes)} mistakes"]))
    return 1 if mistakes else 0


if __name__ == "__main__":
    sys.exit(main())
