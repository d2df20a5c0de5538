include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

install(TARGETS smtpclient EXPORT smtpclient-targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(NOT library_type STREQUAL STATIC_LIBRARY)  # A shared one links them itself.
    set(private_packages "")
    set(private_flags "")
endif()
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/smtpclient)
install(EXPORT smtpclient-targets NAMESPACE smtpclient:: DESTINATION ${package_dir}
    COMPONENT development)

configure_package_config_file(cmake/smtpclient-config.cmake.in smtpclient-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(smtpclient-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/smtpclient-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/smtpclient-config-version.cmake
    DESTINATION ${package_dir} COMPONENT development)

# Relative, so that the file also holds after an install to another prefix.
file(RELATIVE_PATH pc_to_prefix /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(cmake/smtpclient.pc.in smtpclient.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/smtpclient.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
