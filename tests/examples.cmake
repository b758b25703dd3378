# SPDX-License-Identifier: MIT

# Installs the build folder BUILD, builds the examples of the source folder SOURCE against what was
# installed, and runs them. LIBDIR is where the plug-in is below the prefix; WORK is emptied.
set(prefix ${WORK}/prefix)
set(root ${WORK}/root)
set(report "${root}/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/OnlineUpdate Data/UpdateRule.dat")

# Runs a program with a closed input; ends the test if it fails.
function(run)
    execute_process(COMMAND ${ARGV} INPUT_FILE /dev/null WORKING_DIRECTORY ${WORK}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Runs a program; ends the test if the report does not have the IMEI afterwards.
function(run_and_expect imei)
    file(REMOVE ${report})
    run(${ARGN})
    file(READ ${report} content)
    if(NOT content MATCHES "<IMEI>${imei}</IMEI>")
        message(FATAL_ERROR "The report of ${ARGN} does not have the IMEI \"${imei}\"")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${root})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
foreach(project . sdk-skeleton)
    run(${CMAKE_COMMAND} -G Ninja -S ${SOURCE}/${project} -B ${WORK}/${project}
        -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_C_COMPILER=${C_COMPILER}
        -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
    run(${CMAKE_COMMAND} --build ${WORK}/${project})
endforeach()

set(kestrun ${prefix}/bin/kestrun report --root ${root})
run_and_expect(490154203237518 ${kestrun})
run_and_expect(490154203237518 ${WORK}/example_dashboard ${root})
foreach(example loader plain)
    run_and_expect(490154203237518
        ${WORK}/example_${example} ${prefix}/${LIBDIR}/libKestrun.so ${root})
endforeach()
run_and_expect("" ${kestrun} --sdk ${WORK}/sdk-skeleton/libsdk.so.1)
run(${prefix}/bin/kestrun check --sdk ${WORK}/sdk-skeleton/libsdk.so.1)
