# SPDX-License-Identifier: MIT
#
# 32-bit Arm with hard float, by Debian's g++-arm-linux-gnueabihf. Qt for Arm comes from the machine's
# own multiarch packages, such as qtbase5-dev:armhf, or from the target's root file system:
#
#   cmake -S . -B build/arm --toolchain cmake/toolchains/arm-linux-gnueabihf.cmake \
#       -DCMAKE_SYSROOT=ROOT -DHNIPC_QT=5 -DHNIPC_QML=OFF

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Programs that the build runs are this machine's; what it compiles and links with is the target's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
if(CMAKE_SYSROOT)
    set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
endif()
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
