# Debian packages: library, headers, tool. Made by ./dev package; installed into a clean folder and
# removed again by tests/package/packages_test.sh.
set(TWUPDATE_MAINTAINER "twUpdate developers <twupdate@packages.invalid>" CACHE STRING
    "name and address in the Debian packages")
configure_file(packaging/changelog.in changelog.debian @ONLY)
add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/changelog.gz
  COMMAND gzip -9nc changelog.debian > changelog.gz
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  DEPENDS ${CMAKE_BINARY_DIR}/changelog.debian)
add_custom_target(changelog ALL DEPENDS ${CMAKE_BINARY_DIR}/changelog.gz)
foreach(package IN ITEMS "library;libtwupdate1" "development;libtwupdate-dev" "tool;twupdate")
  list(GET package 0 component)
  list(GET package 1 name)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} RENAME copyright
          COMPONENT ${component})
  install(FILES ${CMAKE_BINARY_DIR}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
          COMPONENT ${component})
endforeach()
find_package(Python3 COMPONENTS Interpreter QUIET)
if(Python3_FOUND)
  file(GLOB_RECURSE TWUPDATE_PAGES CONFIGURE_DEPENDS docs/*.md)
  add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/manual/README.md
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${CMAKE_BINARY_DIR}/manual
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/packaging/installed-manual
            ${PROJECT_SOURCE_DIR} ${CMAKE_BINARY_DIR}/manual
    DEPENDS packaging/installed-manual README.md CHANGELOG.md ${TWUPDATE_PAGES})
  add_custom_target(installed_manual ALL DEPENDS ${CMAKE_BINARY_DIR}/manual/README.md)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/manual/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/twupdate
          COMPONENT tool)
endif()
install(DIRECTORY examples/embed examples/cpp_host examples/c_host examples/python_host
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtwupdate-dev/examples COMPONENT development
        USE_SOURCE_PERMISSIONS
        PATTERN "__pycache__" EXCLUDE)
foreach(program IN ITEMS twupdate twupdate-sample)
  install(FILES packaging/twupdate.bash RENAME ${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
endforeach()
install(FILES packaging/_twupdate
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tool)

# The manual pages are what the programs say of themselves, and what the manual says of them.
if(TARGET twupdate_cli)
  if(Python3_FOUND)
    file(GLOB TWUPDATE_OPERATING_PAGES CONFIGURE_DEPENDS docs/operating/*.md)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/man/twupdate.1.gz
      COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/packaging/man-pages
              $<TARGET_FILE:twupdate_cli> $<TARGET_FILE:twupdate-sample> ${PROJECT_SOURCE_DIR}
              ${CMAKE_BINARY_DIR}/man
      DEPENDS twupdate_cli twupdate-sample packaging/man-pages packaging/twupdate.1.md
              examples/sample/README.md ${TWUPDATE_OPERATING_PAGES})
    add_custom_target(man ALL DEPENDS ${CMAKE_BINARY_DIR}/man/twupdate.1.gz)
    install(DIRECTORY ${CMAKE_BINARY_DIR}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
            COMPONENT tool FILES_MATCHING PATTERN "*.1.gz")
  endif()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME twupdate)
set(CPACK_PACKAGE_CONTACT "${TWUPDATE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libtwupdate1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "upgrades the databases of a multi-site web platform
This library brings the central database and the databases of all sites
from any older version to the current one. It opens no connection of its
own: the program that it is part of is its host.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtwupdate-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libtwupdate1 (= ${PROJECT_VERSION}), libmariadb-dev, pkg-config")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "twupdate (= ${PROJECT_VERSION}), cmake")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "database upgrade component, files for developers
The headers of the C++ component, of its C interface and of the reference
host, the static libraries, and example programs in C++, C and Python.
.
The manual and a maker of sample installations are in the package twupdate.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME twupdate)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION database)
# For --datadir, --backup, restore and rehearse; neither starts a service.
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS "mariadb-server-core, mariadb-client")
set(CPACK_DEBIAN_TOOL_DESCRIPTION "database upgrade program for a multi-site web platform
The program twupdate brings the central database and the databases of all
sites from any older version to the current one. It says beforehand what
it would do, keeps backups, and rehearses on a copy.
.
The manual, the reference data and a maker of sample installations are
included.")
include(CPack)
