# Two commands do everything on a fresh Debian machine:
#   make run    installs what is missing, builds, and starts Cantavox
#   make test   installs what is missing, builds, and runs every test
BUILD_DIR ?= build
JOBS ?= $(shell nproc)

.PHONY: all bootstrap configure build run test bench clean format check-sanitize check-asan check-tsan
ASAN_DIR ?= build-asan
TSAN_DIR ?= build-tsan
# Leaks are looked for in our code; the suppressions name only libraries of the system.
SAN_ENV = QT_QPA_PLATFORM=offscreen CANTAVOX_AUDIO=null \
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=0 \
	LSAN_OPTIONS=suppressions=$(CURDIR)/tools/lsan.supp:print_suppressions=0 \
	UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	TSAN_OPTIONS=suppressions=$(CURDIR)/tools/tsan.supp:halt_on_error=1:second_deadlock_stack=1

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

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer, and the sound device,
# the wave device and the engine under ThreadSanitizer.
check-sanitize: check-asan check-tsan

check-asan: bootstrap
	@if [ ! -f $(ASAN_DIR)/build.ninja ]; then cmake -S . -B $(ASAN_DIR) -G Ninja \
		-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCANTAVOX_SANITIZE=address; fi
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	@home=$$(mktemp -d); $(SAN_ENV) CANTAVOX_HOME=$$home \
		ctest --test-dir $(ASAN_DIR) --output-on-failure -j $(JOBS); status=$$?; \
	rm -rf $$home; exit $$status

check-tsan: bootstrap
	@if [ ! -f $(TSAN_DIR)/build.ninja ]; then cmake -S . -B $(TSAN_DIR) -G Ninja \
		-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCANTAVOX_SANITIZE=thread; fi
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target test_platform
	@home=$$(mktemp -d); $(SAN_ENV) CANTAVOX_HOME=$$home $(TSAN_DIR)/tests/test_platform; \
	status=$$?; rm -rf $$home; exit $$status

bench: build
	@for b in $(BUILD_DIR)/bench/bench_*; do echo "== $$b"; $$b || exit 1; done

format:
	@find src tests bench cli -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR)
