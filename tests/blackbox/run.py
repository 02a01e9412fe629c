"""Loads the shared library like a customer, on this processor and on emulated ones.

usage: run.py LIBRARY CLIENT NM EXPORTS_INC [--emulator WINE] [--qemu QEMU]

Checks the exported names, the tier of both kinds of dispatch, and the companion file's flag.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

CODES = ["mx", "m7", "u8", "y8"]

# Emulated processor, tier of table exports, tier of slot exports.
PROCESSORS = [
    ("qemu64,-sse3,-ssse3,-sse4.1,-sse4.2", 0, 0),        # other vendor, SSE2 only
    ("qemu64", 1, 1),                                      # other vendor, SSE3
    ("qemu64,+ssse3", 2, 2),                               # other vendor, SSSE3
    ("qemu64,+ssse3,+sse4.1", 3, 3),                       # other vendor, SSE4.1
    ("Opteron_G3,-sse4a", 1, 1),
    ("EPYC", 3, 3),                                        # other vendor, SSE4.2
    ("kvm64", 1, 1),                                       # reference vendor, family 15
    ("kvm64,-sse3", 1, 1),                                 # the same, though it lacks SSE3
    ("core2duo", 2, 1),                                    # reference vendor, model 15
    ("core2duo,-ssse3", 1, 1),
    ("Penryn", 3, 3),                                      # model 23
    ("Nehalem", 3, 0),                                     # model 26
    ("Nehalem,vendor=AuthenticAMD", 3, 3),
    ("n270,+lm", 2, 0),                                    # model 28
    ("Westmere", 3, 3),                                    # reference vendor, a later model with SSE4.2
]


class Failure(Exception):
    pass


def symbols(nm, library):
    table = {}
    for line in subprocess.run([nm, library], check=True, capture_output=True, text=True).stdout.splitlines():
        parts = line.split()
        if len(parts) == 3:
            table[parts[2]] = int(parts[0], 16)
    return table


def listed_exports(path):
    pending, names, active = set(), [], [True]
    for line in pathlib.Path(path).read_text().splitlines():
        if match := re.match(r"#define (VEK_PENDING_\w+)", line):
            pending.add(match.group(1))
        elif match := re.match(r"#ifndef (\w+)", line):
            active.append(match.group(1) not in pending)
        elif line.startswith("#endif"):
            active.pop()
        elif (match := re.match(r"VEK_(?:TABLE|SLOT|DIRECT)\((\w+)\)", line)) and all(active):
            names.append(match.group(1))
    return sorted(names)


def exported(library, nm):
    if library.suffix == ".dll":
        text = subprocess.run([nm.replace("-nm", "-objdump"), "-p", library], check=True, capture_output=True, text=True).stdout
        names = re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(vek\w+)", text, re.M)
    else:
        text = subprocess.run([nm, "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
        names = [line.split()[-1] for line in text.splitlines()]
    return sorted(names)


class Client:
    def __init__(self, arguments):
        self.library = pathlib.Path(arguments.library).resolve()
        self.client = arguments.client
        self.table = symbols(arguments.nm, self.library)
        # A DLL's symbols carry the preferred load address.
        self.image_base = 0
        if self.library.suffix == ".dll":
            text = subprocess.run([arguments.nm.replace("-nm", "-objdump"), "-p", self.library], check=True, capture_output=True, text=True).stdout
            self.image_base = int(re.search(r"ImageBase\s+([0-9a-f]+)", text).group(1), 16)
        self.slot_of = "vekSlotOf_vekmQRDecomp_m_64f_3x3"
        entry = re.compile(r"_ZN4uvek2(\w\w)22vekmQRDecomp_m_64f_3x3E")
        self.tier_by_address = {address - self.image_base: CODES.index(match.group(1)) for name, address in self.table.items() if (match := entry.match(name))}

    def run(self, prefix, folder):
        offsets = [f"{self.table[name] - self.image_base:x}" for name in ("vekTierIndex", "vekConfigFilePresent", self.slot_of)]
        environment = dict(os.environ, LD_LIBRARY_PATH=str(folder), WINEDEBUG="-all", WINEPATH=str(folder))
        program = folder / pathlib.Path(self.client).name
        shutil.copy(self.client, program)
        done = subprocess.run([*prefix, program, *offsets], capture_output=True, text=True, env=environment, timeout=120)
        if done.returncode:
            raise Failure(f"{prefix}: exit {done.returncode}, {done.stderr.strip()}")
        code, tier, config, slot = done.stdout.split()
        if CODES[int(tier)] != code:
            raise Failure(f"{prefix}: vekTierIndex {tier} but version says {code}")
        return int(tier), self.tier_by_address[int(slot, 16)], int(config)


def main():
    parser = argparse.ArgumentParser()
    for name in ("library", "client", "nm", "exports"):
        parser.add_argument(name)
    parser.add_argument("--emulator")
    parser.add_argument("--qemu")
    arguments = parser.parse_args()
    client = Client(arguments)
    checks = 0

    names, listed = exported(client.library, arguments.nm), listed_exports(arguments.exports)
    if names != listed:
        raise Failure(f"exported but not listed: {set(names) - set(listed)}; listed but not exported: {set(listed) - set(names)}")
    checks += 1

    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for file in client.library.parent.glob(client.library.name + "*"):
            shutil.copy(file, folder)
        copies = [client.library.name] if client.library.suffix == ".dll" else ["libuvek.so.1"]
        shutil.copy(client.library, folder / copies[0])
        prefix = [arguments.emulator] if arguments.emulator else []
        # The companion file is named like the library, up to its last dot.
        for present in (0, 1, 0):
            config = folder / (copies[0].rpartition(".")[0] + ".xml")
            config.write_text("unread") if present else config.unlink(missing_ok=True)
            tier, slot, flag = client.run(prefix, folder)
            if flag != present:
                raise Failure(f"companion file present: {present}, flag: {flag}")
            checks += 1
        print(f"this processor: table exports in tier {tier}, slot exports in tier {slot}")
        if arguments.qemu:
            for processor, table_tier, slot_tier in PROCESSORS:
                tier, slot, _ = client.run([arguments.qemu, "-cpu", processor], folder)
                if (tier, slot) != (table_tier, slot_tier):
                    raise Failure(f"{processor}: tiers {tier}, {slot}, expected {table_tier}, {slot_tier}")
                checks += 1
    print(f"{checks} checks passed")


try:
    main()
except Failure as failure:
    sys.exit(f"failed: {failure}")
