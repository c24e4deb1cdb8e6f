# mx_join_objects(variable name...): makes one object of those in the variable, of which the names alone are seen from
# outside, and puts it in their place. Only where the linker can: GNU ld, of objects that are no longer to be optimised.
include(CheckLinkerFlag)
check_linker_flag(CXX -Wl,--force-group-allocation MX_LINKER_JOINS)

function(mx_join_objects variable)
    if(NOT MX_LINKER_JOINS OR NOT CMAKE_OBJCOPY
            OR CMAKE_INTERPROCEDURAL_OPTIMIZATION OR CMAKE_CXX_FLAGS MATCHES "-flto")
        return()
    endif()
    set(joined ${CMAKE_CURRENT_BINARY_DIR}/joined.o)
    list(TRANSFORM ARGN PREPEND --keep-global-symbol= OUTPUT_VARIABLE kept)
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_COMPILER_ARG1} ${CMAKE_CXX_FLAGS}")
    if(CMAKE_CXX_COMPILER_TARGET AND CMAKE_CXX_COMPILE_OPTIONS_TARGET)
        list(APPEND flags ${CMAKE_CXX_COMPILE_OPTIONS_TARGET}${CMAKE_CXX_COMPILER_TARGET})
    endif()
    add_custom_command(OUTPUT ${joined}
        COMMAND ${CMAKE_CXX_COMPILER} ${flags} -r -nostdlib -Wl,--force-group-allocation ${${variable}} -o ${joined}
        COMMAND ${CMAKE_OBJCOPY} ${kept} ${joined}
        DEPENDS ${${variable}} COMMAND_EXPAND_LISTS VERBATIM)
    set(${variable} ${joined} PARENT_SCOPE)
endfunction()
