# Language, warnings and sanitizers, for every target of the project.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_compile_definitions(_GNU_SOURCE)
# Fortified builds rename calls, and a tester's double of a renamed call is passed by. By -Wp, as it stands behind flags
# that are passed so.
add_compile_options(-Wp,-U_FORTIFY_SOURCE)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# LD_LIBRARY_PATH outranks the build's own path, so that another transport can be put in place without a rebuild.
add_link_options(-Wl,--enable-new-dtags)

# For the library and what it stands on: no C++ runtime is needed. A callback's exceptions still pass through.
set(MX_LIBRARY_OPTIONS $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> -funwind-tables)
# Nor do its inline constants ask to be the only ones in a process, as they stay inside of it.
list(APPEND MX_LIBRARY_OPTIONS $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)

if(MX_WERROR)
    add_compile_options(-Werror)
endif()

if(MX_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    # With the sanitizers' code in between, GCC sees values that are never read uninitialized as if they were.
    add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized>)
endif()

if(MX_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
