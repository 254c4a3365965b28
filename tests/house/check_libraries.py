#!/usr/bin/env python3
"""What a built library may need, export and duplicate.

  check_libraries.py --namespaces Pith,Kiv libKivFramework.so libFirewallModel.so

Each library needs only the others given and the C++ run time, and exports only names of the given
namespaces. A variable that a header defines exists once among all of them: a second, hidden copy in
another library would silently hold another value.
"""

import argparse
import collections
import pathlib
import re
import subprocess
import sys

RUN_TIME = re.compile(r"(libstdc\+\+|libgcc_s|libc|libm|ld-linux-x86-64|ld-linux-aarch64)\.so\.\d+")

# What a demangled symbol says before its name.
ABOUT = re.compile(
    r"^(?:(?:vtable|VTT|typeinfo|typeinfo name|guard variable|reference temporary #\d+|construction vtable"
    r"|(?:non-)?virtual thunk|covariant return thunk|TLS init function|TLS wrapper function)"
    r" (?:for|to) )+")


# The counter of a type is one object, found by the type's name; each library may keep its own way to it.
WAY_TO_COUNTER = re.compile(r"(guard variable for )?Kiv::SlabObject<.*>::typeInfo\(\)::type")


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def needed_libraries(library):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "--dynamic", "--wide", library))


def symbols(library, *options):
    """(type, mangled name) of each symbol that `library` defines itself."""
    for line in output_of("nm", "--defined-only", *options, library).splitlines():
        _, kind, name = line.split(maxsplit=2)
        yield kind, name


def demangled(names):
    """Without parameters, which spares us the return types of templates."""
    text = subprocess.run(["c++filt", "--no-params"], input="\n".join(names), check=True,
                          capture_output=True, text=True).stdout
    return dict(zip(names, text.splitlines()))


def is_inside(name, namespaces):
    return any(ABOUT.sub("", name).startswith(space + "::") for space in namespaces)


def is_of_one_file(mangled):
    """Whether a part of the name says so: an unnamed namespace, or the L of internal linkage."""
    rest = re.sub(r"^_Z+N?K?", "", mangled)
    while part := re.match(r"(L?)(\d+)", rest):
        if part[1]:
            return True
        rest = rest[part.end() + int(part[2]):]
    return "_GLOBAL__N_" in mangled


def is_shared_variable(kind, name):
    """A writable variable that the whole program is to have once; no vtable or type information."""
    return (kind in "bBdDuVG" and name.startswith("_Z") and not name.startswith("_ZT")
            and not is_of_one_file(name))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--namespaces", required=True, type=lambda text: text.split(","))
    parser.add_argument("libraries", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    own = re.compile("(" + "|".join(library.stem for library in arguments.libraries) + r")\.so\.\d+")

    faults = []
    holders = collections.defaultdict(list)
    for library in arguments.libraries:
        for name in needed_libraries(library):
            if not RUN_TIME.fullmatch(name) and not own.fullmatch(name):
                faults.append(f"{library.name}: needs {name}")

        exported = {name for _, name in symbols(library, "--dynamic")}
        if not exported:
            faults.append(f"{library.name}: exports nothing")
        for name in demangled(exported).values():
            if not is_inside(name, arguments.namespaces):
                faults.append(f"{library.name}: exports {name}")

        for kind, name in symbols(library):
            # What all of them export the dynamic linker makes one.
            if is_shared_variable(kind, name):
                holders[name].append((library.name, name in exported))
    names = demangled(list(holders))
    for name, libraries in holders.items():
        if len(libraries) == 1 or all(is_exported for _, is_exported in libraries):
            continue
        if is_inside(names[name], arguments.namespaces) and not WAY_TO_COUNTER.fullmatch(names[name]):
            copies = ", ".join(library for library, _ in libraries)
            faults.append(f"{names[name]}: a copy in each of {copies}; export it")
    if faults:
        sys.exit("\n".join(faults))


if __name__ == "__main__":
    main()
