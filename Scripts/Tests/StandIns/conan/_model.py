"""What recipes see: settings, options, and what they tell about their packages."""

import json
import re

from .errors import ConanException


def refused(what):
    return ConanException(f"the recipe: {what}")


def data(path):
    """What a conandata.yml says, of which those that are made here are JSON."""
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def reference(text):
    if not re.fullmatch(r"[a-z0-9_][a-z0-9_+.-]{1,100}/(\[[^\[\]]+\]|[A-Za-z0-9_.+-]+)", text):
        raise refused(f"'{text}' is no reference")
    return text


class Value(str):
    """A value of a setting, whose own settings are its attributes."""

    def __new__(cls, text, parts=()):
        value = super().__new__(cls, text)
        value.__dict__.update(parts)
        return value


class Settings:
    def __init__(self, declared, given):
        for name in declared:
            if name not in given:
                raise refused(f"there is no setting {name}")
            setattr(self, name, given[name])


class Options:
    def __init__(self, declared, given):
        for name in declared:
            if name not in given:
                raise refused(f"the option {name} has no default")
        for name, value in given.items():
            if name not in declared:
                raise refused(f"there is no option {name}")
            if value not in declared[name]:
                raise refused(f"{value!r} is no value of the option {name}")
            setattr(self, name, value)


class Folders:
    source = build = generators = "."


class Cpp:
    def __init__(self):
        self.build = Part()


class Part:
    bindir = "."


class Component:
    """One of the libraries of a package."""

    PROPERTIES = {"cmake_target_name", "pkg_config_name", "cmake_file_name"}
    FIELDS = {"libs", "requires", "includedirs", "system_libs", "libdirs", "bindirs"}

    def __init__(self):
        self.__dict__.update(properties={}, libs=[], requires=[], includedirs=["include"], system_libs=[],
                             libdirs=["lib"], bindirs=["bin"])

    def __setattr__(self, name, value):
        if name not in self.FIELDS:
            raise refused(f"cpp_info has no {name}")
        if not isinstance(value, list):
            raise refused(f"cpp_info.{name} must be a list")
        self.__dict__[name] = value

    def set_property(self, name, value):
        if name not in self.PROPERTIES:
            raise refused(f"there is no property {name}")
        self.properties[name] = value


class Components(dict):
    def __missing__(self, name):
        self[name] = Component()
        return self[name]


class CppInfo(Component):
    def __init__(self):
        super().__init__()
        self.__dict__["components"] = Components()

    def check(self, requirements):
        """Whether each component names only components, and packages that are required, all of which are used."""
        packages = {text.split("/")[0] for text in requirements}
        used = set()
        for name, component in self.components.items():
            if component.properties.get("cmake_target_name") is None:
                raise refused(f"the component {name} has no target")
            for needed in component.requires:
                package, _, part = needed.partition("::")
                if not part and package not in self.components:
                    raise refused(f"{name} requires the component {package}, which is not there")
                if part and package not in packages:
                    raise refused(f"{name} requires {package}, which is no requirement")
                used.add(package if part else None)
        return packages - used
