# Cross build for 64-bit ARM Linux on Debian's compiler, with the sysroot and the emulator that scripts/setup-aarch64 makes.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

get_filename_component(tavo_cross_dir "${CMAKE_CURRENT_LIST_DIR}/../../build" ABSOLUTE)
set(CMAKE_SYSROOT "${tavo_cross_dir}/aarch64-sysroot")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# Qt finds its plugins by a path that the emulator does not map into the sysroot.
set(CMAKE_CROSSCOMPILING_EMULATOR "${tavo_cross_dir}/aarch64-qemu/qemu-aarch64" -L "${CMAKE_SYSROOT}"
    -E "QT_PLUGIN_PATH=${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/qt5/plugins")
