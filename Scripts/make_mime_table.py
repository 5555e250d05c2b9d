#!/usr/bin/env python3
"""Makes the table of MIME types by file extension from Debian's package media-types.

    Scripts/make_mime_table.py             writes Sources/Platform/Foundation/Internal/MIMETypeTable.inc
    Scripts/make_mime_table.py --check     fails when the file is not what would be written; leaves with 77 where
                                           that cannot be told, because the package is not here in that version
"""

import argparse
import hashlib
import pathlib
import re
import subprocess
import sys

SOURCE = pathlib.Path("/etc/mime.types")
TABLE = pathlib.Path(__file__).resolve().parent.parent / "Sources/Platform/Foundation/Internal/MIMETypeTable.inc"
SKIPPED = 77

# What the package lacks, or says otherwise than people expect.
CHOICES = {
    "3gp": "video/3gpp",  # RFC 3839
    "art": "image/x-jg",  # a picture rather than a news article
    "bz2": "application/x-bzip2",  # not registered, but what everyone says
    "gsm": "audio/x-gsm",  # a sound rather than a model of a building
    "mid": "audio/midi",  # the common kind; the package gives the rare audio/sp-midi
    "midi": "audio/midi",
    "rss": "application/rss+xml",  # what feeds are served as; the package has an x- before it
    "ts": "video/mp2t",  # the MPEG transport stream (RFC 3555) rather than a Qt translation
    "wav": "audio/wav",  # the package has audio/x-wav; browsers and servers say it without the x-
    "weba": "audio/webm",
    "yaml": "application/yaml",  # RFC 9512, younger than the package
    "yml": "application/yaml",
}


def fail(message, status=1):
    print(f"make_mime_table: {message}", file=sys.stderr)
    sys.exit(status)


def installed_package():
    """The version of the package, and the digest that its file has unless somebody has changed it."""
    command = ["dpkg-query", "-W", "-f", "${Version}\n${Conffiles}\n", "media-types"]
    try:
        text = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout.decode()
    except (OSError, subprocess.CalledProcessError):
        return None
    version, _, rest = text.partition("\n")
    digest = re.search(rf"{re.escape(str(SOURCE))} ([0-9a-f]{{32}})", rest)
    return (version, digest.group(1)) if version and digest else None


def rank(mime_type):
    """Smaller is better: registered types before others, and of these the standards' before the vendors'."""
    top, _, sub = mime_type.partition("/")
    if sub.startswith(("x-", "x.")) or top == "chemical" or top.startswith("x-"):
        return 2
    return 1 if sub.startswith(("vnd.", "prs.")) else 0


def types_by_extension(text):
    found = {}
    for line in text.splitlines():
        mime_type, *extensions = line.partition("#")[0].split() or [None]
        for extension in map(str.lower, extensions):
            # Not the likes of "tm.json", which is never all that stands after the last dot, nor "~".
            if re.fullmatch(r"[a-z0-9+_-]+", extension):
                found.setdefault(extension, []).append(mime_type)
    # The first of equals.
    return {extension: min(types, key=rank) for extension, types in found.items()} | CHOICES


def table(text, version):
    rows = sorted(types_by_extension(text).items(), key=lambda row: row[0].encode())
    lines = [f"// Made by Scripts/make_mime_table.py of Debian's media-types {version}; do not edit.\n"]
    lines += [f'"{extension} {mime_type}\\n"\n' for extension, mime_type in rows]
    return "".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="write nothing; fail when the file differs")
    arguments = parser.parse_args()
    cannot = SKIPPED if arguments.check else 1

    package = installed_package()
    if package is None or not SOURCE.is_file():
        fail("the package media-types is not installed", cannot)
    version, digest = package
    source = SOURCE.read_bytes()
    if hashlib.md5(source, usedforsecurity=False).hexdigest() != digest:
        fail(f"{SOURCE} is not as the package media-types has it", cannot)
    wanted = table(source.decode(), version)

    if not arguments.check:
        TABLE.write_text(wanted)
        return
    present = TABLE.read_text()
    maker = re.match(r"// Made by .* media-types (\S+);", present)
    if not maker:
        fail(f"{TABLE.name} does not say in its first line what it was made of")
    if maker.group(1) != version:
        fail(f"{TABLE.name} was made of media-types {maker.group(1)}, and {version} is installed", cannot)
    if present != wanted:
        fail(f"{TABLE.name} is not what this script makes of media-types {version}; run it without --check")


if __name__ == "__main__":
    main()
