# The entry points; CMake presets and scripts/ do the work. JOBS limits parallel compilers.

.PHONY: help setup demo examples test check mips-test cross-test bench lint faults fuzz format docs deb install \
	uninstall clean target-toolchain target-board target-test target-lab target-bench board demo-board footprint \
	openssl-1.0 openssl-1.1

help:
	@echo "make setup           install the packages for all below except target builds and openssl-* (see scripts/setup)"
	@echo "make demo            run a gateway's first boot in a sandbox"
	@echo "make examples        run the example programs in C, in the same sandbox"
	@echo "make test            build with sanitizers and run every test"
	@echo "make check           check exported symbols, run-time dependencies, architecture, ABI, headers and manual"
	@echo "make openssl-1.0     run the TLS tests on OpenSSL 1.0.2; make openssl-1.1: on 1.1.1"
	@echo "make mips-test       run the test tables on 32-bit big-endian MIPS, under qemu-mips"
	@echo "make cross-test      run the tables on little-endian MIPS, ARM, AArch64 and RISC-V, emulated"
	@echo "make target-test     run the tables with uClibc-ng, and again with the library in MIPS16e"
	@echo "make target-lab      run library, tests and examples on an emulated board with its own kernel"
	@echo "make board           start that board with talvera in its shell; make demo-board: run the demo there"
	@echo "make target-bench    count the instructions of each operation on the target, against baseline and budget"
	@echo "make footprint       measure the library's size on the target, against its budget"
	@echo "make bench           measure the library against its baselines, in one table with the target ratios"
	@echo "make lint            check formatting and run static analysis"
	@echo "make format          run clang-format over all sources"
	@echo "make faults          exercise each family with every allocation and system call failing in turn"
	@echo "make fuzz            fuzz every parser of untrusted input, FUZZ_SECONDS (60) each"
	@echo "make docs            build the reference manual: build/docs/html, man pages in build/docs/man"
	@echo "make deb             build Debian packages in build/packages"
	@echo "make install         install release build and manual under DESTDIR and PREFIX (default /usr/local)"
	@echo "make uninstall       uninstall them; same PREFIX and DESTDIR"
	@echo "make clean           remove all builds and the manual"

# Installs what all targets below need, except the product's machine and old versions of OpenSSL;
# `scripts/setup PROFILE` installs for one of them.
setup:
	@scripts/setup

# The two commands that a new user runs first install what they lack; all others list what is missing.
demo:
	@scripts/setup demo
	@scripts/build release
	@scripts/demo build/release

examples:
	@scripts/setup --check demo
	@scripts/build release
	@scripts/examples build/release

test:
	@scripts/setup test
	@scripts/test

check:
	@scripts/setup --check check
	@scripts/build release
	scripts/check-library build/release
	scripts/check-architecture build/release
	scripts/check-abi
	scripts/check-headers
	scripts/check-manual build/release

openssl-1.0 openssl-1.1:
	@scripts/setup --check test
	scripts/test-openssl $(@:openssl-%=%)

mips-test:
	@scripts/setup --check mips
	@host/sandbox true
	@scripts/build mips
	ctest --preset mips

cross-test:
	@scripts/setup --check cross
	@host/sandbox true
	@scripts/cross-test

# The product's machine. Toolchain, kernel and tools are built once and cached (see target/).
target-toolchain:
	target/toolchain

target-board:
	target/board

target-test:
	target/test

target-lab:
	target/lab

target-bench:
	target/bench

board:
	@target/lab shell

demo-board:
	@target/lab demo

footprint:
	target/footprint

bench:
	@scripts/setup --check bench
	@scripts/build release -DTALVERA_BENCH=ON all talvera_benchmarks
	scripts/bench build/release

lint:
	@scripts/setup --check lint
	scripts/lint

faults:
	@scripts/setup --check test
	@scripts/build dev talvera_faults
	ctest --preset dev -R '^faults'

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
