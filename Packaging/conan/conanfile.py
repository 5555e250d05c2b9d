import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, get, load, rmdir
from conan.tools.gnu import PkgConfigDeps
from conan.tools.scm import Version

required_conan_version = ">=2.0"

# The adapters are headers only: a name of the package's options, of a component, and what it needs.
ADAPTERS = {
    "asio": ("Asio", "asio/[>=1.22 <2]", "asio::asio"),
    "boost_asio": ("BoostAsio", "boost/[>=1.81 <2]", "boost::headers"),
    "glib": ("GLib", "glib/[>=2.74 <3]", "glib::glib-2.0"),
    "qt": ("Qt", "qt/[>=6.4 <7]", "qt::qtCore"),
}


class CorvaneConan(ConanFile):
    name = "corvane"
    description = "A client-side HTTP library for applications"
    license = "MIT"
    topics = ("http", "client", "json", "rest")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {
        "shared": [True, False],
        "fPIC": [True, False],
        "image": [True, False],
        "testing": [True, False],
        "tool": [True, False],
        "brotli": [True, False],
        "zstd": [True, False],
        **{adapter: [True, False] for adapter in ADAPTERS},
    }
    default_options = {
        "shared": False,
        "fPIC": True,
        "image": False,
        "testing": False,
        "tool": False,
        "brotli": False,
        "zstd": False,
        **{adapter: False for adapter in ADAPTERS},
    }
    implements = ["auto_shared_fpic"]

    @property
    def _root(self):
        """The project, in which the recipe stands, unless it is that of a release: that one has a conandata.yml, which
        names the archive."""
        return os.path.join(self.recipe_folder, os.pardir, os.pardir)

    def set_version(self):
        if self.conan_data:
            (self.version,) = self.conan_data["sources"]
            return
        project = load(self, os.path.join(self._root, "CMakeLists.txt"))
        self.version = re.search(r"project\(Corvane VERSION ([0-9.]+)", project).group(1)

    def export_sources(self):
        if self.conan_data:
            return
        for pattern in ("CMakeLists.txt", "LICENSE", "CHANGELOG.md", "CMake/*", "Sources/*", "Tools/*", "Packaging/*",
                        "Examples/Packages/*", "Tests/TestSupport/*"):
            copy(self, pattern, src=self._root, dst=self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def source(self):
        if self.conan_data:
            get(self, **self.conan_data["sources"][self.version], strip_root=True)

    def requirements(self):
        self.requires("openssl/[>=3 <4]")
        self.requires("libnghttp2/[>=1.52 <2]")
        self.requires("libpsl/[>=0.21 <1]")
        self.requires("libidn2/[>=2.3 <3]")
        self.requires("zlib/[>=1.2.11 <2]")
        self.requires("spdlog/[>=1.10 <2]")
        if self.options.brotli:
            self.requires("brotli/[>=1.0 <2]")
        if self.options.zstd:
            self.requires("zstd/[>=1.4 <2]")
        if self.options.image:
            self.requires("libpng/[>=1.6 <2]")
            self.requires("libjpeg/[>=9e]")
        if self.options.tool:
            self.requires("cli11/[>=2.1 <3]", visible=False)
        for adapter, (_, reference, _) in ADAPTERS.items():
            if getattr(self.options, adapter):
                self.requires(reference)

    def validate(self):
        check_min_cppstd(self, 20)
        if self.settings.os != "Linux":
            raise ConanInvalidConfiguration("Corvane builds on Linux")
        oldest = {"gcc": "12", "clang": "16"}.get(str(self.settings.compiler))
        if not oldest or Version(self.settings.compiler.version) < oldest:
            raise ConanInvalidConfiguration("Corvane needs GCC 12 or Clang 16, or newer ones")

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.22]")
        self.tool_requires("pkgconf/[>=2]")

    def generate(self):
        adapters = [component for adapter, (component, _, _) in ADAPTERS.items() if getattr(self.options, adapter)]
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["CORVANE_BUILD_TESTS"] = False
        toolchain.cache_variables["CORVANE_BUILD_EXAMPLES"] = False
        toolchain.cache_variables["CORVANE_BUILD_IMAGE"] = bool(self.options.image)
        toolchain.cache_variables["CORVANE_BUILD_TESTING_SUPPORT"] = bool(self.options.testing)
        toolchain.cache_variables["CORVANE_BUILD_TOOL"] = bool(self.options.tool)
        toolchain.cache_variables["CORVANE_BROTLI"] = bool(self.options.brotli)
        toolchain.cache_variables["CORVANE_ZSTD"] = bool(self.options.zstd)
        toolchain.cache_variables["CORVANE_BUILD_ADAPTERS"] = ";".join(adapters) or "OFF"
        toolchain.generate()
        CMakeDeps(self).generate()
        PkgConfigDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", src=self.source_folder, dst=os.path.join(self.package_folder, "licenses"))
        # Conan makes these for each of its users.
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))
        rmdir(self, os.path.join(self.package_folder, "share", "doc"))

    def _component(self, name, package, libraries=(), requires=()):
        component = self.cpp_info.components[name]
        component.set_property("cmake_target_name", f"Corvane::{name}")
        component.set_property("pkg_config_name", package)
        component.includedirs = [os.path.join("include", "corvane")]
        component.libs = list(libraries)
        component.requires = list(requires)
        return component

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Corvane")
        library = self._component("Corvane", "corvane", ["corvane"],
                                  ["openssl::ssl", "openssl::crypto", "libnghttp2::nghttp2", "libpsl::libpsl",
                                   "libidn2::libidn2",
                                   "zlib::zlib", "spdlog::spdlog"])
        library.system_libs = ["pthread"]
        if self.options.brotli:
            library.requires.append("brotli::brotlidec")
        if self.options.zstd:
            library.requires.append("zstd::zstdlib")
        if self.options.image:
            self._component("Image", "corvane-image", ["corvane_image"],
                            ["Corvane", "libpng::libpng", "libjpeg::libjpeg", "zlib::zlib"])
        if self.options.testing:
            self._component("Testing", "corvane-testing", ["corvane_testing"],
                            ["Corvane", "openssl::ssl", "openssl::crypto", "zlib::zlib"])
        for adapter, (component, _, needed) in ADAPTERS.items():
            if getattr(self.options, adapter):
                self._component(component, f"corvane-{component.lower()}", requires=["Corvane", needed])
