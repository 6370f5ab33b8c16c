# SPDX-License-Identifier: MIT
#
# The rules of the system bus for the daemons, made from what the tree says of them: their names in
# the table of identities, their pulse operations in the descriptions of the interfaces.

set(HNIPC_DAEMON_USER root CACHE STRING "The user whom the daemons run as")
set(HNIPC_CLIENT_GROUP hnipc CACHE STRING "The group whose members may call the daemons")

set(HNIPC_IDENTITIES ${PROJECT_SOURCE_DIR}/src/common/serviceidentity.cpp)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${HNIPC_IDENTITIES})

# hnipc_write_policy(file user group)
function(hnipc_write_policy file HNIPC_DAEMON_USER HNIPC_CLIENT_GROUP)
    foreach(name IN ITEMS "${HNIPC_DAEMON_USER}" "${HNIPC_CLIENT_GROUP}")
        if(NOT name MATCHES "^[A-Za-z_][A-Za-z0-9_.-]*$" OR name MATCHES "--")
            message(FATAL_ERROR "\"${name}\" cannot be a user or a group of the bus policy.")
        endif()
    endforeach()

    file(READ ${HNIPC_IDENTITIES} identities)
    if(NOT identities MATCHES "#define BUS_NAME_PREFIX \"([a-z.]+)\"")
        message(FATAL_ERROR "${HNIPC_IDENTITIES} states no prefix of the bus names.")
    endif()
    set(prefix ${CMAKE_MATCH_1})
    set(daemon "BUS_NAME_PREFIX \"([.a-z0-9]+)\"\\), path,")
    string(APPEND daemon "[ \n]*QLatin1String\\(\"([A-Za-z0-9.]+)\"\\)")
    string(REGEX MATCHALL "${daemon}" daemons "${identities}")
    list(LENGTH daemons count)
    if(NOT count EQUAL 3)
        message(FATAL_ERROR "${HNIPC_IDENTITIES} names ${count} daemons in a known form, not 3.")
    endif()

    foreach(identity IN LISTS daemons)
        string(REGEX MATCH "${daemon}" identity "${identity}")
        set(bus_name "${prefix}${CMAKE_MATCH_1}")
        set(interface "${CMAKE_MATCH_2}")
        set(to "send_destination=\"${bus_name}\"")
        set(call_to "send_type=\"method_call\" ${to}")

        # A rule for an interface stands with a destination, or with a type that has to have one:
        # otherwise it would hit calls that name none, of whatever service.
        set(signals "send_type=\"signal\" send_interface=\"${interface}\"")
        string(APPEND rules_for_all
            "    <deny own=\"${bus_name}\"/>\n"
            "    <deny ${call_to}/>\n"
            "    <deny ${signals}/>\n")
        string(APPEND rules_for_daemons
            "    <allow own=\"${bus_name}\"/>\n"
            "    <allow ${to}/>\n"
            "    <allow ${signals}/>\n")
        # Qt's proxies introspect first; Peer tells whether a daemon answers at all. Of properties,
        # which Qt asks for where there are some, the interfaces have none.
        string(APPEND rules_for_clients
            "    <allow ${call_to} send_interface=\"${interface}\"/>\n"
            "    <allow ${call_to} send_interface=\"org.freedesktop.DBus.Introspectable\"/>\n"
            "    <allow ${call_to} send_interface=\"org.freedesktop.DBus.Peer\"/>\n")

        set(description ${PROJECT_SOURCE_DIR}/interfaces/${interface}.xml)
        set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND
            PROPERTY CMAKE_CONFIGURE_DEPENDS ${description})
        # By their names, which nothing else has: the descriptions say it in no other way.
        set(pulse "<method name=\"(pulse[A-Za-z0-9]+Signal)\"")
        file(STRINGS ${description} pulses REGEX "${pulse}")
        list(TRANSFORM pulses REPLACE ".*${pulse}.*" "\\1")
        list(REMOVE_DUPLICATES pulses) # overloads
        if(NOT pulses)
            message(FATAL_ERROR "${description} describes no pulse operation.")
        endif()
        foreach(member IN LISTS pulses)
            string(APPEND rules_for_clients
                "    <deny ${to} send_interface=\"${interface}\" send_member=\"${member}\"/>\n")
        endforeach()
    endforeach()

    configure_file(${PROJECT_SOURCE_DIR}/data/org.hnipc.conf.in ${file} @ONLY)
endfunction()

hnipc_write_policy(${PROJECT_BINARY_DIR}/org.hnipc.conf
    "${HNIPC_DAEMON_USER}" "${HNIPC_CLIENT_GROUP}")
install(FILES ${PROJECT_BINARY_DIR}/org.hnipc.conf
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d)
