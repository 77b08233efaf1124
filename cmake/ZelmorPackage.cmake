# The Debian package, zelmor-mcp_VERSION-REVISION_ARCH.deb: everything `cmake --install` installs,
# under /usr. Built with `cpack -G DEB` in a build folder, or by scripts/package.sh; lintian
# finds no error in it (tests/install/PackageCheck.cmake holds it to that).
set(CPACK_PACKAGE_NAME zelmor-mcp)
set(CPACK_PACKAGE_VENDOR "The zelmor-mcp authors")
set(CPACK_PACKAGE_CONTACT "${ZELMOR_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZELMOR_PACKAGE_MAINTAINER}")
# Debian's conventions: a synopsis without the package's name, an article or a closing period;
# an extended description of whole sentences, its paragraphs parted by a "." line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MCP server over a folder of meeting transcripts")
set(CPACK_PACKAGE_DESCRIPTION
    "zelmor-mcp lets an AI agent search and read the speaker-labelled markdown
meeting transcripts in a folder, over the Model Context Protocol (JSON-RPC on
standard input and output). It offers three read-only tools: keyword search
with participant and date filters, reading one meeting, and listing everyone
who took part.
.
zelmor-kit, the transcript kit's command line, imports other meeting tools'
exports, edits transcripts in place, answers questions from them and checks
a setup. The package also holds the ZelmorMarkdownKit static library, its
headers and CMake package files, for a host application.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY ${CPACK_PACKAGE_NAME})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${ZELMOR_DEB_REVISION})
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
