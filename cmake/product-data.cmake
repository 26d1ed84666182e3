# Converts the product's root certificates and client identity to a source file of the library; fails if one of
# them is missing or invalid.
set(TALVERA_PRODUCT_DIR "" CACHE PATH
  "Folder with the product's root certificates and client identity (product/README.md); empty for the development stand-ins")
find_program(TALVERA_OPENSSL_PROGRAM openssl DOC "The openssl command, which checks the product data")

set(talvera_root_names
  01-thawte-premium-server 02-thawte-server 03-equifax-secure 04-arcwy-g1 05-vasko 06-brio
  07-second-operator 08-verisign-class-3-g2 09-verisign-class-3-server-g2
  10-verisign-class-3-server 11-verisign-class-3-g5)

# Checks a DER file with an openssl command ("x509" or "rsa"), then appends an array of its bytes, declared as
# HEAD, to the variable TEXT.
function(talvera_embed file kind head text)
  if(NOT EXISTS ${file})
    message(FATAL_ERROR "product data: ${file} is missing")
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(READ ${file} bytes HEX)
  execute_process(COMMAND ${TALVERA_OPENSSL_PROGRAM} ${kind} -inform DER -in ${file} -noout
    -passin pass: RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
  if(result EQUAL 0 AND kind STREQUAL "x509")
    # The command also accepts a PKCS#12 bundle; a certificate begins with its own encoding.
    set(encoding ${CMAKE_CURRENT_BINARY_DIR}/certificate.der)
    file(REMOVE ${encoding})
    execute_process(COMMAND ${TALVERA_OPENSSL_PROGRAM} x509 -inform DER -in ${file} -outform DER
      -passin pass: -out ${encoding} OUTPUT_QUIET ERROR_QUIET)
    file(READ ${encoding} encoded HEX)
    string(FIND "${bytes}" "${encoded}" result)
    file(REMOVE ${encoding})
  endif()
  if(NOT result EQUAL 0)
    set(what_x509 "certificate")
    set(what_rsa "RSA private key")
    message(FATAL_ERROR "product data: ${file} is not a DER ${what_${kind}}")
  endif()
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  set(${text} "${${text}}${head} = {${bytes}};\n" PARENT_SCOPE)
endfunction()

# The same for a file whose size is part of the interface.
function(talvera_embed_sized file kind size head text)
  talvera_embed(${file} ${kind} "${head}" ${text})
  file(SIZE ${file} found)
  if(NOT found EQUAL size)
    message(FATAL_ERROR "product data: ${file} has ${found} bytes, not ${size}")
  endif()
  set(${text} "${${text}}" PARENT_SCOPE)
endfunction()

# Without a matching key, the client certificate provides no identity.
function(talvera_check_pair certificate key)
  execute_process(COMMAND ${TALVERA_OPENSSL_PROGRAM} x509 -inform DER -in ${certificate} -noout
    -modulus -passin pass: OUTPUT_VARIABLE modulus)
  execute_process(COMMAND ${TALVERA_OPENSSL_PROGRAM} rsa -inform DER -in ${key} -noout -modulus
    -passin pass: OUTPUT_VARIABLE key_modulus ERROR_QUIET)
  if(NOT modulus STREQUAL key_modulus)
    message(WARNING "product data: ${certificate} and ${key} do not match; "
      "the library will have no client identity")
  endif()
endfunction()

# talvera_product_source(OUTPUT): writes the source file.
function(talvera_product_source output)
  if(NOT TALVERA_OPENSSL_PROGRAM)
    message(FATAL_ERROR "product data: the openssl command is needed to check it")
  endif()
  set(directory ${TALVERA_PRODUCT_DIR})
  if(NOT directory)
    set(directory ${PROJECT_SOURCE_DIR}/product/development)
    message(NOTICE "product data: building with the development stand-ins, whose keys are public; "
      "set TALVERA_PRODUCT_DIR for a product")
  endif()

  set(source "// Generated from the DER files in ${directory}.\n#include \"ssl/product_data.h\"\n\n\
#include \"talvera/ssl.h\"\n\n")
  talvera_embed_sized(${directory}/client.der x509 880
    "const unsigned char client_cert[SSL_CLIENT_CERT_SIZE]" source)
  talvera_embed_sized(${directory}/client-key.der rsa 317
    "const unsigned char client_pvt_key[SSL_CLIENT_PVT_KEY_SIZE]" source)
  talvera_check_pair(${directory}/client.der ${directory}/client-key.der)
  set(table "")
  foreach(name ${talvera_root_names})
    string(SUBSTRING ${name} 0 2 number)
    talvera_embed(${directory}/${name}.der x509 "static const unsigned char root_${number}[]" source)
    string(APPEND table "    {root_${number}, sizeof root_${number}},  // ${name}\n")
  endforeach()
  string(APPEND source
    "\nconst talvera::ssl::RootCertificate talvera::ssl::kRootCertificates[kRootCount] = {\n${table}};\n")
  file(WRITE ${output}.new "${source}")
  configure_file(${output}.new ${output} COPYONLY)
endfunction()
