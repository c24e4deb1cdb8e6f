# mx_name_sources(target): gives each C++ source of the target the texts that its log lines and assertions bear, its
# base name and its path from the project's root, both without extension.
function(mx_name_sources target)
    get_target_property(sources ${target} SOURCES)
    get_target_property(folder ${target} SOURCE_DIR)
    foreach(source IN LISTS sources)
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder} NORMALIZE OUTPUT_VARIABLE path)
        cmake_path(RELATIVE_PATH path BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
        cmake_path(REMOVE_EXTENSION path)
        cmake_path(GET path FILENAME name)
        set_property(SOURCE ${source} APPEND PROPERTY COMPILE_DEFINITIONS
            MX_SOURCE_NAME="${name}" MX_SOURCE_PATH="${path}")
    endforeach()
endfunction()
