from ..errors import ConanInvalidConfiguration


def check_min_cppstd(recipe, cppstd):
    given = getattr(recipe.settings.compiler, "cppstd", None)
    if given is None or int(str(given).removeprefix("gnu")) < cppstd:
        raise ConanInvalidConfiguration(f"cppstd is {given}, and {cppstd} is needed")


def can_run(recipe):
    return True
