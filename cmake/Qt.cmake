# SPDX-License-Identifier: MIT
#
# All that differs between the Qt majors as far as the build is concerned: how Qt is found, what
# its libraries are called, and what ours is called so that several can be installed side by side.

set(HNIPC_QT "" CACHE STRING "Qt major to build for: 4, 5 or 6; empty for the newest of 6 and 5")
set_property(CACHE HNIPC_QT PROPERTY STRINGS "" 4 5 6)

if(NOT HNIPC_QT)
    find_package(Qt6 6.4 QUIET COMPONENTS Core DBus)
    if(Qt6_FOUND)
        set(HNIPC_QT 6)
    else()
        set(HNIPC_QT 5)
    endif()
endif()

if(HNIPC_QT EQUAL 4)
    # Qt 4's own headers are looked up through qmake, and its targets have longer names.
    find_package(Qt4 4.8 REQUIRED QtCore QtDBus)
    set(HNIPC_QT_LIBRARIES Qt4::QtCore Qt4::QtDBus)
    set(HNIPC_QT_TEST Qt4::QtTest)
    set(HNIPC_QT_REQUIRES "QtCore QtDBus")
    set(HNIPC_CXX_STANDARD 11)
    set(HNIPC_NAME_SUFFIX "")
    set(HNIPC_PACKAGE_NAME HNIPC)
elseif(HNIPC_QT EQUAL 5)
    # Qt 5 takes its tools from beside its headers, where a cross build has the target's. The later
    # majors look for the host's themselves.
    if(CMAKE_CROSSCOMPILING AND NOT TARGET Qt5::moc)
        find_program(HNIPC_MOC moc PATHS /usr/lib/qt5/bin REQUIRED
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
        add_executable(Qt5::moc IMPORTED)
        set_target_properties(Qt5::moc PROPERTIES IMPORTED_LOCATION ${HNIPC_MOC})
    endif()
    find_package(Qt5 5.15 REQUIRED COMPONENTS Core DBus)
    set(HNIPC_QT_LIBRARIES Qt5::Core Qt5::DBus)
    set(HNIPC_QT_TEST Qt5::Test)
    set(HNIPC_QT_REQUIRES "Qt5Core Qt5DBus")
    set(HNIPC_CXX_STANDARD 11)
    set(HNIPC_NAME_SUFFIX -qt5)
    set(HNIPC_PACKAGE_NAME HNIPCQt5)
elseif(HNIPC_QT EQUAL 6)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Core DBus)
    set(HNIPC_QT_LIBRARIES Qt6::Core Qt6::DBus)
    set(HNIPC_QT_TEST Qt6::Test)
    set(HNIPC_QT_REQUIRES "Qt6Core Qt6DBus")
    set(HNIPC_CXX_STANDARD 17)
    set(HNIPC_NAME_SUFFIX -qt6)
    set(HNIPC_PACKAGE_NAME HNIPCQt6)
else()
    message(FATAL_ERROR "HNIPC_QT is \"${HNIPC_QT}\"; it has to be 4, 5 or 6.")
endif()
message(STATUS "HNIPC ${PROJECT_VERSION} for Qt ${HNIPC_QT}")

# Qt 4 has another QML. Where Qt looks for modules below its own prefix is the default place.
if(NOT HNIPC_QT EQUAL 4)
    set(HNIPC_QML AUTO CACHE STRING "The QML module and the panel: ON, OFF, or AUTO for what Qt's part is found of")
    set_property(CACHE HNIPC_QML PROPERTY STRINGS AUTO ON OFF)
    set(HNIPC_QML_DIR ${CMAKE_INSTALL_LIBDIR}/qt${HNIPC_QT}/qml CACHE STRING
        "Where QML modules are installed, relative to the prefix")
    # Where the panel finds them, from its own place, in the build tree as when it is installed.
    set(HNIPC_QML_BUILD_DIR ${PROJECT_BINARY_DIR}/${HNIPC_QML_DIR})
    if(IS_ABSOLUTE "${HNIPC_QML_DIR}")
        set(HNIPC_QML_BUILD_DIR ${PROJECT_BINARY_DIR}/qml-modules)
    endif()
    if(HNIPC_QML STREQUAL AUTO)
        find_package(Qt${HNIPC_QT} QUIET COMPONENTS Qml)
    elseif(HNIPC_QML)
        find_package(Qt${HNIPC_QT} REQUIRED COMPONENTS Qml)
    endif()
    set(HNIPC_QT_QML Qt${HNIPC_QT}::Qml)
endif()

if(BUILD_TESTING)
    if(HNIPC_QT EQUAL 4)
        find_package(Qt4 4.8 REQUIRED QtCore QtDBus QtTest)
    else()
        find_package(Qt${HNIPC_QT} REQUIRED COMPONENTS Test)
    endif()
endif()
