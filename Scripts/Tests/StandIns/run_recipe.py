#!/usr/bin/env python3
"""Drives the Conan recipe through its methods in Conan's order, with the stand-in for Conan that is beside this file.

    run_recipe.py RECIPE-FOLDER WORK-FOLDER [OPTION...]      OPTIONs are set to True
"""

import importlib.util
import inspect
import pathlib
import shutil
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from conan import ConanFile  # noqa: E402
from conan._model import Value, refused  # noqa: E402
from conan.errors import ConanInvalidConfiguration  # noqa: E402


def recipe_class(path):
    spec = importlib.util.spec_from_file_location(f"recipe_{path.parent.name}", path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return next(value for value in vars(module).values()
                if inspect.isclass(value) and issubclass(value, ConanFile) and value is not ConanFile)


def settings(compiler="gcc", version="12", cppstd="20", system="Linux"):
    return {"os": Value(system), "arch": Value("x86_64"), "build_type": Value("Release"),
            "compiler": Value(compiler, {"version": Value(version), "cppstd": Value(cppstd)})}


def check_that_it_refuses(kind, folder, work):
    """What cannot be built is told before anything is."""
    for wrong in (dict(version="11"), dict(compiler="clang", version="15"), dict(cppstd="17"), dict(system="Windows"),
                  dict(compiler="msvc", version="193")):
        try:
            kind(str(folder), str(work), {}, settings(**wrong)).validate()
        except ConanInvalidConfiguration:
            continue
        raise refused(f"it accepts {wrong}")


def create(folder, work, options):
    kind = recipe_class(folder / "conanfile.py")
    check_that_it_refuses(kind, folder, work)
    recipe = kind(str(folder), str(work), options, settings())
    if not all((recipe.name, recipe.description, recipe.license, recipe.package_type)):
        raise refused("name, description, license and package_type must be told")
    recipe.set_version()
    recipe.export_sources()
    recipe.layout()
    recipe.source()
    recipe.requirements()
    needed = list(recipe.requirements_made)
    recipe.validate()
    recipe.build_requirements()
    recipe.generate()
    recipe.build()
    recipe.package()
    recipe.package_info()
    unused = recipe.cpp_info.check(needed) - {"cli11"}
    if unused:
        raise refused(f"no component names these requirements: {unused}")
    return recipe


def test(folder, work, package):
    recipe = recipe_class(folder / "conanfile.py")(str(folder), str(work), {}, settings())
    recipe.tested_reference_str = f"{package.name}/{package.version}"
    recipe.packages = [package]
    recipe.source_folder = str(folder)
    recipe.requirements()
    recipe.layout()
    for generator in recipe.generators:
        if generator == "CMakeDeps":
            from conan.tools.cmake import CMakeDeps
            CMakeDeps(recipe).generate()
    recipe.build()
    recipe.test()


def main():
    folder, work = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    package = create(folder, work, {name: True for name in sys.argv[3:]})
    test(folder / "test_package", work / "test", package)


if __name__ == "__main__":
    main()
