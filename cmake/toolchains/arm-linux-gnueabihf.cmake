# SPDX-License-Identifier: MIT
#
# 32-bit Arm with hard float, for Debian's g++-arm-linux-gnueabihf. Qt for Arm is found in the
# multiarch packages of this machine, such as qtbase5-dev:armhf, or in the root file system of the
# target:
#
#   cmake -S . -B build/armhf --toolchain cmake/toolchains/arm-linux-gnueabihf.cmake \
#       -DCMAKE_SYSROOT=ROOT -DHNIPC_QT=5 -DHNIPC_QML=OFF

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# The build runs programs of this machine, and compiles and links with files of the target.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
if(CMAKE_SYSROOT)
    set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
endif()
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
