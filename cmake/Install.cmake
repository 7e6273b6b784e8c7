include(CMakePackageConfigHelpers)

install(TARGETS twupdate EXPORT twUpdateTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY src/component/twupdate DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/twupdate/resources
        FILES_MATCHING PATTERN "*Data.txt" PATTERN "*-copyright.txt")
install(EXPORT twUpdateTargets NAMESPACE twUpdate::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/twUpdate)
configure_package_config_file(cmake/twUpdateConfig.cmake.in twUpdateConfig.cmake
        INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/twUpdate)
write_basic_package_version_file(twUpdateConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/twUpdateConfig.cmake
              ${CMAKE_BINARY_DIR}/twUpdateConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/twUpdate)
configure_file(cmake/twupdate.pc.in twupdate.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/twupdate.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
