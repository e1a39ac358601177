# Front door: `make demo` runs the tour, `make test` runs every test.
BUILD_DIR     ?= build
JOBS          ?= $(shell nproc)
CMAKE_GEN     := -G Ninja
RELEASE_DIR   := $(BUILD_DIR)/release
TEST_DIR      := $(BUILD_DIR)/test
SANITIZE_DIR  := $(BUILD_DIR)/sanitize
PREFIX        ?= /usr/local

.PHONY: all deps demo test docs bench bench-deps sanitize fuzz install clean

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

# API reference (Doxygen) in $(BUILD_DIR)/docs/html; fails on any Doxygen warning.
docs: deps
	python3 docs/doxygen/reference.py $(BUILD_DIR)/docs

# Benchmarks need Eigen, NumPy and SciPy besides the build dependencies. A bench/peers/<name>_peers.py
# script times the same work in NumPy/SciPy; its JSON reaches <name>_bench through QUOREL_PEERS and
# becomes Quorel/peer ratio columns.
PEERS_PY      := /usr/bin/python3
BENCH_DEBS    := libeigen3-dev python3-numpy python3-scipy

bench-deps: deps
	@missing=$$(for p in $(BENCH_DEBS); do dpkg -s $$p >/dev/null 2>&1 || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	  SUDO=$$([ "$$(id -u)" = 0 ] || echo sudo); \
	  $$SUDO apt-get update && $$SUDO apt-get install -y --no-install-recommends $$missing; \
	fi

bench: bench-deps $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS)
	@for b in $(RELEASE_DIR)/bench/*_bench; do \
	  name=$$(basename $$b _bench); peers=bench/peers/$${name}_peers.py; echo "== $$b"; \
	  if [ -f $$peers ]; then \
	    json=$(RELEASE_DIR)/bench/$${name}_peers.json; \
	    $(PEERS_PY) $$peers > $$json || exit 1; \
	    QUOREL_PEERS=$$json $$b --benchmark_repetitions=5 --benchmark_report_aggregates_only=true || exit 1; \
	  else \
	    $$b --benchmark_repetitions=5 --benchmark_report_aggregates_only=true || exit 1; \
	  fi; \
	done

sanitize: deps $(SANITIZE_DIR)/build.ninja
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS) -E install_consumer

# Fuzzes the binary readers and the Matrix Market reader with clang's libFuzzer, FUZZ_SECONDS each.
FUZZ_SECONDS ?= 300
fuzz: deps
	tests/fuzz/run.sh $(FUZZ_SECONDS)
	tests/fuzz/run_matrix_market.sh $(FUZZ_SECONDS)

install: deps $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS)
	cmake --install $(RELEASE_DIR) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD_DIR)
