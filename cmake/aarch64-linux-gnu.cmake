# Cross-compiling for 64-bit Arm Linux with Debian's cross compiler
# (g++-aarch64-linux-gnu) against Debian's arm64 packages installed through
# multiarch (dpkg --add-architecture arm64). Programs built here run under
# qemu-aarch64, which CMake uses to run the tests (and gtest's test discovery).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Multiarch: arm64 libraries live in /usr/lib/aarch64-linux-gnu, headers in /usr/include.
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
find_program(TESSARO_QEMU_AARCH64 NAMES qemu-aarch64 qemu-aarch64-static)
if(TESSARO_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${TESSARO_QEMU_AARCH64} -L /usr/aarch64-linux-gnu)
endif()
