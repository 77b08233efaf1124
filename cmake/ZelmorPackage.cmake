# The Debian package, zelmor-mcp_VERSION_ARCH.deb: everything `cmake --install` installs, under
# /usr. Built with `cpack -G DEB` in a build folder, or by scripts/package.sh.
set(CPACK_PACKAGE_NAME zelmor-mcp)
set(CPACK_PACKAGE_VENDOR "zelmor-mcp developers")
set(CPACK_PACKAGE_CONTACT "zelmor-mcp developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MCP server over a folder of meeting transcripts, and its transcript kit")
set(CPACK_PACKAGE_DESCRIPTION
    "zelmor-mcp lets an AI agent search and read the speaker-labelled markdown meeting
transcripts in a folder, over the Model Context Protocol (JSON-RPC on standard input
and output). zelmor-kit imports other meeting tools' exports, edits transcripts,
answers questions from them and checks a setup (zelmor-kit doctor). The package also
holds the ZelmorMarkdownKit static library, its headers and CMake package files.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY ${CPACK_PACKAGE_NAME})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The library and headers are for building a host app; these are what such a build needs.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "cmake, g++, libicu-dev, nlohmann-json3-dev, libssl-dev")
find_program(ZELMOR_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(ZELMOR_DPKG_SHLIBDEPS)
    # Read the runtime libraries off the executables themselves.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
    # Without dpkg-dev, the libraries of Debian 12 that the executables link.
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6, libicu72, libssl3")
endif()

if(APPLE)
    set(CPACK_GENERATOR TGZ)
else()
    set(CPACK_GENERATOR DEB)
endif()
include(CPack)
