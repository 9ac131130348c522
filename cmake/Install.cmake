# The installed package: headers, both libraries, a relocatable CMake package and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS zrflcryptoutils zrflcryptoopenssl EXPORT zrflcryptoopenssl-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/zrflcryptoopenssl)
install(EXPORT zrflcryptoopenssl-targets NAMESPACE zrfl:: DESTINATION ${package_directory})
configure_package_config_file(cmake/zrflcryptoopenssl-config.cmake.in zrflcryptoopenssl-config.cmake
    INSTALL_DESTINATION ${package_directory} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(zrflcryptoopenssl-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/zrflcryptoopenssl-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/zrflcryptoopenssl-config-version.cmake
    DESTINATION ${package_directory})

# pkg-config resolves ${pcfiledir}, so the files stay right when the prefix is moved.
file(RELATIVE_PATH prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
foreach(package zrflcryptoutils zrflcryptoopenssl)
    configure_file(cmake/${package}.pc.in ${package}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
