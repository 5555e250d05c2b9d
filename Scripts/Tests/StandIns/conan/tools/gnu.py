"""Files for pkg-config: the system's own do."""


class PkgConfigDeps:
    def __init__(self, recipe):
        self.recipe = recipe

    def generate(self):
        pass
