# What both shipped libraries have in common: the version, the soname, and exports by version script alone.
function(zrfl_shared_library target)
    cmake_parse_arguments(PARSE_ARGV 1 library "" "EXPORT_NAME" "")
    set(version_script ${PROJECT_SOURCE_DIR}/cmake/${target}.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${version_script} LINKER:--no-undefined-version)
    # dlclose() leaves the library in place, as it leaves libcrypto: objects and exceptions may outlive the last handle.
    target_link_options(${target} PRIVATE LINKER:-z,nodelete)
    if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    # An absolute path in the built file would leave its trace in the installed one: in the build ID, if nowhere else.
    set_target_properties(${target} PROPERTIES
        BUILD_RPATH_USE_ORIGIN ON
        EXPORT_NAME ${library_EXPORT_NAME}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LINK_DEPENDS ${version_script}
        INSTALL_RPATH "$ORIGIN"
        LINKER_LANGUAGE CXX)
endfunction()
