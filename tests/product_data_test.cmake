# Tests which product folders the certificate check rejects, and with which messages. Run by CTest:
#
#   cmake -D SOURCE_DIR=... -D WORK_DIR=... -P product_data_test.cmake
cmake_minimum_required(VERSION 3.22)

# A failed check ends the CMake run, so each check has its own.
if(CHECK_ONLY)
  include(${SOURCE_DIR}/cmake/product-data.cmake)
  talvera_product_source(${WORK_DIR}/product_data.cpp)
  return()
endif()

find_program(OPENSSL openssl REQUIRED)
set(good ${SOURCE_DIR}/product/development)
set(folder ${WORK_DIR}/product)

function(openssl)
  execute_process(COMMAND ${OPENSSL} ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET ERROR_QUIET)
endfunction()

# Checks the folder, whose result must be STATE with a message, and then restores a valid folder.
function(expect state text)
  file(REMOVE ${WORK_DIR}/product_data.cpp)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -D CHECK_ONLY=ON -D SOURCE_DIR=${SOURCE_DIR} -D WORK_DIR=${WORK_DIR}
      -D TALVERA_PRODUCT_DIR=${folder} -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
    RESULT_VARIABLE result ERROR_VARIABLE errors OUTPUT_QUIET)
  string(REGEX REPLACE "[ \n]+" " " errors "${errors}")
  string(FIND "${errors}" "${text}" position)
  set(found accepted)
  if(NOT result EQUAL 0)
    set(found rejected)
  elseif(NOT EXISTS ${WORK_DIR}/product_data.cpp)
    set(found "without a source file")
  endif()
  if(NOT found STREQUAL state OR position LESS 0)
    message(SEND_ERROR "expected: ${state}, \"${text}\"\nfound: ${found}, \"${errors}\"")
  endif()
  file(REMOVE_RECURSE ${folder})
  file(COPY ${good}/ DESTINATION ${folder})
endfunction()

file(REMOVE_RECURSE ${folder})
file(COPY ${good}/ DESTINATION ${folder})
expect(accepted "")

file(REMOVE ${folder}/06-brio.der)
expect(rejected "06-brio.der is missing")

openssl(x509 -inform DER -in ${good}/06-brio.der -out ${folder}/06-brio.der)
expect(rejected "06-brio.der is not a DER certificate")  # but PEM

openssl(x509 -inform DER -in ${good}/client.der -out ${WORK_DIR}/client.pem)
openssl(rsa -inform DER -in ${good}/client-key.der -out ${WORK_DIR}/client-key.pem)
openssl(pkcs12 -export -in ${WORK_DIR}/client.pem -inkey ${WORK_DIR}/client-key.pem -passout pass:
  -out ${folder}/06-brio.der)
expect(rejected "06-brio.der is not a DER certificate")

file(COPY_FILE ${good}/06-brio.der ${folder}/client.der)
expect(rejected "client.der has ")

file(COPY_FILE ${good}/client.der ${folder}/client-key.der)
expect(rejected "client-key.der is not a DER RSA private key")

# A key of the right size that belongs to another certificate. Key sizes vary by a few bytes.
foreach(attempt RANGE 200)
  openssl(genrsa -traditional -out ${WORK_DIR}/other.pem 512)
  openssl(rsa -in ${WORK_DIR}/other.pem -traditional -outform DER -out ${folder}/client-key.der)
  file(SIZE ${folder}/client-key.der size)
  if(size EQUAL 317)
    break()
  endif()
endforeach()
expect(accepted "do not match")
