# What a user might take instead, from the system's packages, each where it is installed.
find_package(PkgConfig)

# zrfl_add_peer(SOURCE STANDARD MODULE): unless pkg-config knows no such module. STANDARD is what its headers need.
function(zrfl_add_peer source standard module)
    if(PKG_CONFIG_FOUND)
        string(MAKE_C_IDENTIFIER "peer_${module}" peer)
        pkg_check_modules(${peer} QUIET IMPORTED_TARGET ${module})
        if(${peer}_FOUND)
            add_library(${peer} OBJECT peers/${source})
            set_target_properties(${peer} PROPERTIES CXX_STANDARD ${standard})
            target_include_directories(${peer} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
            target_link_libraries(${peer} PRIVATE zrfl::cryptoopenssl OpenSSL::Crypto benchmark::benchmark
                                                  zrfl_warnings PkgConfig::${peer})
            target_link_libraries(benchmarks PRIVATE ${peer} PkgConfig::${peer})
        endif()
    endif()
endfunction()

zrfl_add_peer(BotanPeer.cpp 20 botan-3)
if(NOT TARGET peer_botan_3)
    zrfl_add_peer(BotanPeer.cpp 17 botan-2)
endif()
zrfl_add_peer(CryptoPPPeer.cpp 17 libcrypto++)
zrfl_add_peer(SodiumPeer.cpp 17 libsodium)
