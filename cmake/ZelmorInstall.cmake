# What `cmake --install` puts into a prefix: the two executables, their man pages, the kit as a
# CMake package that a host app finds with find_package(ZelmorMarkdownKit), the README and the
# example transcripts. The Debian package is built from the same rules (ZelmorPackage.cmake).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZELMOR_KIT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZelmorMarkdownKit)
# Headers go one level down so that their folder names ("platform/...") stay out of the
# prefix's shared include folder; the exported targets add that level to the include path.
set(ZELMOR_KIT_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/zelmor)

install(TARGETS zelmor-mcp zelmor-kit RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/zelmor-mcp.1 man/zelmor-kit.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
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
file(GLOB ZELMOR_KIT_PUBLIC_HEADERS ${PROJECT_SOURCE_DIR}/ZelmorMarkdownKit/*.h)
file(GLOB ZELMOR_PLATFORM_PUBLIC_HEADERS ${PROJECT_SOURCE_DIR}/platform/*.h)
install(FILES ${ZELMOR_KIT_PUBLIC_HEADERS} DESTINATION ${ZELMOR_KIT_INCLUDE_DIR}/ZelmorMarkdownKit)
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
