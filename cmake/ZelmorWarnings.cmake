# Warning and sanitizer flags shared by every target we own (never by third-party code).
add_library(zelmor_flags INTERFACE)
target_compile_options(zelmor_flags INTERFACE -Wall -Wextra -Wpedantic)
# GCC's -Wshadow=local has no clang spelling; clang's nearest is -Wshadow-uncaptured-local.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(zelmor_flags INTERFACE -Wshadow=local)
else()
    target_compile_options(zelmor_flags INTERFACE -Wshadow-uncaptured-local)
endif()
# GCC 12 reports impossible overlaps in inlined std::string concatenation at -O3 (GCC bug 105329).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(zelmor_flags INTERFACE -Wno-restrict)
endif()
if(ZELMOR_WERROR)
    target_compile_options(zelmor_flags INTERFACE -Werror)
endif()
if(ZELMOR_SANITIZE)
    target_compile_options(zelmor_flags INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=undefined)
    target_link_options(zelmor_flags INTERFACE -fsanitize=address,undefined)
endif()
