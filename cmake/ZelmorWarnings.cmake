# Warning and sanitizer flags shared by every target we own (never by third-party code).
add_library(zelmor_flags INTERFACE)
target_compile_options(zelmor_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow=local)
if(ZELMOR_WERROR)
    target_compile_options(zelmor_flags INTERFACE -Werror)
endif()
if(ZELMOR_SANITIZE)
    target_compile_options(zelmor_flags INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=undefined)
    target_link_options(zelmor_flags INTERFACE -fsanitize=address,undefined)
endif()
