"""A small part of Conan 2, for trying a recipe where Conan is not installed; run_recipe.py drives it.

It refuses what Conan would refuse in a recipe of this kind, as far as it is known here, and what it does not know.
"""

import os
import subprocess

from . import _model


class ConanFile:
    """The attributes and methods of recipes that are used here."""

    name = version = description = license = None
    topics = ()
    settings = options = default_options = None
    generators = ()
    tested_reference_str = None

    def __init__(self, recipe_folder, work, given_options, settings):
        self.recipe_folder = recipe_folder
        data = os.path.join(recipe_folder, "conandata.yml")
        self.conan_data = _model.data(data) if os.path.exists(data) else None
        self.export_sources_folder = os.path.join(work, "export")
        self.package_folder = os.path.join(work, "package")
        self.folders = _model.Folders()
        self.cpp = _model.Cpp()
        self.cpp_info = _model.CppInfo()
        self.requirements_made = []
        self.settings = _model.Settings(type(self).settings, settings)
        defaults = {name: value for name, value in (type(self).default_options or {}).items() if "/" not in name}
        self.options = _model.Options(type(self).options or {}, {**defaults, **given_options})
        self.source_folder = self.export_sources_folder
        # As deep below the sources as the builds of other tests are: so, the compiler cache has the objects.
        self.build_folder = os.path.join(self.export_sources_folder, "build", "recipes", "conan", "build")
        self.generators_folder = self.build_folder

    def requires(self, reference, visible=True):
        self.requirements_made.append(_model.reference(reference))

    tool_requires = requires

    def run(self, command, env=None):
        if env not in (None, "conanrun", "conanbuild"):
            raise _model.refused(f"run(env={env!r})")
        subprocess.run(command, shell=True, check=True, cwd=self.build_folder)
