#!/usr/bin/env bash
# Builds the documentation's site in build/site: the pages as they lie in the tree, the files that they link to, and the
# reference of the public headers. Doxygen's and mkdocs' warnings are errors: a public symbol without a docstring, a
# reference or a link to what is not there. So are a page that the navigation lacks, and what the network would be
# needed for.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -rf build/reference build/site build/site-pages
mkdir -p build/reference build/site-pages
doxygen Doxyfile
Scripts/check_reference.py
ln -s ../reference/html build/site-pages/reference
for entry in README.md CHANGELOG.md CONTRIBUTING.md LICENSE Docs Examples Sources Tests; do
  ln -s "../../$entry" build/site-pages/
done
# Debian's program, whatever other Python stands first in PATH.
/usr/bin/mkdocs build --strict 2>&1 | tee build/site.log
if grep -E '^ +- Docs/\w+\.md$' build/site.log; then
  echo "site: these pages are not in the navigation, nav: of mkdocs.yml" >&2
  exit 1
fi
if grep -rE --include='*.html' '<(script|img|iframe|link rel="(stylesheet|icon)")[^>]* (src|href)="(https?:)?//' build/site; then
  echo "site: these would be loaded from the network" >&2
  exit 1
fi
echo "site: open build/site/index.html"
