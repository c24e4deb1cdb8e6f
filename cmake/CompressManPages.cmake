# As Debian wants them in a package: compressed, and the same bytes whenever it is made.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_DIRECTORY}/*.[13]")
list(FILTER pages INCLUDE REGEX "/man/man[13]/")
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
