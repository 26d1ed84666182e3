# Debian packages, one per component of the installation; `make deb` builds them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The talvera developers <talvera@localhost>" CACHE STRING
  "Maintainer of the Debian packages")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL runtime development manual)
if(TALVERA_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Each description has its own summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(what "Manufacturing data, configuration store, processes, firewall rules,
TLS, text, time and lists, behind a plain C interface.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtalvera${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "utility library of a home gateway
${what}")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtalvera-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
if(TALVERA_SSL)
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libssl-dev")
endif()
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS talvera-doc)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "utility library of a home gateway - development files
${what}

Headers, static library, and files for CMake and pkg-config.")

set(CPACK_DEBIAN_MANUAL_PACKAGE_NAME talvera-doc)
set(CPACK_DEBIAN_MANUAL_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_MANUAL_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_MANUAL_DESCRIPTION "utility library of a home gateway - reference manual
${what}

HTML and man pages.")

# dpkg-shlibdeps does not find the library, which is in a package of the same build.
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME talvera-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "libc6, ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "utility library of a home gateway - shell command
${what}

The command talvera offers the library to shell scripts.")

# Files that Debian's policy requires in each package.
option(TALVERA_DEBIAN "Install the copyright and changelog files of Debian packages" OFF)
if(TALVERA_DEBIAN)
  set(files ${CMAKE_CURRENT_BINARY_DIR}/debian)
  file(MAKE_DIRECTORY ${files})
  file(STRINGS cmake/debian/changelog newest LIMIT_COUNT 1)
  if(NOT newest MATCHES "^talvera \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "cmake/debian/changelog does not begin with version ${PROJECT_VERSION}")
  endif()
  execute_process(COMMAND gzip -9nc INPUT_FILE ${PROJECT_SOURCE_DIR}/cmake/debian/changelog
    OUTPUT_FILE ${files}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
  foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} component_name)
    install(FILES cmake/debian/copyright ${files}/changelog.gz COMPONENT ${component}
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${component_name}_PACKAGE_NAME})
  endforeach()
  foreach(component manual tools)
    install(CODE "file(GLOB pages \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man?/*.?)
      if(pages)
        execute_process(COMMAND gzip -9n \${pages} COMMAND_ERROR_IS_FATAL ANY)
      endif()" COMPONENT ${component})
  endforeach()
endif()
include(CPack)
