# Cross build with one of Debian's compilers, named by -DTALVERA_TRIPLE=mips-linux-gnu or similar. Programs run
# under user emulation, in the sandbox: directory offsets of its in-memory /tmp fit a 32-bit program's
# readdir().
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TALVERA_TRIPLE)
find_program(TALVERA_CROSS_COMPILER ${TALVERA_TRIPLE}-g++)
if(NOT TALVERA_TRIPLE OR NOT TALVERA_CROSS_COMPILER)
  message(FATAL_ERROR "The compiler ${TALVERA_TRIPLE}-g++ (TALVERA_TRIPLE) was not found. "
    "Debian's package is g++-${TALVERA_TRIPLE}; scripts/setup mips cross installs it.")
endif()
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${TALVERA_TRIPLE})
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${TALVERA_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${TALVERA_TRIPLE}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../host/sandbox
  qemu-${CMAKE_SYSTEM_PROCESSOR} -L /usr/${TALVERA_TRIPLE})
set(CMAKE_FIND_ROOT_PATH /usr/${TALVERA_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
