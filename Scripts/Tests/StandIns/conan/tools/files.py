import fnmatch
import hashlib
import os
import shutil
import tarfile
import urllib.request

from .._model import refused


def load(recipe, path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def rmdir(recipe, path):
    if os.path.isdir(path):
        shutil.rmtree(path)


def get(recipe, url, sha256, strip_root=False):
    """Downloads an archive into the folder of the sources; here, only from `file:` URLs."""
    if not url.startswith("file:"):
        raise refused(f"get: {url} is no file URL")
    path = urllib.request.url2pathname(url[len("file://"):])
    with open(path, "rb") as file:
        if hashlib.sha256(file.read()).hexdigest() != sha256:
            raise refused(f"get: the checksum of {url} is another one")
    with tarfile.open(path) as archive:
        for member in archive.getmembers():
            if strip_root:
                member.name = member.name.partition("/")[2]
            if member.name:
                archive.extract(member, recipe.source_folder)


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
