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

install: build
	@cmake --install build --prefix "$(PREFIX)"

clean:
	@rm -rf build
