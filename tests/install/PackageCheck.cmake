# Builds the Debian package from the build tree with CPack and inspects it: its name, its control
# fields (runtime libraries in Depends), its contents, the executables it unpacks, and, where
# lintian is installed, Debian's policy checks (no error may remain).
# Run by ctest as: cmake -DBUILD_DIR=... -DWORK_DIR=... -DCPACK=... -DDPKG_DEB=... [-DLINTIAN=...]
#                  -P PackageCheck.cmake
include(${CMAKE_CURRENT_LIST_DIR}/CheckSupport.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
run_checked(${CPACK} -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR})

run_checked(dpkg --print-architecture)
string(STRIP "${OUTPUT}" architecture)
file(GLOB packages RELATIVE ${WORK_DIR} ${WORK_DIR}/*.deb)
expect_equal("${packages}" "zelmor-mcp_${DEB_VERSION}_${architecture}.deb" "the package file")
set(package ${WORK_DIR}/${packages})

run_checked(${DPKG_DEB} -I ${package})
expect_contains("${OUTPUT}" "dpkg-deb -I" " Package: zelmor-mcp\n" " Version: ${DEB_VERSION}\n"
                " Architecture: ${architecture}\n" " Section: utils\n" " Suggests: cmake, g++, libicu-dev")
if(NOT OUTPUT MATCHES "\n Depends: ([^\n]*)\n")
    message(FATAL_ERROR "no Depends field:\n${OUTPUT}")
endif()
set(depends "${CMAKE_MATCH_1}")
foreach(library IN ITEMS "libc6 " "libstdc\\+\\+6 " "libicu[0-9]+ ")
    if(NOT "${depends} " MATCHES "(^|, )${library}")
        message(FATAL_ERROR "Depends lacks ${library}: ${depends}")
    endif()
endforeach()

run_checked(${DPKG_DEB} -c ${package})
set(listing "${OUTPUT}")
foreach(path IN ITEMS
        usr/${LIBDIR}/libZelmorMarkdownKit.a
        usr/${LIBDIR}/libZelmorPlatform.a
        usr/${LIBDIR}/cmake/ZelmorMarkdownKit/ZelmorMarkdownKitConfig.cmake
        usr/${LIBDIR}/cmake/ZelmorMarkdownKit/ZelmorMarkdownKitConfigVersion.cmake
        usr/${LIBDIR}/cmake/ZelmorMarkdownKit/ZelmorMarkdownKitTargets.cmake
        usr/include/zelmor/ZelmorMarkdownKit/format/MarkdownTranscriptParser.h
        usr/include/zelmor/platform/Trash.h
        usr/share/man/man1/zelmor-mcp.1.gz
        usr/share/man/man1/zelmor-kit.1.gz
        usr/share/doc/zelmor-mcp/README.md
        usr/share/doc/zelmor-mcp/copyright
        usr/share/doc/zelmor-mcp/changelog.Debian.gz
        usr/share/doc/zelmor-mcp/examples/transcripts/2026-11-10-ana-wenna-1-1.md)
    expect_contains("${listing}" "dpkg-deb -c" " ./${path}\n")
endforeach()
foreach(absent IN ITEMS tests/ _test googletest gtest make_corpus)
    string(FIND "${listing}" "${absent}" at)
    if(NOT at EQUAL -1)
        message(FATAL_ERROR "the package holds test files (${absent}):\n${listing}")
    endif()
endforeach()

run_checked(${DPKG_DEB} -x ${package} ${WORK_DIR}/root)
run_checked(${WORK_DIR}/root/usr/bin/zelmor-mcp --version)
expect_equal("${OUTPUT}" "${VERSION}\n" "the packaged zelmor-mcp --version")
run_checked(${WORK_DIR}/root/usr/bin/zelmor-kit --version)
expect_equal("${OUTPUT}" "${VERSION}\n" "the packaged zelmor-kit --version")

if(LINTIAN)
    # Errors fail the check; warnings and notes are Debian's advice, shown when the check fails.
    execute_process(COMMAND ${LINTIAN} --fail-on error ${package} RESULT_VARIABLE status
                    OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT status EQUAL 0 OR out MATCHES "(^|\n)E: ")
        message(FATAL_ERROR "lintian reports errors (${status}):\n${out}${err}")
    endif()
endif()

file(REMOVE_RECURSE ${WORK_DIR})
