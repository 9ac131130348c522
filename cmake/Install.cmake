# The installed package: headers, both libraries, a relocatable CMake package, pkg-config files and a bill of materials.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# The library loads the provider module, and hands it PINs, from the one directory that it was built for; whoever may
# write to a clone or a build directory would decide what an installed library loads. This stands before all that is
# installed, and with every component.
file(REAL_PATH "${ZRFL_PKCS11_PROVIDER_DIR}" real_provider_directory)
foreach(tree "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}" "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}")
    file(REAL_PATH "${tree}" real_tree)
    cmake_path(IS_PREFIX tree "${ZRFL_PKCS11_PROVIDER_DIR}" NORMALIZE is_named_inside)
    cmake_path(IS_PREFIX real_tree "${real_provider_directory}" is_inside)
    if(is_named_inside OR is_inside)
        install(CODE "
            if(NOT \"\$ENV{ZRFL_INSTALL_FOR_TRIAL}\" STREQUAL 1)
                message(FATAL_ERROR
                    [==[The library would load pkcs11prov.so, and hand it PINs, from ${ZRFL_PKCS11_PROVIDER_DIR}, which \
belongs to the clone or the build directory. Configure a build with -DZRFL_PKCS11_PROVIDER_DIR= and a directory that \
only the system's administrator may write to; or, for a trial that nobody else uses, install with the environment \
variable ZRFL_INSTALL_FOR_TRIAL=1.]==])
            endif()" ALL_COMPONENTS)
        break()
    endif()
endforeach()

# What hosts run with and what they are built with are components of their own, for packages.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME zrfl_dev)
foreach(part utils openssl)
    install(TARGETS zrflcrypto${part} EXPORT zrflcryptoopenssl-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT zrfl_${part} NAMELINK_COMPONENT zrfl_dev
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endforeach()

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

include(cmake/BillOfMaterials.cmake)
install(FILES ${bill_of_materials} DESTINATION ${CMAKE_INSTALL_DATADIR}/zrflcrypto)

if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake
        WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)
endif()
if(ZRFL_DEBIAN_PACKAGES)
    include(cmake/DebianPackages.cmake)
endif()
