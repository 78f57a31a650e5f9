# The two commands: `make run` and `make test`. Each installs what is missing, configures and
# builds as needed, then runs the program or the whole test suite.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifneq ($(CI),)
CMAKE_FLAGS += -DBRINDLOW_WERROR=ON
endif

.PHONY: all setup configure build run test bench format clean screenshots package

all: build

setup:
	@scripts/setup

configure: setup
	@cmake -S . -B $(BUILD_DIR) -G Ninja $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

# The tray program; on a machine without a display, the command line's status instead.
run: build
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
		$(BUILD_DIR)/bin/brindlow; \
	else \
		echo "No display (neither DISPLAY nor WAYLAND_DISPLAY is set): showing the command line's status instead."; \
		$(BUILD_DIR)/bin/brindlow-cli status; \
	fi

# Pictures of each window, drawn offscreen with sample files.
screenshots: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target panel_screenshots review_screenshots onboarding_screenshots recap_screenshots history_screenshots rules_screenshots
	@for n in panel review onboarding recap history rules; do \
		QT_QPA_PLATFORM=offscreen:configfile=$(CURDIR)/tools/screenshots/laptop-screen.json \
			$(BUILD_DIR)/tools/$${n}_screenshots docs/screenshots || exit 1; \
	done

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

# Benchmarks need the tools they compare against; each prints its own figures.
bench: build
	@scripts/setup --bench
	@for b in $(BUILD_DIR)/bench/*; do [ -x "$$b" ] && "$$b"; done; true

# A Debian package of both programs: build-deb/brindlow_<version>_<arch>.deb. It has a build of
# its own, because a packaged copy leaves its updates to the package manager.
PACKAGE_DIR ?= $(BUILD_DIR)-deb
package: setup
	@cmake -S . -B $(PACKAGE_DIR) -G Ninja $(CMAKE_FLAGS) -DBRINDLOW_PACKAGE_MANAGED=ON \
		-DBRINDLOW_BUILD_TESTS=OFF -DBRINDLOW_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(PACKAGE_DIR) -j $(JOBS)
	cd $(PACKAGE_DIR) && cpack

format:
	@git ls-files '*.cpp' '*.h' | xargs -r clang-format -i

clean:
	rm -rf $(BUILD_DIR)
