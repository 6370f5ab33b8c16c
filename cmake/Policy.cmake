# SPDX-License-Identifier: MIT
#
# Generates the bus policy for the daemons, and the users of the daemons. The pulse operations, which
# applications may not call, are read from the interface descriptions.

set(HNIPC_DAEMON_USER root CACHE STRING "The user of the daemons that have no user of their own")
set(HNIPC_IOEXPD_USER "" CACHE STRING "The user of the I/O expander's daemon")
set(HNIPC_M4_USER "" CACHE STRING "The user of the print engine's daemon")
set(HNIPC_SUPPLYD_USER "" CACHE STRING "The user of the supply daemon")
set(HNIPC_CLIENT_GROUP hnipc CACHE STRING "The group whose members may call the daemons")
option(HNIPC_PRIVATE_EVENTS "Only the group and the daemons receive the daemons' signals" OFF)

function(hnipc_check_name name)
    if(NOT name MATCHES "^[A-Za-z_][A-Za-z0-9_.-]*$" OR name MATCHES "--")
        message(FATAL_ERROR "\"${name}\" is not a valid user or group name for the bus policy.")
    endif()
endfunction()

set(HNIPC_DAEMONS IOEXPD M4 SUPPLYD)
set(HNIPC_DAEMON_USERS) # in the same order
foreach(daemon IN LISTS HNIPC_DAEMONS)
    set(user "${HNIPC_${daemon}_USER}")
    if(user STREQUAL "")
        set(user "${HNIPC_DAEMON_USER}")
    endif()
    hnipc_check_name("${user}")
    list(APPEND HNIPC_DAEMON_USERS "${user}")
endforeach()
hnipc_check_name("${HNIPC_CLIENT_GROUP}")

# hnipc_write_policy(file group users [PRIVATE_EVENTS]): users are those of HNIPC_DAEMONS.
function(hnipc_write_policy file HNIPC_CLIENT_GROUP users)
    cmake_parse_arguments(POLICY "PRIVATE_EVENTS" "" "" ${ARGN})
    set(who_receives "receive the signals")
    if(POLICY_PRIVATE_EVENTS)
        set(who_receives "do not receive the signals")
    endif()
    foreach(daemon IN LISTS HNIPC_DAEMONS)
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
        string(CONCAT rules_to_be_${daemon}
            "    <allow own=\"${bus_name}\"/>\n"
            "    <allow ${call_to}/>\n"
            "    <allow ${signals}/>\n")
        # Qt's proxies call Introspectable first. Peer shows whether a daemon replies at all. The
        # interfaces have no properties, so clients need no access to Properties.
        string(CONCAT rules_to_call_${daemon}
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
            string(APPEND rules_to_call_${daemon}
                "    <deny ${to} send_interface=\"${interface}\" send_member=\"${member}\"/>\n")
        endforeach()

        if(POLICY_PRIVATE_EVENTS)
            set(received "receive_type=\"signal\" receive_interface=\"${interface}\"")
            string(APPEND rules_for_all "    <deny ${received}/>\n")
            string(APPEND rules_to_be_${daemon} "    <allow ${received}/>\n")
            string(APPEND rules_to_call_${daemon} "    <allow ${received}/>\n")
        endif()
        string(APPEND rules_for_clients "${rules_to_call_${daemon}}")
    endforeach()

    # One element for each user, with the rules either to be a daemon or to call it. With an element
    # for each daemon, a rule to call could override a rule to be one, because the last one applies.
    set(names ${users})
    list(REMOVE_DUPLICATES names)
    foreach(name IN LISTS names)
        string(APPEND policies_of_daemons "\n  <policy user=\"${name}\">\n")
        foreach(number RANGE 2)
            list(GET HNIPC_DAEMONS ${number} daemon)
            list(GET users ${number} user)
            if(user STREQUAL name)
                string(APPEND policies_of_daemons "${rules_to_be_${daemon}}")
            else()
                string(APPEND policies_of_daemons "${rules_to_call_${daemon}}")
            endif()
        endforeach()
        string(APPEND policies_of_daemons "  </policy>\n")
    endforeach()
    list(JOIN names ", " names)

    configure_file(${PROJECT_SOURCE_DIR}/data/org.hnipc.conf.in ${file} @ONLY)
endfunction()

set(private_events)
if(HNIPC_PRIVATE_EVENTS)
    set(private_events PRIVATE_EVENTS)
endif()
hnipc_write_policy(${PROJECT_BINARY_DIR}/org.hnipc.conf
    "${HNIPC_CLIENT_GROUP}" "${HNIPC_DAEMON_USERS}" ${private_events})
install(FILES ${PROJECT_BINARY_DIR}/org.hnipc.conf
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d)

# hnipc_write_sysusers(file group users): for systemd-sysusers. Every system has root.
function(hnipc_write_sysusers file group users)
    list(REMOVE_DUPLICATES users)
    list(REMOVE_ITEM users root)
    set(lines "g ${group} -\n")
    foreach(user IN LISTS users)
        string(APPEND lines "u ${user} - \"Daemon of the label printer\"\n")
    endforeach()
    configure_file(${PROJECT_SOURCE_DIR}/data/hnipc.sysusers.in ${file} @ONLY)
endfunction()

hnipc_write_sysusers(${PROJECT_BINARY_DIR}/hnipc.sysusers
    "${HNIPC_CLIENT_GROUP}" "${HNIPC_DAEMON_USERS}")
install(FILES ${PROJECT_BINARY_DIR}/hnipc.sysusers DESTINATION lib/sysusers.d RENAME hnipc.conf)
