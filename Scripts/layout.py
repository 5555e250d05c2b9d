#!/usr/bin/env python3
"""What the checks have to know of the tree, in one place: which headers are installed, and which adapt other libraries.

    Scripts/layout.py installed    prints the headers that are installed, as paths from Sources
    Scripts/layout.py adapters     prints a line for each adapter: the header, the header of the library that it is for,
                                   and the package that pkg-config knows that library by, where one is needed
"""

import pathlib
import sys

SOURCES = pathlib.Path(__file__).resolve().parent.parent / "Sources"

# Folders that are internal as a whole, as Internal folders are: not installed, and included by no public header.
INTERNAL_FOLDERS = ["Platform/Networking"]

# Headers only, each a component beside the library, with the package of the library that it is for.
ADAPTER_LAYERS = {"CorvaneAsio": None, "CorvaneQt": "Qt6Core", "CorvaneGLib": "glib-2.0"}

# Public headers that make another library's types fit ours, with the library and its header. They are for users who
# have that library: nothing of ours includes them.
ADAPTERS = {
    "Platform/Foundation/JSON/BoostCodec.hpp": ("Boost", "boost/json.hpp"),
    "Platform/Foundation/JSON/NlohmannCodec.hpp": ("nlohmann", "nlohmann/json.hpp"),
    "CorvaneTesting/ServerTest.hpp": ("GoogleTest", "gtest/gtest.h"),
    "CorvaneAsio/Asio.hpp": ("Asio", "asio/async_result.hpp"),
    "CorvaneAsio/BoostAsio.hpp": ("Boost", "boost/asio/async_result.hpp"),
    "CorvaneQt/Qt.hpp": ("Qt", "QtCore/QObject"),
    "CorvaneGLib/GLib.hpp": ("GLib", "glib.h"),
}


def is_internal(path):
    """Whether a path from Sources, with slashes, is not installed."""
    return "/Internal/" in path or any(path.startswith(folder + "/") for folder in INTERNAL_FOLDERS)


def installed_headers(sources=SOURCES):
    return sorted(path for path in sources.rglob("*.hpp") if not is_internal(path.relative_to(sources).as_posix()))


def documented_headers(sources=SOURCES):
    """The interface: what stands in Detail folders is installed, but for no user to name."""
    return [path for path in installed_headers(sources) if "Detail" not in path.relative_to(sources).parts]


def main():
    if sys.argv[1:] == ["installed"]:
        print("\n".join(path.relative_to(SOURCES).as_posix() for path in installed_headers()))
    elif sys.argv[1:] == ["adapters"]:
        for path, (_, header) in ADAPTERS.items():
            print(path, header, ADAPTER_LAYERS.get(path.split("/")[0]) or "")
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
