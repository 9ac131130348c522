# Debian packages by cpack, in the manner of Debian's own: each library in a package named after its soname, so that two
# versions with different sonames can be installed side by side; what a host is built with; and the pages.
find_program(gzip gzip REQUIRED)
find_program(dpkg_architecture dpkg-architecture REQUIRED)
find_program(dpkg_gensymbols dpkg-gensymbols REQUIRED)

set(CPACK_PACKAGE_CONTACT "The packager of zrflcrypto <packager@zrflcrypto.invalid>" CACHE STRING
    "Who answers for the Debian packages: a name and an address")

set(package_utils libzrflcryptoutils${PROJECT_VERSION_MAJOR})
set(package_openssl libzrflcryptoopenssl${PROJECT_VERSION_MAJOR})
set(package_dev libzrflcryptoopenssl-dev)
set(package_doc libzrflcryptoopenssl-doc)
set(debian_version ${PROJECT_VERSION}-1)
set(debian ${PROJECT_BINARY_DIR}/debian)

# Each has its changelog and copyright where Debian's tools look for them. SOURCE_DATE_EPOCH sets the date.
string(TIMESTAMP debian_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in ${debian}/changelog.Debian @ONLY)
execute_process(COMMAND ${gzip} -9nc ${debian}/changelog.Debian OUTPUT_FILE ${debian}/changelog.Debian.gz
    COMMAND_ERROR_IS_FATAL ANY)
foreach(part utils openssl dev doc)
    install(FILES cmake/debian/copyright ${debian}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_${part}} COMPONENT zrfl_${part})
endforeach()
install(FILES README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_dev}
    COMPONENT zrfl_doc)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_dev} COMPONENT zrfl_doc
    PATTERN CMakeLists.txt EXCLUDE PATTERN site EXCLUDE)

# What packages of hosts depend on, by symbols and by shlibs. Hosts call by slot, which no symbol shows, so each
# depends on the version that it was built with or a later one.
execute_process(COMMAND ${dpkg_architecture} -qDEB_HOST_ARCH OUTPUT_VARIABLE architecture
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${debian}/control "Source: zrflcrypto\n") # for dpkg-gensymbols
foreach(part utils openssl)
    set(library zrflcrypto${part})
    set(package ${package_${part}})
    string(TOUPPER ${library}_${PROJECT_VERSION_MAJOR} symbol_version)
    configure_file(cmake/debian/symbols.in ${debian}/${part}/symbols.in @ONLY)
    configure_file(cmake/debian/triggers ${debian}/${part}/triggers COPYONLY)
    add_custom_command(OUTPUT ${debian}/${part}/symbols
        COMMAND ${dpkg_gensymbols} -c4 -p${package} -v${debian_version} -e$<TARGET_FILE:${library}>
            -I${debian}/${part}/symbols.in -O${debian}/${part}/symbols
        DEPENDS ${library} WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)
    add_custom_target(debian_symbols_${part} ALL DEPENDS ${debian}/${part}/symbols)
    string(TOUPPER zrfl_${part} component)
    set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA ${debian}/${part}/symbols ${debian}/${part}/triggers)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_${component}_PACKAGE_SECTION libs)
endforeach()

# What each package says of itself: a line, and what follows.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_ZRFL_UTILS_DESCRIPTION "vocabulary of zrflcrypto
The exceptions, descriptors and other small classes that hosts of zrflcrypto
share.")
set(CPACK_DEBIAN_ZRFL_OPENSSL_DESCRIPTION "digests, ciphers, keys and signatures behind one object
Digests, HMAC, BLAKE2b, random bytes, PBKDF2, AES, RSA and elliptic-curve
keys, encryption and signatures over OpenSSL's libcrypto, behind abstract
interfaces whose binary form does not change.")
set(CPACK_DEBIAN_ZRFL_DEV_DESCRIPTION "headers of zrflcrypto
What programs that use zrflcrypto are built with: headers, a CMake package
and pkg-config files.")
set(CPACK_DEBIAN_ZRFL_DOC_DESCRIPTION "pages and examples of zrflcrypto
The pages of zrflcrypto, and short programs, one for each task a host has.")

set(CPACK_DEBIAN_ZRFL_OPENSSL_PACKAGE_DEPENDS "${package_utils} (= ${debian_version})")
set(CPACK_DEBIAN_ZRFL_DEV_PACKAGE_DEPENDS
    "${package_openssl} (= ${debian_version}), ${package_utils} (= ${debian_version})")
set(CPACK_DEBIAN_ZRFL_DEV_PACKAGE_SUGGESTS ${package_doc})
set(CPACK_DEBIAN_ZRFL_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_ZRFL_DOC_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_ZRFL_DOC_PACKAGE_ARCHITECTURE all)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zrflcrypto)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${architecture})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src/utils)
foreach(part utils openssl dev doc)
    list(APPEND CPACK_COMPONENTS_ALL zrfl_${part})
    string(TOUPPER zrfl_${part} component)
    set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${package_${part}})
endforeach()
include(CPack)
