# SPDX-License-Identifier: MIT
#
# The rules of the system bus for the daemons. The pulse operations, which applications may not call,
# are those of the interface descriptions.

set(HNIPC_DAEMON_USER root CACHE STRING "The user that the daemons run as")
set(HNIPC_CLIENT_GROUP hnipc CACHE STRING "The group whose members may call the daemons")

# hnipc_write_policy(file user group)
function(hnipc_write_policy file HNIPC_DAEMON_USER HNIPC_CLIENT_GROUP)
    foreach(name IN ITEMS "${HNIPC_DAEMON_USER}" "${HNIPC_CLIENT_GROUP}")
        if(NOT name MATCHES "^[A-Za-z_][A-Za-z0-9_.-]*$" OR name MATCHES "--")
            message(FATAL_ERROR "\"${name}\" is not a valid user or group name for the bus policy.")
        endif()
    endforeach()

    foreach(daemon IN ITEMS IOEXPD M4 SUPPLYD)
        string(TOLOWER "org.hnipc.${daemon}" bus_name)
        set(interface local.IHNIPC${daemon})
        set(to "send_destination=\"${bus_name}\"")
        set(call_to "send_type=\"method_call\" ${to}")

        # A rule for an interface names a destination as well, or a type of message that always has
        # an interface. Otherwise it would match calls without an interface to any service.
        set(signals "send_type=\"signal\" send_interface=\"${interface}\"")
        string(APPEND rules_for_all
            "    <deny own=\"${bus_name}\"/>\n"
            "    <deny ${call_to}/>\n"
            "    <deny ${signals}/>\n")
        string(APPEND rules_for_daemons
            "    <allow own=\"${bus_name}\"/>\n"
            "    <allow ${to}/>\n"
            "    <allow ${signals}/>\n")
        # Qt's proxies call Introspectable first. Peer shows whether a daemon replies at all. The
        # interfaces have no properties, so clients need no access to Properties.
        string(APPEND rules_for_clients
            "    <allow ${call_to} send_interface=\"${interface}\"/>\n"
            "    <allow ${call_to} send_interface=\"org.freedesktop.DBus.Introspectable\"/>\n"
            "    <allow ${call_to} send_interface=\"org.freedesktop.DBus.Peer\"/>\n")

        set(description ${PROJECT_SOURCE_DIR}/interfaces/${interface}.xml)
        set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND
            PROPERTY CMAKE_CONFIGURE_DEPENDS ${description})
        # Pulse operations are recognized by their names: the descriptions do not mark them
        # otherwise.
        set(pulse "<method name=\"(pulse[A-Za-z0-9]+Signal)\"")
        file(STRINGS ${description} pulses REGEX "${pulse}")
        list(TRANSFORM pulses REPLACE ".*${pulse}.*" "\\1")
        list(REMOVE_DUPLICATES pulses) # overloads
        if(NOT pulses)
            message(FATAL_ERROR "${description} contains no pulse operation.")
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
