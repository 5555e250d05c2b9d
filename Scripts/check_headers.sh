#!/usr/bin/env bash
# Compiles each public header alone, with the third-party libraries poisoned, so that none of them can be needed; and
# all of them together with min and max as macros, as some systems' headers define them. Adapters (layout.py)
# are compiled with the library that they are for, where it is installed.
#
#   Scripts/check_headers.sh [HEADER...]      paths from Sources; default: all public headers
set -euo pipefail
cd "$(dirname "$0")/../Sources"

compiler=${CXX:-g++}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

libraries='asio|glib|Qt|gtest|gmock|curl|openssl|boost|spdlog|fmt|simdjson|nlohmann|zlib\.h|zconf\.h|png\.h|jpeglib\.h'
for header in curl/curl.h openssl/{ssl,x509,evp,err,crypto,types}.h zlib.h spdlog/spdlog.h fmt/{core,format}.h \
  boost/{url,pfr,asio,config}.hpp boost/system/error_code.hpp boost/json.hpp nlohmann/json.hpp simdjson.h \
  png.h jpeglib.h jerror.h gtest/gtest.h gmock/gmock.h asio.hpp glib.h; do
  mkdir -p "$work/poison/$(dirname "$header")"
  echo "#error \"a public header needs $header\"" >"$work/poison/$header"
done

# The standard library takes back such macros in each of its headers (c++config.h), so all of it comes first.
printf '#include <%s>\n' \
  algorithm any array atomic bit charconv chrono compare complex concepts condition_variable \
  coroutine cstddef cstdint cstring deque exception filesystem functional future initializer_list \
  iomanip iostream iterator latch limits list locale map memory mutex new numeric optional ostream \
  queue random ranges ratio regex semaphore set shared_mutex source_location span sstream stdexcept \
  stop_token string string_view system_error thread tuple type_traits typeinfo unordered_map utility valarray \
  variant vector version >"$work/macros.cpp"
cat >>"$work/macros.cpp" <<'END'
#define min(a, b) (((a) < (b)) ? (a) : (b))
#define max(a, b) (((a) > (b)) ? (a) : (b))
END

export compiler work libraries
export flags="-std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -I."

../Scripts/layout.py adapters >"$work/adapters"
library_of_adapter() { awk -v header="$1" '$1 == header {print $2}' "$work/adapters"; }
# Where that library is, for those that are not found by themselves.
flags_of_library() {
  local package
  package=$(awk -v library="$1" '$2 == library {print $3}' "$work/adapters")
  [ -n "$package" ] || return 0
  echo "-fPIC $(pkg-config --cflags "$package" 2>/dev/null | sed 's/-I/-isystem /g')"
}
check_alone() {
  local header=$1 failed=0 read_files library
  library=$(library_of_adapter "$header")
  if [ -n "$library" ]; then
    if $compiler $flags $(flags_of_library "$library") -x c++ -include "$header" /dev/null; then return 0; fi
    echo "$header does not compile alone"
    return 1
  fi
  read_files=$(mktemp "$work/XXXXXX.d")
  if ! $compiler $flags -MD -MF "$read_files" -isystem "$work/poison" -x c++ -include "$header" /dev/null; then
    echo "$header does not compile alone, without third-party headers"
    failed=1
  elif grep -oE "/usr/(local/)?include/([a-z_0-9-]+/)?($libraries)[^ ]*" "$read_files"; then
    echo "$header reads these headers of third parties"
    failed=1
  fi
  return $failed
}
check() {
  local header=$1 library own_flags
  library=$(library_of_adapter "$header")
  own_flags=$(flags_of_library "$library")
  if [ -n "$library" ] && ! echo "#include <$library>" | $compiler -std=c++20 $own_flags -E -x c++ - >/dev/null 2>&1; then
    echo "$header is not checked: there is no <$library>"
    return 0
  fi
  echo "$header" >>"$work/checked"
  check_alone "$header"
}
check_all_with_macros() {
  local own_flags="" library
  while read -r header; do
    library=$(library_of_adapter "$header")
    own_flags+=" $(flags_of_library "$library")"
  done <"$work/checked"
  sort "$work/checked" | sed 's/.*/#include "&"/' >>"$work/macros.cpp"
  if ! $compiler $flags $own_flags "$work/macros.cpp"; then
    echo "these headers do not compile where min and max are macros"
    return 1
  fi
  echo "$(wc -l <"$work/checked") headers checked"
}
export -f library_of_adapter flags_of_library check_alone check

failed=0
if [ $# -gt 0 ]; then
  printf '%s\0' "$@"
else
  ../Scripts/layout.py installed | tr '\n' '\0'
fi | xargs -0 -n 1 -P "${JOBS:-$(nproc)}" bash -c 'check "$1" || exit 1' check || failed=1
check_all_with_macros || failed=1
exit $failed
