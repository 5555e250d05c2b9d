# The commands of daily work; each installs what it needs first. `make help` lists them.

.DEFAULT_GOAL := help
.PHONY: help setup demo test bench soak format check asan tsan fuzz tidy install-test debian integration docs clean

help:            ## lists the commands
	@sed -n 's/^\([a-z-]*\):[a-z ]*## /  make \1\t/p' $(MAKEFILE_LIST) | expand -t 24

setup:           ## installs the needed Debian packages
	@Scripts/setup.sh build

demo: setup      ## builds and runs the demo
	@Scripts/demo.sh

test: setup      ## builds and runs the test suite
	@Scripts/test.sh dev

bench:           ## builds and runs the benchmarks
	@Scripts/setup.sh build bench
	@Scripts/bench.sh

soak:            ## sends a million requests; fails if memory or descriptors grow with them
	@Scripts/setup.sh build bench
	@cmake --preset release >/dev/null
	@cmake --build build/release --target corvane_soak
	@build/release/Benchmarks/corvane_soak

asan:            ## runs the tests under the address and undefined-behaviour sanitizers
	@Scripts/setup.sh build checks
	@Scripts/test.sh asan

tsan:            ## runs the tests under the thread sanitizer
	@Scripts/setup.sh build checks
	@Scripts/test.sh tsan

fuzz:            ## tries the decoders on inputs that a fuzzer makes
	@Scripts/setup.sh build checks
	@Scripts/fuzz.sh

check:           ## runs the static checks: layers, headers, interface, format, documentation
	@Scripts/setup.sh build checks
	@Scripts/check_layers.py
	@Scripts/check_docs.py
	@Scripts/check_format.sh
	@Scripts/check_headers.sh
	@Scripts/check_api.py

format:          ## formats all C++ files
	@Scripts/setup.sh checks
	@Scripts/check_format.sh --fix

tidy:            ## runs clang-tidy over the library
	@Scripts/setup.sh build checks
	@Scripts/tidy.sh

install-test:    ## installs the library and builds a consumer in every way
	@Scripts/setup.sh build
	@Scripts/test_install.sh

debian:          ## makes the Debian packages, in build/packages
	@Scripts/setup.sh build
	@Scripts/package_debian.sh

integration:     ## tries the library against nginx, httpbin, nghttpd, Squid, PHP and parsers of Python
	@Scripts/setup.sh build integration
	@Tests/Integration/run.sh

docs:            ## draws the pictures and builds the documentation's site, with the reference
	@Scripts/setup.sh docs
	@Scripts/draw.sh
	@Scripts/site.sh

clean:           ## removes everything that was built
	rm -rf build
