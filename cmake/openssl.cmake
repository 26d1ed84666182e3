# Finds OpenSSL and, in a cross build, checks that it is the target's.
if(TALVERA_OPENSSL_HEADERS)
  # OpenSSL is part of a program that provides all functions, so nothing is linked.
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  set(OPENSSL_INCLUDE_DIR ${TALVERA_OPENSSL_HEADERS})
  add_library(OpenSSL::SSL INTERFACE IMPORTED)
  add_library(OpenSSL::Crypto ALIAS OpenSSL::SSL)
  target_include_directories(OpenSSL::SSL INTERFACE ${OPENSSL_INCLUDE_DIR})
  return()
endif()
set(without "; or leave the TLS family out with -DTALVERA_SSL=OFF")
find_package(OpenSSL 1.0.2)
if(NOT OPENSSL_FOUND)
  message(FATAL_ERROR "OpenSSL 1.0.2 or newer with headers was not found. Install it (Debian: libssl-dev), or "
    "name its folder with -DTALVERA_OPENSSL_ROOT${without}.")
endif()
if(CMAKE_CROSSCOMPILING)
  include(CheckCSourceCompiles)
  set(CMAKE_REQUIRED_LIBRARIES OpenSSL::SSL OpenSSL::Crypto)
  check_c_source_compiles("#include <openssl/ssl.h>
    int main(void) { SSL_CTX_free(0); return 0; }" TALVERA_OPENSSL_LINKS)
  unset(CMAKE_REQUIRED_LIBRARIES)
  if(NOT TALVERA_OPENSSL_LINKS)
    message(FATAL_ERROR "${OPENSSL_SSL_LIBRARY} cannot be linked for ${CMAKE_SYSTEM_PROCESSOR}: is it this "
      "machine's? Restrict the toolchain file to the target's files (CMAKE_SYSROOT, or CMAKE_FIND_ROOT_PATH "
      "with CMAKE_FIND_ROOT_PATH_MODE_LIBRARY, _INCLUDE and _PACKAGE set to ONLY), or name the folder of the "
      "target's OpenSSL with -DTALVERA_OPENSSL_ROOT${without}.")
  endif()
endif()
