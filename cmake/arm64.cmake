# The toolchain of the preset "arm64": Debian's cross compiler for 64-bit Arm, and an emulator for what it builds.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc) # for GoogleTest's own build alone
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)

# The host's packages are for the host's processor.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What tools/test-arm64 fills, in place of .runtime/.
set(development_runtime "${CMAKE_CURRENT_LIST_DIR}/../.runtime-arm64/runtime.cmake")
