# Compile options shared by every target of the project: strict warnings, and
# the sanitizers for the test build.
add_library(veilora_options INTERFACE)
target_compile_options(veilora_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Wcast-align -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)
target_compile_definitions(veilora_options INTERFACE QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_FOREACH)
if(VEILORA_WERROR)
    target_compile_options(veilora_options INTERFACE -Werror)
endif()
if(VEILORA_SANITIZE)
    target_compile_options(veilora_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    target_link_options(veilora_options INTERFACE -fsanitize=address,undefined)
endif()
