# SPDX-License-Identifier: MIT
#
# The differences between the Qt majors in the build: how Qt is found, the names of Qt's libraries,
# and our names, which differ so that several builds can be installed side by side.

set(HNIPC_QT "" CACHE STRING "Qt major to build for: 4, 5 or 6; default: the newest of 6 and 5 that is installed")
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
    # CMake finds Qt 4 through qmake; its targets have longer names.
    find_package(Qt4 4.8 REQUIRED QtCore QtDBus)
    set(HNIPC_QT_LIBRARIES Qt4::QtCore Qt4::QtDBus)
    set(HNIPC_QT_TEST Qt4::QtTest)
    set(HNIPC_QT_REQUIRES "QtCore QtDBus")
    set(HNIPC_CXX_STANDARD 11)
    set(HNIPC_NAME_SUFFIX "")
    set(HNIPC_PACKAGE_NAME HNIPC)
elseif(HNIPC_QT EQUAL 5)
    # Qt 5 takes moc from beside its headers; in a cross build that is the target's moc. Later
    # majors look for the host's moc themselves.
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

# The module needs the QML of Qt 5 or 6. By default, it is installed where Qt searches for modules.
if(NOT HNIPC_QT EQUAL 4)
    set(HNIPC_QML AUTO CACHE STRING "The QML module and the front panel: ON, OFF, or AUTO to build them if Qt's QML is found")
    set_property(CACHE HNIPC_QML PROPERTY STRINGS AUTO ON OFF)
    set(HNIPC_QML_DIR ${CMAKE_INSTALL_LIBDIR}/qt${HNIPC_QT}/qml CACHE STRING
        "Directory of QML modules, relative to the prefix")
    # In the build tree, the panel finds the module at the same relative path as when installed.
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
