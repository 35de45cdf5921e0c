# Builds for 64-bit ARM devices with Debian's cross compiler. The arm64 libraries stand in
# SHEAF_ARM64_ROOT (scripts/setup-arm64 makes it); what is built runs under qemu's user emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(SHEAF_ARM64_ROOT "${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root" CACHE PATH "Folder with the arm64 libraries")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SHEAF_ARM64_ROOT)
cmake_path(NORMAL_PATH SHEAF_ARM64_ROOT)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_SYSROOT "${SHEAF_ARM64_ROOT}")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L "${SHEAF_ARM64_ROOT}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${SHEAF_ARM64_ROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${SHEAF_ARM64_ROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${SHEAF_ARM64_ROOT}")
