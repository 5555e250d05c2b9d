#!/usr/bin/env bash
# Builds the documentation's site in build/site: the pages as they lie in the tree, the files that they link to, and the
# reference of the public headers. Doxygen's and mkdocs' warnings are errors: a public symbol without a docstring, a
# reference or a link to what is not there. So are a page that the navigation lacks, and what Scripts/check_site.py finds.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -rf build/reference build/site build/site-pages
mkdir -p build/reference build/site-pages
doxygen Doxyfile
Scripts/check_reference.py
for entry in README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE Docs Examples Packaging Sources Tests; do
  ln -s "../../$entry" build/site-pages/
done
# Debian's program, whatever other Python stands first in PATH; no compiled files in the tree.
PYTHONDONTWRITEBYTECODE=1 /usr/bin/mkdocs build --strict 2>&1 | tee build/site.log
if grep -E '^ +- Docs/\w+\.md$' build/site.log; then
  echo "site: these pages are not in the navigation, nav: of mkdocs.yml" >&2
  exit 1
fi
Scripts/check_site.py
echo "site: open build/site/index.html"
