# A thin front for CMake's presets; the build tree is build/.

PREFIX ?= /usr/local

.PHONY: all demo test verify bench fuzz ios docs lint install clean deps build

all: build

deps:
	@scripts/install-deps

build: deps
	@scripts/build release

demo: build
	@scripts/demo

test: deps
	@scripts/test

verify: deps
	@scripts/verify

bench:
	@scripts/install-deps bench
	@scripts/bench

fuzz: deps
	@scripts/fuzz

ios: deps
	@scripts/ios

docs: build
	@scripts/docs

lint:
	@scripts/install-deps bench
	@scripts/lint

# With DEBUG=1 the debug information as well.
install: build
	@cmake --install build --prefix "$(PREFIX)"
	@$(if $(DEBUG),cmake --install build --prefix "$(PREFIX)" --component debug)

clean:
	@rm -rf build
