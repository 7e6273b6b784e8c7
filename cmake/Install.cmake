include(CMakePackageConfigHelpers)

set(TWUPDATE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/twUpdate)
# Relative, so that the installed tree may be moved.
file(RELATIVE_PATH TWUPDATE_PC_TO_PREFIX
     /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" TWUPDATE_PC_TO_PREFIX ${TWUPDATE_PC_TO_PREFIX})

# The component: the shared library, and for developers the static one and the headers.
install(TARGETS twupdate_shared EXPORT twUpdateTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
                NAMELINK_COMPONENT development)
install(TARGETS twupdate EXPORT twUpdateTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY src/component/twupdate capi/twupdate DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
configure_file(cmake/twupdate.pc.in twupdate.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/twupdate.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# The reference host, for programs that have no host of their own.
if(TARGET twupdate_host)
  set_target_properties(twupdate_host PROPERTIES EXPORT_NAME host)
  install(TARGETS twupdate_host EXPORT twUpdateTargets
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  install(DIRECTORY host/twupdate_host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
          COMPONENT development FILES_MATCHING PATTERN "*.h")
  configure_file(cmake/twupdate-host.pc.in twupdate-host.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/twupdate-host.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endif()

install(EXPORT twUpdateTargets NAMESPACE twUpdate:: DESTINATION ${TWUPDATE_CMAKE_DIR}
        COMPONENT development)
configure_package_config_file(cmake/twUpdateConfig.cmake.in twUpdateConfig.cmake
        INSTALL_DESTINATION ${TWUPDATE_CMAKE_DIR})
write_basic_package_version_file(twUpdateConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/twUpdateConfig.cmake
              ${CMAKE_BINARY_DIR}/twUpdateConfigVersion.cmake
        DESTINATION ${TWUPDATE_CMAKE_DIR} COMPONENT development)

# What the program needs beside itself.
install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/twupdate/resources
        COMPONENT tool FILES_MATCHING PATTERN "*Data.txt" PATTERN "*-copyright.txt")
