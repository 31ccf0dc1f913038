# A thin front for CMake's presets; the build tree is build/.

PREFIX ?= /usr/local

# Whose code `make test-device` and `make demo SLICE=…` run: a slice of the device's library.
SLICE ?=

.PHONY: all demo test test-all test-device verify bench fuzz ios docs lint install package clean deps build

all: build

deps:
	@scripts/install-deps

# What is installed, without the tests.
build: deps
	@scripts/build release product

demo: build
	@scripts/demo $(SLICE)

test: deps
	@scripts/test

test-device: deps
	@scripts/test-device $(or $(SLICE),x86_64)

verify: deps
	@scripts/verify

# What continuous integration runs, the tutorial from a fresh Debian's first command on, and the device's code for ARM
# in an emulator.
test-all: test verify
	@ctest --preset long
	@scripts/test-device arm64
	@scripts/test-device armv7
	@scripts/test-device armv7s

bench:
	@scripts/install-deps bench
	@scripts/bench

fuzz: deps
	@scripts/fuzz

ios: deps
	@scripts/ios

docs: build
	@scripts/docs
	@scripts/reference

lint:
	@scripts/install-deps bench
	@scripts/lint

# With DEBUG=1 the debug information as well.
install: build
	@cmake --install build --prefix "$(PREFIX)"
	@$(if $(DEBUG),cmake --install build --prefix "$(PREFIX)" --component debug)

package: build
	@scripts/package

clean:
	@rm -rf build
