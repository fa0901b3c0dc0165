# `make demo` and `make test` do everything on a fresh machine; the rest are the developer's shortcuts.

SETUP := ./cmake/setup.sh
SOURCES = $(shell git ls-files '*.h' '*.cpp' '*.mm')
LOCALE = LOCPATH=$(CURDIR)/build/release/locale
FUZZ_SECONDS ?= 60
PREFIX ?= /usr/local
DEMO_INPUT = folders=$$(./cmake/demo-input.sh) && printf '%s\n' "$$folders" | tr '\n' '\0'

# On macOS, where Homebrew keeps these out of the way of Apple's own.
ifeq ($(shell uname -s),Darwin)
    LLVM := $(shell brew --prefix llvm 2>/dev/null)
    export PATH := $(PATH):$(LLVM)/bin
    FUZZ_FLAGS := -DCMAKE_CXX_COMPILER=$(LLVM)/bin/clang++
    OPENSSL_FLAGS := -DOPENSSL_ROOT_DIR=$(shell brew --prefix openssl 2>/dev/null)
endif

.PHONY: demo test install consumer macos exports bench docs format format-check lint fuzz sanitize asan tsan clean

# The main job on real input: the compiler's own programs, each file as a block and then all of them as one.
demo:
	@$(SETUP) build
	cmake --preset demo
	cmake --build build/release --target kxstore kxmmf-locale
	$(DEMO_INPUT) | $(LOCALE) xargs -0 ./build/release/tools/kxstore/kxstore hold
	$(DEMO_INPUT) | $(LOCALE) xargs -0 ./build/release/tools/kxstore/kxstore hold --join

test:
	@$(SETUP) build test
	cmake --preset release
	cmake --build build/release
	ctest --preset release

# PREFIX=folder for another place than /usr/local; DESTDIR=folder to collect the files of a package.
install:
	@$(SETUP) build
	cmake --preset demo
	cmake --build build/release
	cmake --install build/release --prefix "$(PREFIX)"

# Each public header compiled alone, and a small project that uses the library: installed, moved, or from its sources.
consumer:
	@$(SETUP) build test check package
	cmake --preset release
	cmake --build build/release
	cmake --build build/release --target all_verify_interface_header_sets
	cmake -DBUILD=build/release -P tests/consumer/run.cmake

# The library and the programs for macOS on x86-64, built here; cmake/macos/sdk/README.md tells how far that reaches.
macos:
	@$(SETUP) build macos
	./cmake/macos/fetch-zig.sh
	cmake --preset macos
	cmake --build build/macos
	./cmake/check-exports.sh build/macos/libkxmmf.dylib src/exported-symbols.txt
	./cmake/macos/check-dylib.sh build/macos/libkxmmf.dylib

# Writes anew the list of what the shared library exports, which is compared on both systems.
exports:
	@$(SETUP) build test
	cmake --preset release
	cmake --build build/release --target kxmmf-exports

# BENCH_FLAGS="--quick" for a short run; see bench/ for the rest.
bench:
	@$(SETUP) build bench
	cmake --preset bench $(OPENSSL_FLAGS)
	cmake --build build/bench
	./build/bench/bench/kxmmf-bench $(BENCH_FLAGS)

# The API reference, build/docs/html/index.html. Fails where a public header leaves a member or function uncommented.
docs:
	@$(SETUP) docs
	rm -rf build/docs && mkdir -p build/docs
	sed -n 's|^ *\([a-z]*/[A-Za-z0-9]*\.h\).*|INPUT += src/\1|p' src/PublicHeaders.cmake >build/docs/public-headers
	test -s build/docs/public-headers
	@# Doxygen takes a header on which the filter fails for an empty one.
	sed 's|.* ||' build/docs/public-headers | xargs -n 1 docs/doxygen/filter.py >build/docs/filtered
	doxygen docs/doxygen/Doxyfile
	mandoc -T lint -W warning docs/kxstore.1

format:
	@$(SETUP) check
	clang-format -i $(SOURCES)

format-check:
	@$(SETUP) check
	clang-format --dry-run --Werror $(SOURCES)

lint:
	@$(SETUP) build test bench check
	cmake --preset debug $(OPENSSL_FLAGS)
	cmake --build build/debug --target kxmmf-locale
	run-clang-tidy -quiet -p build/debug '/(src|compressors|tools|examples|bench|tests)/'

# Looks for inputs that fail, FUZZ_SECONDS for each target of tests/fuzz.
fuzz:
	@$(SETUP) build check
	cmake --preset fuzz -DKXMMF_FUZZ_SECONDS=$(FUZZ_SECONDS) $(FUZZ_FLAGS)
	cmake --build build/fuzz --target kxmmf-fuzz
	ctest --preset fuzz

# Address, undefined-behaviour and thread sanitizers over all tests.
sanitize: asan tsan

asan tsan:
	@$(SETUP) build test check
	cmake --preset $@
	cmake --build build/$@
	ctest --preset $@

clean:
	rm -rf build
