# SPDX-License-Identifier: MIT

if(NOT TARGET Qt6::SerialPort)
    message(STATUS "No tests of cards on ports: Qt6SerialPort was not found")
    return()
endif()

# Debian's own interpreter: its packages are not there for another one.
find_program(PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)

kestrun_test(serial/tst_serialparser sdkModules)
target_compile_definitions(tst_serialparser PRIVATE
    PYTHON="${PYTHON}" TPDU_DECODER="${CMAKE_CURRENT_SOURCE_DIR}/serial/decode-tpdus.py"
    MODEM_FILES="${PROJECT_SOURCE_DIR}/examples/modems")

kestrun_test(serial/tst_serialcard testschema sdkModules)
target_compile_definitions(tst_serialcard PRIVATE
    HOST="$<TARGET_FILE:kestrun>" MODEM_FILES="${PROJECT_SOURCE_DIR}/examples/modems"
    VALUES="${PROJECT_SOURCE_DIR}/tests/data/values-of-modems.txt")
add_dependencies(tst_serialcard kestrun Kestrun)
set_tests_properties(tst_serialcard PROPERTIES COST 150)

kestrun_test(serial/tst_serialservice sdkModules)

# Compares with the modem daemon.
if(COMMAND modem_bed_program)
    modem_bed_program(serial/tst_serialdaemon.cpp)
    add_dependencies(tst_serialdaemon kestrun Kestrun)
    add_test(NAME tst_serialdaemon COMMAND tst_serialdaemon)
    set_tests_properties(tst_serialdaemon PROPERTIES COST 100 SKIP_RETURN_CODE 77)
endif()
