# Installs the CMake package, the pkg-config files, the examples and the manual.
include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/talvera)
configure_package_config_file(cmake/talvera-config.cmake.in talvera-config.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(talvera-config-version.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT talvera-targets NAMESPACE talvera:: DESTINATION ${package_folder}
  COMPONENT development)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/talvera-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/talvera-config-version.cmake
  DESTINATION ${package_folder} COMPONENT development)

# The pkg-config files locate everything relative to themselves, so that they work below any prefix and in a staged
# root file system.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(talvera_pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  set(talvera_pc_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
else()
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" up ${up})
  set(talvera_pc_includedir \${pcfiledir}/${up}/${CMAKE_INSTALL_INCLUDEDIR})
  set(talvera_pc_libdir \${pcfiledir}/..)
endif()
if(TALVERA_SSL)
  set(talvera_pc_requires "Requires: libssl libcrypto\n")
endif()
foreach(name talvera talvera_static)
  set(talvera_pc_library -ltalvera)
  if(name STREQUAL talvera_static)
    set(talvera_pc_library -l:libtalvera.a)
  endif()
  configure_file(cmake/talvera.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CROSSCOMPILING)
  set(TALVERA_EXAMPLES_DIR ${CMAKE_INSTALL_DOCDIR}/examples CACHE STRING
    "Where the examples' sources are installed")
  install(DIRECTORY examples/ DESTINATION ${TALVERA_EXAMPLES_DIR} COMPONENT development
    FILES_MATCHING PATTERN *.c PATTERN demo EXCLUDE PATTERN programs EXCLUDE)
  install(PROGRAMS examples/first_boot.sh DESTINATION ${TALVERA_EXAMPLES_DIR}
    COMPONENT development)
  # The manual, if scripts/manual has built it.
  install(DIRECTORY build/docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT manual OPTIONAL)
  install(DIRECTORY build/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT manual OPTIONAL)
endif()
