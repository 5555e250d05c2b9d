# What the tests of installation share. Sourced by them, from the root of the project; `work` is their folder.
#
# Each route ends in Examples/Packages/Client.cpp, which asks the bundled server for a user and prints the name.

export CMAKE_GENERATOR=Ninja CMAKE_BUILD_PARALLEL_LEVEL=${JOBS:-$(nproc)}
if command -v dpkg-buildflags >/dev/null; then
  # The flags that Debian's packages are made with, for all builds, so that they share their objects. No debugging
  # information and no paths; optimisation is that of the build type.
  flags="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS)"
  CXXFLAGS=$(xargs -n 1 <<<"$flags" | grep -vE '^(-g|-O.|-ffile-prefix-map=.*)$' | xargs)
  LDFLAGS="$(dpkg-buildflags --get LDFLAGS) -Wl,-z,now -Wl,--as-needed"
  export CXXFLAGS LDFLAGS
fi
if command -v ccache >/dev/null; then
  # All builds compile the same files with the same options; the second one and those after it find them here.
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi

say() { printf '%s\n' "-- $*"; }

fail() {
  echo "$*"
  exit 1
}

# expect PATTERN COMMAND...: what the command prints must match.
expect() {
  local wanted=$1 output
  shift
  output=$("$@") || fail "'$*' ended with status $?"
  [[ $output == $wanted ]] || fail "'$*' printed '$output', expected '$wanted'"
  echo "$output"
}

# start_server PROGRAM [ARGUMENT...]: the bundled server; `server_address` is where it listens. It ends when its
# standard input is closed, and so with the script at the latest.
start_server() {
  local line
  rm -f "$work/server.input"
  mkfifo "$work/server.input"
  exec {server_output}< <(exec "$@" <"$work/server.input")
  server_process=$!
  exec {server_input}>"$work/server.input"
  read -r -t 20 line <&"$server_output" || fail "$1 did not start"
  server_address="http://${line#listening on }"
}

stop_server() {
  exec {server_input}>&- {server_output}<&-
  wait "$server_process"
}

# run_client COMMAND...: the application sends a typed request, and tells what went wrong when nobody answers.
run_client() {
  expect "ada is Ada Lovelace" "$@" "$server_address"
  if "$@" "http://127.0.0.1:1" 2>"$work/refused.log"; then fail "nobody listens there, and yet it was answered"; fi
  expect "?*onnect*" cat "$work/refused.log"
}
