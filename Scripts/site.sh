#!/usr/bin/env bash
# Builds the documentation's site in build/site, with the reference beside it, and fails at a dead link, at a page that
# no way leads to, and at a public symbol without a docstring.
set -euo pipefail
cd "$(dirname "$0")/.."

Scripts/reference.sh
rm -rf build/site build/site-pages build/site-pages.yml
Scripts/site_pages.py build/site-pages
cp -r build/reference/html build/site-pages/reference
# Debian's program, whatever other Python stands first in PATH.
/usr/bin/mkdocs --quiet build --strict --config-file build/site-pages.yml
Scripts/check_site.py build/site
echo "site: open build/site/index.html"
