# Man pages as Debian wants them in a package: compressed, and the same bytes whenever it is made.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_DIRECTORY}/*.[13]")
list(FILTER pages INCLUDE REGEX "/man/man[13]/")
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)

# Nor is the folders' mode that of whoever makes it.
file(GLOB_RECURSE folders LIST_DIRECTORIES true "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(folder IN LISTS folders ITEMS "${CPACK_TEMPORARY_DIRECTORY}")
    if(IS_DIRECTORY "${folder}")
        file(CHMOD "${folder}" DIRECTORY_PERMISSIONS
            OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
endforeach()
