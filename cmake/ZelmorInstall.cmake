# What `cmake --install` puts into a prefix: the two executables, their man pages, the kit as a
# CMake package that a host app finds with find_package(ZelmorMarkdownKit), the README and the
# example transcripts. The Debian package is built from the same rules (ZelmorPackage.cmake).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZELMOR_KIT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZelmorMarkdownKit)
# Headers go one level down so that their folder names ("platform/...") stay out of the
# prefix's shared include folder; the exported targets add that level to the include path.
set(ZELMOR_KIT_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/zelmor)

set(ZELMOR_PACKAGE_MAINTAINER "The zelmor-mcp authors <zelmor-mcp@example.org>"
    CACHE STRING "Name and address of the Debian package's maintainer")
set(ZELMOR_DEB_REVISION 1 CACHE STRING "Debian revision of the package (VERSION-REVISION)")
set(ZELMOR_DEB_VERSION ${PROJECT_VERSION}-${ZELMOR_DEB_REVISION})

install(TARGETS zelmor-mcp zelmor-kit RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Man pages and the changelog go in gzip-compressed (-n: no name or time inside, so the same
# sources give the same bytes); the copyright file in Debian's machine-readable form.
find_program(ZELMOR_GZIP gzip REQUIRED)
set(docs ${PROJECT_BINARY_DIR}/docs)
file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX REPLACE "^.*\n\n(Permission)" "\\1" license "${license}")
string(REGEX REPLACE "\n+$" "" license "${license}")
string(REPLACE "\n\n" "\n.\n" license "${license}")
string(REPLACE "\n" "\n " license "${license}")
set(ZELMOR_LICENSE_TEXT " ${license}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/copyright.in ${docs}/copyright @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${docs}/changelog.Debian @ONLY)
set(compressed)
# The man pages carry the version as @PROJECT_VERSION@.
configure_file(${PROJECT_SOURCE_DIR}/man/zelmor-mcp.1 ${docs}/zelmor-mcp.1 @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/man/zelmor-kit.1 ${docs}/zelmor-kit.1 @ONLY)
foreach(source IN ITEMS ${docs}/zelmor-mcp.1 ${docs}/zelmor-kit.1 ${docs}/changelog.Debian)
    get_filename_component(name ${source} NAME)
    add_custom_command(OUTPUT ${docs}/${name}.gz
                       COMMAND ${ZELMOR_GZIP} -9nc ${source} > ${docs}/${name}.gz
                       DEPENDS ${source} VERBATIM)
    list(APPEND compressed ${docs}/${name}.gz)
endforeach()
add_custom_target(zelmor_docs ALL DEPENDS ${compressed})
install(FILES ${docs}/zelmor-mcp.1.gz ${docs}/zelmor-kit.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${docs}/copyright ${docs}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples/transcripts DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

# The kit and the platform layer it stands on, as ZelmorMarkdownKit::ZelmorMarkdownKit and
# ZelmorMarkdownKit::Platform.
set_target_properties(zelmor_platform PROPERTIES EXPORT_NAME Platform OUTPUT_NAME ZelmorPlatform)
if(ZELMOR_SANITIZE)
    # An instrumented archive needs the sanitizer runtimes wherever it is linked.
    target_link_options(ZelmorMarkdownKit INTERFACE $<INSTALL_INTERFACE:-fsanitize=address,undefined>)
endif()
install(TARGETS ZelmorMarkdownKit zelmor_platform EXPORT ZelmorMarkdownKitTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${ZELMOR_KIT_INCLUDE_DIR})
# The kit's headers keep their folders: "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h".
install(DIRECTORY ${PROJECT_SOURCE_DIR}/ZelmorMarkdownKit/ DESTINATION ${ZELMOR_KIT_INCLUDE_DIR}/ZelmorMarkdownKit
        FILES_MATCHING PATTERN "*.h")
file(GLOB ZELMOR_PLATFORM_PUBLIC_HEADERS ${PROJECT_SOURCE_DIR}/platform/*.h)
install(FILES ${ZELMOR_PLATFORM_PUBLIC_HEADERS} DESTINATION ${ZELMOR_KIT_INCLUDE_DIR}/platform)

install(EXPORT ZelmorMarkdownKitTargets NAMESPACE ZelmorMarkdownKit:: DESTINATION ${ZELMOR_KIT_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZelmorMarkdownKitConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/ZelmorMarkdownKitConfig.cmake
                              INSTALL_DESTINATION ${ZELMOR_KIT_CMAKE_DIR})
# 0.x releases may break the kit's interface between minor versions.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZelmorMarkdownKitConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZelmorMarkdownKitConfig.cmake
              ${PROJECT_BINARY_DIR}/ZelmorMarkdownKitConfigVersion.cmake
        DESTINATION ${ZELMOR_KIT_CMAKE_DIR})

include(${CMAKE_CURRENT_LIST_DIR}/ZelmorPackage.cmake)
