# Cross build for 32-bit big-endian MIPS Linux with Debian's compiler; programs run under qemu-mips, and
# in the sandbox: its /tmp in memory has directory offsets that fit a 32-bit program's readdir().
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
set(CMAKE_C_COMPILER mips-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mips-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR
  ${CMAKE_CURRENT_LIST_DIR}/../host/sandbox qemu-mips -L /usr/mips-linux-gnu)
set(CMAKE_FIND_ROOT_PATH /usr/mips-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
