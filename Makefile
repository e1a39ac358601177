# Front door: `make demo` runs the tour, `make test` runs every test.
BUILD_DIR     ?= build
JOBS          ?= $(shell nproc)
CMAKE_GEN     := -G Ninja
RELEASE_DIR   := $(BUILD_DIR)/release
TEST_DIR      := $(BUILD_DIR)/test
SANITIZE_DIR  := $(BUILD_DIR)/sanitize
PREFIX        ?= /usr/local

.PHONY: all deps demo test bench sanitize fuzz install clean

all: demo

deps:
	@scripts/install-deps.sh

$(RELEASE_DIR)/build.ninja: | deps
	cmake -S . -B $(RELEASE_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DQUOREL_BUILD_TESTS=OFF

$(TEST_DIR)/build.ninja: | deps
	cmake -S . -B $(TEST_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUOREL_BUILD_BENCH=OFF

$(SANITIZE_DIR)/build.ninja: | deps
	cmake -S . -B $(SANITIZE_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DQUOREL_SANITIZE=ON \
	  -DQUOREL_BUILD_BENCH=OFF -DQUOREL_BUILD_EXAMPLES=OFF

demo: deps $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS) --target tour
	$(RELEASE_DIR)/examples/tour

test: deps $(TEST_DIR)/build.ninja
	cmake --build $(TEST_DIR) -j $(JOBS)
	cd $(TEST_DIR) && ctest --output-on-failure -j $(JOBS)

bench: deps $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS)
	@for b in $(RELEASE_DIR)/bench/*_bench; do echo "== $$b"; $$b --benchmark_repetitions=5 --benchmark_report_aggregates_only=true || exit 1; done

sanitize: deps $(SANITIZE_DIR)/build.ninja
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS) -E install_consumer

# Fuzzes the binary readers with clang's libFuzzer for FUZZ_SECONDS.
FUZZ_SECONDS ?= 300
fuzz: deps
	tests/fuzz/run.sh $(FUZZ_SECONDS)

install: deps $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS)
	cmake --install $(RELEASE_DIR) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD_DIR)
