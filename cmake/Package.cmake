# Debian packages: library, headers, tool. Made by ./dev package; installed into a clean folder and
# removed again by tests/package/packages_test.sh.
set(TWUPDATE_MAINTAINER "twUpdate developers <twupdate@localhost>")
foreach(package IN ITEMS "library;libtwupdate1" "development;libtwupdate-dev" "tool;twupdate")
  list(GET package 0 component)
  list(GET package 1 name)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} RENAME copyright
          COMPONENT ${component})
endforeach()
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/twupdate
        COMPONENT tool)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/twupdate
        COMPONENT tool FILES_MATCHING PATTERN "*.md")
install(DIRECTORY examples/embed examples/cpp_host examples/c_host examples/python_host
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtwupdate-dev/examples COMPONENT development
        USE_SOURCE_PERMISSIONS
        PATTERN "__pycache__" EXCLUDE)
install(FILES packaging/twupdate.bash RENAME twupdate
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
install(FILES packaging/_twupdate
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tool)

# The manual pages are what the program says of itself.
if(TARGET twupdate_cli)
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/man/twupdate.1
      COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/packaging/man-pages
              $<TARGET_FILE:twupdate_cli> ${CMAKE_BINARY_DIR}/man
      DEPENDS twupdate_cli ${PROJECT_SOURCE_DIR}/packaging/man-pages)
    add_custom_target(man ALL DEPENDS ${CMAKE_BINARY_DIR}/man/twupdate.1)
    install(DIRECTORY ${CMAKE_BINARY_DIR}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
            COMPONENT tool FILES_MATCHING PATTERN "*.1")
  endif()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME twupdate)
set(CPACK_PACKAGE_CONTACT "${TWUPDATE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
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
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtwupdate-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libtwupdate1 (= ${PROJECT_VERSION}), libmariadb-dev, pkg-config")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME twupdate)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION database)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "mariadb-server-core, mariadb-client")
include(CPack)
