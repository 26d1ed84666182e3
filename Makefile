# The front door: CMake presets and scripts/ are behind it. JOBS limits parallel compilers.

.PHONY: help setup demo examples test check mips-test cross-test bench lint faults fuzz format docs deb install \
	uninstall clean target-toolchain target-board target-test target-lab board demo-board footprint \
	openssl-1.0 openssl-1.1

help:
	@echo "make setup           install the packages that everything below needs (scripts/setup for parts)"
	@echo "make demo            a gateway's first boot, in a sandbox that changes nothing of this machine"
	@echo "make examples        the example programs in C at work, in the same sandbox"
	@echo "make test            build with sanitizers and run every test"
	@echo "make check           exported symbols, dependencies, edges, ABI, headers in C99 and C++17, manual"
	@echo "make openssl-1.0     the TLS tests on OpenSSL 1.0.2; make openssl-1.1: on 1.1.1"
	@echo "make mips-test       unit tests and tables as a 32-bit big-endian MIPS build under qemu-mips"
	@echo "make cross-test      the pure tests on little-endian MIPS, ARM, AArch64 and RISC-V, emulated"
	@echo "make target-test     the same with the product's libc, uClibc"
	@echo "make target-lab      library, tests and examples on an emulated board with its own kernel"
	@echo "make board           a gateway on the desk: that board's shell, with talvera; make demo-board: the story there"
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
	scripts/check-manual

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

# The product's kind of machine. Toolchain, kernel and tools are built once, into a cache (see target/).
target-toolchain:
	target/toolchain

target-board:
	target/board

target-test:
	target/test

target-lab:
	target/lab

board:
	@target/lab shell

demo-board:
	@target/lab demo

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
