# The two commands: `make run` and `make test`. Each installs what is missing, configures and
# builds as needed, then runs the program or the whole test suite.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifneq ($(CI),)
CMAKE_FLAGS += -DBRINDLOW_WERROR=ON
endif

.PHONY: all setup configure build run test bench format clean

all: build

setup:
	@scripts/setup

configure: setup
	@cmake -S . -B $(BUILD_DIR) -G Ninja $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/bin/brindlow-cli

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

# Benchmarks need the tools they compare against; each prints its own figures.
bench: build
	@scripts/setup --bench
	@for b in $(BUILD_DIR)/bench/*; do [ -x "$$b" ] && "$$b"; done; true

format:
	@git ls-files '*.cpp' '*.h' | xargs -r clang-format -i

clean:
	rm -rf $(BUILD_DIR)
