# Compile options shared by every target of the project: strict warnings, and
# the sanitizers for the test build.
add_library(veilora_options INTERFACE)
target_compile_options(veilora_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Wcast-align -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)
target_compile_definitions(veilora_options INTERFACE QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_FOREACH)
if(VEILORA_WERROR)
    target_compile_options(veilora_options INTERFACE -Werror)
    # GCC 12 at -O3 follows std::function and QPointer through inlined Qt code
    # into null dereferences that cannot happen; in the release build those stay
    # warnings (the test build, which sees them differently, keeps them errors).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT VEILORA_SANITIZE)
        target_compile_options(veilora_options INTERFACE -Wno-error=null-dereference)
    endif()
endif()
if(VEILORA_SANITIZE)
    target_compile_options(veilora_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    target_link_options(veilora_options INTERFACE -fsanitize=address,undefined)
endif()
