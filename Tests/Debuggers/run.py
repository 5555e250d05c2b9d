#!/usr/bin/env python3
"""Looks at values of the library in GDB and LLDB, with the printers of Tools/Debuggers.

    Tests/Debuggers/run.py PROGRAM      the program made of Values.cpp
"""

import shutil
import subprocess
import sys
from pathlib import Path

PRINTERS = Path(__file__).resolve().parents[2] / "Tools/Debuggers/corvane_values.py"
EXPECTED = {
    "text": r'8 bytes "grüezi\n"',
    "binary": "3 bytes 00 01 ff",
    "nothing": "0 bytes",
    "absolute": '"https://example.com/path?q=1"',
    "relative": '"https://example.com/users/7"',
    "plain": 'NSURLErrorDomain -1001 "The request timed out."',
    "foreign": 'platform::(anonymous namespace)::ForeignError "no more paper"',
    "document": '{"id": 7, "ratio": 0.5, "most": 18446744073709551615, "isNew": true, "none": null, "tags": ["a", {}]}',
}


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=120, stdin=subprocess.DEVNULL)


def gdb(program):
    asked = [part for name in EXPECTED for part in ("-ex", f"print {name}")]
    return run("gdb", "-q", "-nx", "-batch", "-ex", f"source {PRINTERS}", "-ex", "break stopHere", "-ex", "run",
               "-ex", "up", *asked, program)


def lldb(program):
    asked = [part for name in EXPECTED for part in ("-o", f"frame variable {name}")]
    return run("lldb-19", "--no-lldbinit", "--batch", "-o", f"command script import {PRINTERS}",
               "-o", "breakpoint set --name stopHere", "-o", "run", "-o", "up", *asked, program)


def main(program):
    missing = [name for name in ("gdb", "lldb-19") if not shutil.which(name)]
    if missing:
        print("not installed: " + ", ".join(missing))
        return 77
    failures = 0
    for debugger in (gdb, lldb):
        result = debugger(program)
        for name, text in EXPECTED.items():
            shown = f"{name} = {text}" if debugger is lldb else f"= {text}"
            if shown not in result.stdout:
                failures += 1
                print(f"{debugger.__name__} does not show {shown}")
        if failures:
            print(result.stdout + result.stderr)
    print("debuggers: " + ("all values are shown" if not failures else f"{failures} values are not shown"))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
