# Two commands do everything on a fresh Debian machine:
#   make run    installs what is missing, builds, and starts Cantavox
#   make test   installs what is missing, builds, and runs every test
BUILD_DIR ?= build
JOBS ?= $(shell nproc)

.PHONY: all bootstrap configure build run test bench clean format

all: build

bootstrap:
	@tools/bootstrap.sh

configure: bootstrap
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then \
		cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo; fi

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/cantavox

test: build
	@home=$$(mktemp -d); \
	QT_QPA_PLATFORM=offscreen CANTAVOX_AUDIO=null CANTAVOX_HOME=$$home \
		ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS); status=$$?; \
	rm -rf $$home; exit $$status

bench: build
	@for b in $(BUILD_DIR)/bench/bench_*; do echo "== $$b"; $$b || exit 1; done

format:
	@find src tests bench cli -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR)
