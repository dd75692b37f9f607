# Thin front of the CMake presets.
PRESET ?= release
JOBS ?= $(shell nproc)
BUILD = build/$(PRESET)
PREFIX ?= /usr/local

.PHONY: all dependencies configure demo test bench install package format check-format check clean

all: configure
	cmake --build $(BUILD) -j $(JOBS)

dependencies:
	@scripts/install_dependencies.sh

configure: dependencies
	@cmake --preset $(PRESET) >/dev/null

# The main job without any file from outside: simulate two hours, run the engine, print the summary.
demo: configure
	@cmake --build $(BUILD) -j $(JOBS) --target gnx
	$(BUILD)/gnx demo --out out/demo

# The whole suite. Tests on real data run where the data are found and say SKIPPED where not.
test: all
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure

bench: all
	$(BUILD)/gnx_bench

# Builds and needs what it installs, neither tests nor benchmarks. OPTIONS="-DGNX_BUILD_PROGRAM=OFF" and the like
# leave more out.
install:
	@scripts/install_dependencies.sh --install
	@cmake --preset install -DCMAKE_INSTALL_PREFIX=$(PREFIX) $(OPTIONS) >/dev/null
	cmake --build build/install -j $(JOBS)
	cmake --install build/install --prefix $(PREFIX)

# Debian packages into build/package/packages.
package:
	@scripts/install_dependencies.sh --package
	@cmake --preset package $(OPTIONS) >/dev/null
	cmake --build build/package -j $(JOBS)
	cpack --config build/package/CPackConfig.cmake -B build/package/packages

format:
	scripts/check_format.sh --fix

check-format:
	scripts/check_format.sh

# What a reviewer need not look for: form, direction of includes, common faults.
check: check-format
	scripts/check_includes.sh
	@scripts/install_dependencies.sh --ci
	@cmake --preset clang >/dev/null
	scripts/check_tidy.sh build/clang

clean:
	rm -rf build out
