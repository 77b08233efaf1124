# Helpers shared by the install and package checks: run a command and stop on failure, and
# look for exact text in what it printed.

# Runs a command; stops the check with its output unless it exits 0. The output is left in OUTPUT.
function(run_checked)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "failed (${status}): ${command}\n--- stdout\n${out}\n--- stderr\n${err}")
    endif()
    set(OUTPUT "${out}" PARENT_SCOPE)
endfunction()

# Stops the check unless TEXT holds every one of the following strings.
function(expect_contains text what)
    foreach(expected IN LISTS ARGN)
        string(FIND "${text}" "${expected}" at)
        if(at EQUAL -1)
            message(FATAL_ERROR "${what} lacks \"${expected}\":\n${text}")
        endif()
    endforeach()
endfunction()

function(expect_equal actual expected what)
    if(NOT actual STREQUAL expected)
        message(FATAL_ERROR "${what}: expected\n${expected}\n--- but got\n${actual}")
    endif()
endfunction()
