# The front door: CMake presets and scripts/ are behind it. JOBS limits parallel compilers.

.PHONY: help setup demo test check mips-test bench lint faults fuzz format docs deb install \
	uninstall clean target-toolchain target-board target-test target-results target-lab footprint

help:
	@echo "make setup           install the packages that everything below needs (scripts/setup for parts)"
	@echo "make demo            see the library at work, in a sandbox that changes nothing of this machine"
	@echo "make test            build with sanitizers and run every test"
	@echo "make check           exported symbols, run-time dependencies, headers alone in C99 and C++17, manual"
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
	@echo "make uninstall       removes what install installed; same PREFIX and DESTDIR"
	@echo "make clean           removes all builds and the manual"

# Installs what every target below needs; `scripts/setup PROFILE` installs for one of them.
setup:
	@scripts/setup

# The two that a new user types first install what they lack. All others say what is missing.
demo:
	@scripts/setup demo
	@scripts/build release
	@scripts/demo build/release

test:
	@scripts/setup test
	@scripts/test

check:
	@scripts/setup --check check
	@scripts/build release
	scripts/check-library build/release
	scripts/check-headers
	scripts/check-manual

mips-test:
	@scripts/setup --check mips
	@host/sandbox true
	@scripts/build mips
	ctest --preset mips

# The product's kind of machine. Toolchain, kernel and tools are built once, into a cache (see target/).
target-toolchain:
	target/toolchain

target-board:
	target/board

target-test:
	target/test

target-results:
	target/compare-results

target-lab:
	target/lab

footprint:
	target/footprint

bench:
	@scripts/setup --check bench
	@scripts/build release -DTALVERA_BENCH=ON all benchmarks
	scripts/bench build/release

lint:
	@scripts/setup --check lint
	scripts/lint

faults:
	@scripts/setup --check test
	@scripts/build dev faults
	ctest --preset dev -R '^faults$$'

# Seconds for each fuzz target.
FUZZ_SECONDS ?= 60
fuzz:
	@scripts/setup --check fuzz
	@host/sandbox true
	@scripts/build fuzz
	scripts/fuzz $(FUZZ_SECONDS)

format:
	git ls-files '*.c' '*.cpp' '*.h' | xargs $$(scripts/newest clang-format) -i

docs:
	@scripts/setup --check docs
	scripts/manual

deb:
	@scripts/setup --check deb
	scripts/manual
	@scripts/build package
	rm -rf build/packages
	cmake --build build/package --target package
	scripts/check-packages build/packages

PREFIX ?= /usr/local
install uninstall:
	@scripts/setup --check build docs
	scripts/manual
	@scripts/build release -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	$(if $(filter install,$@),cmake --install,scripts/uninstall) build/release

clean:
	rm -rf build
