# What a user might take instead, from the system's packages, each where it is installed.
find_package(PkgConfig)

# zrfl_add_peer(STANDARD MODULE SOURCE...): unless pkg-config knows no such module. STANDARD is what its headers need.
function(zrfl_add_peer standard module)
    if(PKG_CONFIG_FOUND)
        string(MAKE_C_IDENTIFIER "peer_${module}" peer)
        pkg_check_modules(${peer} QUIET IMPORTED_TARGET ${module})
        if(${peer}_FOUND)
            list(TRANSFORM ARGN PREPEND peers/ OUTPUT_VARIABLE sources)
            add_library(${peer} OBJECT ${sources})
            set_target_properties(${peer} PROPERTIES CXX_STANDARD ${standard})
            target_include_directories(${peer} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
            target_link_libraries(${peer} PRIVATE zrfl::cryptoopenssl OpenSSL::Crypto benchmark::benchmark
                                                  zrfl_warnings PkgConfig::${peer})
            target_link_libraries(benchmarks PRIVATE ${peer} PkgConfig::${peer})
        endif()
    endif()
endfunction()

zrfl_add_peer(20 botan-3 BotanPeer.cpp BotanKeysPeer.cpp)
if(NOT TARGET peer_botan_3)
    zrfl_add_peer(17 botan-2 BotanPeer.cpp BotanKeysPeer.cpp)
endif()
zrfl_add_peer(17 libcrypto++ CryptoPPPeer.cpp CryptoPPKeysPeer.cpp)
zrfl_add_peer(17 libsodium SodiumPeer.cpp)
