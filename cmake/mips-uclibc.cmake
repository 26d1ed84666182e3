# Cross build for the product's machine: 32-bit big-endian MIPS Linux with uClibc. The
# toolchain comes from target/toolchain; the environment variable TALVERA_TOOLCHAIN names its folder.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
set(toolchain $ENV{TALVERA_TOOLCHAIN})
if(NOT EXISTS "${toolchain}/bin/mips-uclibc-g++")
  message(FATAL_ERROR "The environment variable TALVERA_TOOLCHAIN must name the toolchain's folder, which "
    "`make target-toolchain` builds and prints; it is \"${toolchain}\".")
endif()
set(CMAKE_C_COMPILER ${toolchain}/bin/mips-uclibc-gcc)
set(CMAKE_CXX_COMPILER ${toolchain}/bin/mips-uclibc-g++)
set(CMAKE_AR mips-linux-gnu-ar CACHE FILEPATH "")
set(CMAKE_RANLIB mips-linux-gnu-ranlib CACHE FILEPATH "")
set(CMAKE_CROSSCOMPILING_EMULATOR
  ${CMAKE_CURRENT_LIST_DIR}/../host/sandbox qemu-mips -L ${toolchain}/sysroot
  -E LD_LIBRARY_PATH=${CMAKE_BINARY_DIR})
set(CMAKE_FIND_ROOT_PATH ${toolchain}/sysroot)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
