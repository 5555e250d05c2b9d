"""Runs CMake as Conan does, but with the libraries that the system has in place of packages."""

import os
import subprocess

from .._model import refused

# Of packages that the system has: what CMake's users link.
SYSTEM = {
    "libpsl::libpsl": "psl", "libidn2::libidn2": "idn2", "openssl::ssl": "ssl", "openssl::crypto": "crypto",
    "libnghttp2::nghttp2": "nghttp2", "zlib::zlib": "z", "spdlog::spdlog": "spdlog;fmt", "libpng::libpng": "png", "libjpeg::libjpeg": "jpeg",
}


def cmake_layout(recipe):
    recipe.cpp.build.bindir = recipe.build_folder


class CMakeToolchain:
    def __init__(self, recipe):
        self.recipe = recipe
        self.cache_variables = {}

    def generate(self):
        self.recipe.cmake_variables = dict(self.cache_variables)


class CMakeDeps:
    """Makes the CMake package of a package that was built here: the recipes of others are not there."""

    def __init__(self, recipe):
        self.recipe = recipe

    def generate(self):
        for package in getattr(self.recipe, "packages", []):
            self.write(package)

    def write(self, package):
        name = package.cpp_info.properties["cmake_file_name"]
        os.makedirs(self.recipe.generators_folder, exist_ok=True)
        with open(os.path.join(self.recipe.generators_folder, f"{name}Config.cmake"), "w", encoding="utf-8") as file:
            for component_name, component in package.cpp_info.components.items():
                file.write(self.target(package, component_name, component))

    @staticmethod
    def target(package, name, component):
        target = component.properties["cmake_target_name"]
        folder = package.package_folder
        links = [f"{folder}/lib/lib{library}.a" for library in component.libs]
        for link in links:
            if not os.path.isfile(link):
                raise refused(f"the component {name} names a library that was not packaged: {link}")
        for needed in component.requires:
            links += [SYSTEM[needed]] if "::" in needed else [package.cpp_info.components[needed].properties["cmake_target_name"]]
        links += component.system_libs
        includes = [f"{folder}/{include}" for include in component.includedirs]
        return (f"add_library({target} INTERFACE IMPORTED)\n"
                f"target_link_libraries({target} INTERFACE \"{';'.join(links)}\")\n"
                f"target_include_directories({target} INTERFACE {' '.join(includes)})\n")


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe

    def configure(self):
        recipe = self.recipe
        variables = {name: {True: "ON", False: "OFF"}.get(value, value)
                     for name, value in getattr(recipe, "cmake_variables", {}).items()}
        variables |= {
            "CMAKE_BUILD_TYPE": str(recipe.settings.build_type),
            "BUILD_SHARED_LIBS": "ON" if getattr(recipe.options, "shared", False) else "OFF",
            "CMAKE_INSTALL_PREFIX": recipe.package_folder, "CMAKE_INSTALL_LIBDIR": "lib",
            "CMAKE_PREFIX_PATH": recipe.generators_folder,
        }
        subprocess.run(["cmake", "-S", recipe.source_folder, "-B", recipe.build_folder,
                        *(f"-D{name}={value}" for name, value in variables.items())],
                       check=True, stdout=subprocess.DEVNULL)

    def build(self):
        subprocess.run(["cmake", "--build", self.recipe.build_folder], check=True)

    def install(self):
        subprocess.run(["cmake", "--install", self.recipe.build_folder], check=True, stdout=subprocess.DEVNULL)
