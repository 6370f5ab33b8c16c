# SPDX-License-Identifier: MIT

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${HNIPC_PACKAGE_NAME})

install(TARGETS hnipc hnipcasync EXPORT ${HNIPC_PACKAGE_NAME}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${HNIPC_PUBLIC_HEADERS} ${HNIPC_ASYNC_PUBLIC_HEADERS}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/hnipc)
install(FILES
    interfaces/local.IHNIPCIOEXPD.xml
    interfaces/local.IHNIPCM4.xml
    interfaces/local.IHNIPCSUPPLYD.xml
    interfaces/org.hnipc.Simulator.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces)

install(EXPORT ${HNIPC_PACKAGE_NAME}Targets NAMESPACE HNIPC:: DESTINATION ${package_dir})
configure_package_config_file(data/HNIPCConfig.cmake.in ${HNIPC_PACKAGE_NAME}Config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${HNIPC_PACKAGE_NAME}ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/${HNIPC_PACKAGE_NAME}Config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/${HNIPC_PACKAGE_NAME}ConfigVersion.cmake
    DESTINATION ${package_dir})

# hnipc_pc_path(result dir): the directory as a .pc file names it.
function(hnipc_pc_path result dir)
    if(NOT IS_ABSOLUTE "${dir}")
        string(PREPEND dir "\${prefix}/")
    endif()
    set(${result} "${dir}" PARENT_SCOPE)
endfunction()
hnipc_pc_path(pc_libdir "${CMAKE_INSTALL_LIBDIR}")
hnipc_pc_path(pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")

# Configured twice, because "cmake --install --prefix" can change the prefix.
set(prefix_at_install "@CMAKE_INSTALL_PREFIX@")
function(hnipc_install_pc library requires)
    set(pc_name ${library}${HNIPC_NAME_SUFFIX})
    set(pc_requires ${requires})
    set(pc_file ${PROJECT_BINARY_DIR}/${pc_name}.pc)
    configure_file(data/hnipc.pc.in ${pc_file}.in @ONLY)
    install(CODE "configure_file(\"${pc_file}.in\" \"${pc_file}\" @ONLY)" COMPONENT pkgconfig)
    install(FILES ${pc_file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT pkgconfig)
endfunction()
hnipc_install_pc(hnipc "${HNIPC_QT_REQUIRES}")
hnipc_install_pc(hnipcasync hnipc${HNIPC_NAME_SUFFIX})
