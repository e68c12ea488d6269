# Front door of the project. `make demo` and `make test` work on a fresh
# machine: tools/ensure-deps installs what is missing.
BUILD    ?= build
JOBS     ?= $(shell nproc 2>/dev/null || echo 2)
TYPE     ?= RelWithDebInfo
FUZZTIME ?= 60

.PHONY: all build deps demo test bench fuzz asan clean

all: build

deps:
	@tools/ensure-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(TYPE) >/dev/null
	@cmake --build $(BUILD) -j$(JOBS)

demo: build
	@tools/demo $(BUILD)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The suite under AddressSanitizer and UndefinedBehaviorSanitizer.
asan: deps
	@cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DKV_SANITIZE=ON -DKV_BENCH=OFF >/dev/null
	@cmake --build build-asan -j$(JOBS)
	@cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j$(JOBS)

bench: deps
	@cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKV_TESTS=OFF >/dev/null
	@cmake --build build-bench -j$(JOBS)
	@tools/bench build-bench

fuzz:
	@KV_NEED_CLANG=1 tools/ensure-deps
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_FUZZ=ON >/dev/null
	@cmake --build build-fuzz -j$(JOBS)
	@tools/fuzz build-fuzz $(FUZZTIME)

clean:
	rm -rf $(BUILD) build-asan build-bench build-fuzz
