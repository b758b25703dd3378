# SPDX-License-Identifier: MIT

if(NOT TARGET Qt6::DBus)
    message(STATUS "No tests of real modems: Qt6DBus was not found")
    return()
endif()

kestrun_test(modemmanager/tst_modemmanagermapping sdkModules)

find_program(DBUS_DAEMON dbus-daemon)
find_program(MODEM_MANAGER ModemManager PATHS /usr/sbin /usr/local/sbin)
find_program(MMCLI mmcli)
if(NOT DBUS_DAEMON OR NOT MODEM_MANAGER OR NOT MMCLI)
    message(STATUS "No tests with the modem daemon: it takes dbus-daemon, ModemManager and mmcli")
    return()
endif()

# modem_bed_program(SOURCE [LIBRARY...]): builds a test program that starts a message bus.
function(modem_bed_program source)
    kestrun_test_program(${source} Qt6::DBus Qt6::Network ${ARGN})
    cmake_path(GET source STEM program)
    target_compile_definitions(${program} PRIVATE
        DBUS_DAEMON="${DBUS_DAEMON}" MODEM_MANAGER="${MODEM_MANAGER}" MMCLI="${MMCLI}"
        BUS_CONFIGURATION="${PROJECT_SOURCE_DIR}/tests/data/modem-bus.conf"
        HOST="$<TARGET_FILE:kestrun>")
endfunction()

# modem_bed_test(NAME [LIBRARY...]): builds modemmanager/tst_NAME.cpp, and runs each of its functions
# as a test. Each function starts its own bus and mostly waits, so the functions run in parallel.
function(modem_bed_test name)
    set(program tst_${name})
    set(source modemmanager/${program}.cpp)
    modem_bed_program(${source} ${ARGN})
    file(STRINGS ${source} functions REGEX "^    void [a-zA-Z0-9_]+\\(\\)$")
    list(TRANSFORM functions REPLACE "^    void ([a-zA-Z0-9_]+).*" "\\1")
    list(REMOVE_ITEM functions init cleanup)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    if(NOT functions)
        message(FATAL_ERROR "No test function was found in ${source}")
    endif()
    foreach(function ${functions})
        add_test(NAME ${name}_${function} COMMAND ${program} ${function})
        set_tests_properties(${name}_${function} PROPERTIES
            TIMEOUT 120 COST 100 SKIP_RETURN_CODE 77)
    endforeach()
endfunction()

# Tests the host, the plug-in, the device service, the daemon and a scripted modem together.
modem_bed_test(modemmanager testschema)
add_dependencies(tst_modemmanager kestrun Kestrun)
# Tests the backend in the test's own process.
modem_bed_test(modemmanagermirror sdkModules)
# Tests the window with the daemon and a scripted modem.
if(KESTRUN_DASHBOARD)
    modem_bed_test(modemwindow dashboard)
    target_compile_definitions(tst_modemwindow PRIVATE
        PLUGIN_FILE="$<TARGET_FILE:Kestrun>" SDK_FILE="$<TARGET_SONAME_FILE:sdk>")
    # With Qt's widgets, Qt Test's headers have other content than the precompiled ones.
    set_target_properties(tst_modemwindow PROPERTIES DISABLE_PRECOMPILE_HEADERS ON)
endif()
