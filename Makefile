# The front door: each target sets up what it needs. CMake presets are behind it.
BUILD := cmake --build
JOBS ?= $(shell nproc)

.PHONY: help setup demo test check mips-test bench lint faults fuzz format docs deb install \
	openssl-1.0 openssl-1.1 uninstall clean target-toolchain target-board target-test target-results target-lab footprint

help:
	@echo "make demo            see the library at work, in a sandbox that changes nothing of this machine"
	@echo "make test            build with sanitizers and run every test"
	@echo "make check           exported symbols, run-time dependencies, headers alone in C99 and C++17, manual"
	@echo "make openssl-1.0     the TLS tests on OpenSSL 1.0.2; make openssl-1.1: on 1.1.1"
	@echo "make mips-test       the unit tests as a 32-bit big-endian MIPS build under qemu-mips"
	@echo "make target-test     the unit tests with the product's libc, uClibc, under qemu-mips"
	@echo "make target-results  the same results on this machine, on MIPS with glibc and with uClibc"
	@echo "make target-lab      library, tests and examples on an emulated board with its own kernel"
	@echo "make footprint       what the library weighs there, against its budget"
	@echo "make bench           the library beside its yardsticks, in one table with the aims"
	@echo "make lint            formatting and static analysis"
	@echo "make format          clang-format over all sources"
	@echo "make faults          every family's ordinary use with each allocation and system call failing"
	@echo "make fuzz            every parser of outside bytes under a fuzzer, FUZZ_SECONDS (60) each"
	@echo "make docs            the reference manual: build/docs/html, man pages in build/docs/man"
	@echo "make deb             Debian packages for run time, development and manual, in build/packages"
	@echo "make install         release build and manual, to PREFIX (/usr/local) below DESTDIR"
	@echo "make uninstall       takes them away again, with the same PREFIX and DESTDIR"
	@echo "make clean           takes all builds away, the manual too"

setup:
	@scripts/setup

demo: setup
	@cmake --preset release >/dev/null && $(BUILD) --preset release -j $(JOBS) -- --quiet
	@host/sandbox scripts/demo build/release

test: setup
	cmake --preset dev
	$(BUILD) --preset dev -j $(JOBS)
	ctest --preset dev

check: setup
	cmake --preset release
	$(BUILD) --preset release -j $(JOBS)
	scripts/check-library build/release
	scripts/check-headers
	scripts/check-manual

openssl-1.0 openssl-1.1: setup
	scripts/test-openssl $(@:openssl-%=%)

mips-test: setup
	cmake --preset mips
	$(BUILD) --preset mips -j $(JOBS)
	ctest --preset mips

# The product's kind of machine. Toolchain, kernel and tools are built once, into a cache (see target/).
target-toolchain:
	target/toolchain

target-board:
	target/board

target-test: setup
	target/test

target-results: setup
	target/compare-results

target-lab: setup
	target/lab

footprint: setup
	target/footprint

bench: setup
	cmake --preset release
	$(BUILD) --preset release -j $(JOBS)
	scripts/bench build/release

lint: setup
	scripts/lint

faults: setup
	cmake --preset dev
	$(BUILD) --preset dev -j $(JOBS) --target faults
	ctest --preset dev -R '^faults$$'

# Seconds for each fuzz target.
FUZZ_SECONDS ?= 60
fuzz: setup
	cmake --preset fuzz
	$(BUILD) --preset fuzz -j $(JOBS)
	scripts/fuzz $(FUZZ_SECONDS)

format:
	git ls-files '*.c' '*.cpp' '*.h' | xargs clang-format-14 -i

docs: setup
	scripts/manual

deb: docs
	cmake --preset package
	$(BUILD) --preset package -j $(JOBS)
	rm -rf build/packages
	$(BUILD) build/package --target package
	scripts/check-packages build/packages

PREFIX ?= /usr/local
install uninstall: docs
	cmake --preset release -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	$(BUILD) --preset release -j $(JOBS)
	$(if $(filter install,$@),cmake --install,scripts/uninstall) build/release

clean:
	rm -rf build
