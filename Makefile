# make run   builds and runs the example network through the scenario runner
# make test  builds and runs the suite twice: plain with g++, and under ASan +
#            UBSan with clang, so that both compilers keep the build clean
# make bench builds in Release and prints the scale benchmark's table
# make docs  installs Graphviz and renders the example network's tunnel graph
#            into docs/network.svg
JOBS ?= $(shell nproc)
BUILD ?= build
BENCH_BUILD ?= build-release
SAN_BUILD ?= build-san
SAN_CXX ?= clang++
CMAKE_FLAGS ?=

.PHONY: all deps build build-san run test test-plain test-san bench docs clean

all: build

deps:
	@tools/install-deps

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) > /dev/null
	cmake --build $(BUILD) -j $(JOBS)

build-san: deps
	cmake -S . -B $(SAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DTUNNEL_SANITIZE=ON \
	   -DCMAKE_CXX_COMPILER=$(SAN_CXX) $(CMAKE_FLAGS) > /dev/null
	cmake --build $(SAN_BUILD) -j $(JOBS)

# Builds the runner quietly (its log is shown only when the build fails).
run: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) > /dev/null
	@cmake --build $(BUILD) -j $(JOBS) --target tunnelsim > $(BUILD)/run-build.log 2>&1 \
	   || { cat $(BUILD)/run-build.log; exit 1; }
	@$(BUILD)/tools/tunnelsim/tunnelsim examples/network.json --format table

test-plain: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

test-san: build-san
	ctest --test-dir $(SAN_BUILD) --output-on-failure -j $(JOBS)

test: test-plain test-san

# Minutes at 1M tunnels; never part of the suite.
bench: deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS) > /dev/null
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target tunnel_scale tunnel_bench
	$(BENCH_BUILD)/tools/bench/tunnel_scale

# The picture in docs/why.md, from the graph examples/network.graph.out shows.
docs:
	@tools/install-deps --docs
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) > /dev/null
	@cmake --build $(BUILD) -j $(JOBS) --target tunnelsim > $(BUILD)/docs-build.log 2>&1 \
	   || { cat $(BUILD)/docs-build.log; exit 1; }
	$(BUILD)/tools/tunnelsim/tunnelsim examples/network.json --graph svg > docs/network.svg

clean:
	rm -rf $(BUILD) $(SAN_BUILD) $(BENCH_BUILD)
