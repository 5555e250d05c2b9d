import fnmatch
import os
import shutil

from .._model import refused


def load(recipe, path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def rmdir(recipe, path):
    if os.path.isdir(path):
        shutil.rmtree(path)


def copy(recipe, pattern, src, dst):
    """As Conan does: the pattern is that of fnmatch, over whole relative paths."""
    copied = []
    for folder, folders, files in os.walk(src):
        folders[:] = [name for name in folders if name not in ("build", ".git")]
        for file in files:
            path = os.path.normpath(os.path.join(os.path.relpath(folder, src), file))
            if fnmatch.fnmatch(path, pattern):
                os.makedirs(os.path.dirname(os.path.join(dst, path)), exist_ok=True)
                shutil.copy2(os.path.join(src, path), os.path.join(dst, path))
                copied.append(path)
    if not copied:
        raise refused(f"copy: nothing in {src} is like {pattern}")
    return copied
