# Installs the build tree into a fresh prefix, then builds and runs a small host app against it
# with find_package(ZelmorMarkdownKit), and runs the installed executables.
# Run by ctest as: cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -P InstallCheck.cmake
include(${CMAKE_CURRENT_LIST_DIR}/CheckSupport.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run_checked(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The executables, libraries, package files and man pages are run, linked or read below; these
# two are not.
foreach(installed IN ITEMS include/zelmor/platform/Trash.h share/doc/zelmor-mcp/README.md)
    if(NOT EXISTS ${prefix}/${installed})
        message(FATAL_ERROR "not installed: ${installed}")
    endif()
endforeach()

# The pages carry the version the executables print.
foreach(page IN ITEMS zelmor-mcp zelmor-kit)
    run_checked(gzip -dc ${prefix}/share/man/man1/${page}.1.gz)
    expect_contains("${OUTPUT}" "the ${page} man page" "\"${page} ${VERSION}\"")
endforeach()

# Our warning flags are for our own code; a host app must not inherit them.
file(GLOB exported ${prefix}/${LIBDIR}/cmake/ZelmorMarkdownKit/*.cmake)
foreach(file IN LISTS exported)
    file(READ ${file} text)
    foreach(leak IN ITEMS -Werror -Wall zelmor_flags ${SOURCE_DIR} ${BUILD_DIR})
        string(FIND "${text}" "${leak}" at)
        if(NOT at EQUAL -1)
            message(FATAL_ERROR "${file} mentions ${leak}")
        endif()
    endforeach()
endforeach()

string(REPLACE "|" ";" prefix_path "${PREFIX_PATH}")
run_checked(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/consumer -B ${WORK_DIR}/consumer
            -G ${GENERATOR} -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}
            -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
            "-DCMAKE_PREFIX_PATH=${prefix};${prefix_path}")
run_checked(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)

set(examples ${prefix}/share/doc/zelmor-mcp/examples/transcripts)
run_checked(${WORK_DIR}/consumer/transcript_facts ${examples}/2026-11-10-ana-wenna-1-1.md)
expect_equal("${OUTPUT}" "title: Ana / Wenna 1:1
lower-cased: ana / wenna 1:1
date: 2026-11-10
participants: [\"Ana Ruiz\",\"Wenna Okafor\"]
marker: yes
turns: 11
first turn: t001-2a4cfd Ana Ruiz
day of the epoch: 1970-01-01
text twins beside it: 0
" "the host app's facts")

run_checked(${prefix}/bin/zelmor-mcp --version)
expect_equal("${OUTPUT}" "${VERSION}\n" "zelmor-mcp --version")
file(MAKE_DIRECTORY ${WORK_DIR}/home)
run_checked(${CMAKE_COMMAND} -E env HOME=${WORK_DIR}/home ${prefix}/bin/zelmor-kit doctor --folder ${examples})
expect_contains("${OUTPUT}" "zelmor-kit doctor" "  ok       8 meetings, the newest \"Ana / Wenna 1:1\" of 2026-11-10\n"
                "No problems found.\n")

file(REMOVE_RECURSE ${WORK_DIR})
