# The two set-up commands are `make demo` and `make test`; see README.md.
OUT        ?= out
ASAN_OUT   ?= out-asan
FUZZ_OUT   ?= out-fuzz
JOBS       ?= $(shell nproc)
FUZZ_SECONDS ?= 30
CMAKE_FLAGS ?=

.PHONY: all deps build demo test asan-test bench fuzz clean

all: build

deps:
	@scripts/install-deps.sh core

$(OUT)/build.ninja: | deps
	cmake -S . -B $(OUT) -G Ninja $(CMAKE_FLAGS)

build: deps $(OUT)/build.ninja
	cmake --build $(OUT) -j $(JOBS)

demo: build
	@examples/run-demo.sh $(OUT)/bin

test: build
	cd $(OUT) && ctest --output-on-failure --timeout 300 -j $(JOBS)

asan-test: deps
	@test -f $(ASAN_OUT)/build.ninja || cmake -S . -B $(ASAN_OUT) -G Ninja \
	    -DCMAKE_BUILD_TYPE=Debug -DTESS_SANITIZE=ON
	cmake --build $(ASAN_OUT) -j $(JOBS)
	cd $(ASAN_OUT) && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
	    ctest --output-on-failure --timeout 900 -j $(JOBS)

bench: build
	@scripts/install-deps.sh bench
	@bench/run-all.sh $(OUT)/bin

fuzz: deps
	@scripts/install-deps.sh fuzz
	@test -f $(FUZZ_OUT)/build.ninja || CC=clang CXX=clang++ cmake -S . -B $(FUZZ_OUT) -G Ninja \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESS_FUZZ=ON -DTESS_TESTS=OFF
	cmake --build $(FUZZ_OUT) -j $(JOBS)
	@fuzz/run-all.sh $(FUZZ_OUT)/fuzz $(FUZZ_SECONDS)

# Everything generated lives in the out*/ trees.
clean:
	rm -rf out*/
