# What is installed, by component. "console" and "library" are what a camera gets; it brings the closed libraries
# itself. "development" is for programs that use the library. "desktop" is the simulated camera with the stand-ins for
# the closed libraries, in a folder of their own: who looks there finds them, and nobody else takes them for the real.
# "documents" is what is to be read besides the man pages, with its folders, so that links go on leading somewhere.
include(CMakePackageConfigHelpers)

set(MX_STAND_INS ${CMAKE_INSTALL_LIBDIR}/mxMediaRTOSDB)
set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/mxMediaRTOSDB)
file(RELATIVE_PATH standInsFromPrograms /${CMAKE_INSTALL_BINDIR} /${MX_STAND_INS})
file(RELATIVE_PATH standInsFromLibrary /${CMAKE_INSTALL_LIBDIR} /${MX_STAND_INS})
file(RELATIVE_PATH MX_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

# Built as they are installed: else CMake ends the build's own path with a colon, and to the loader the nothing behind
# it is the working directory. A link in the build's folder leads to the stand-ins as well.
set_target_properties(mxMediaRTOSDBTestApp mxMediaRTOSDBShared PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
if(MX_STAND_IN_PATH)
    # A camera does without: some 20 system calls for folders that are not there, before the loader's cache is asked.
    set_target_properties(mxMediaRTOSDBTestApp PROPERTIES INSTALL_RPATH "$ORIGIN/${standInsFromPrograms}")
    set_target_properties(mxMediaRTOSDBShared PROPERTIES INSTALL_RPATH "$ORIGIN/${standInsFromLibrary}")
endif()
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
file(CREATE_LINK ${CMAKE_LIBRARY_OUTPUT_DIRECTORY} ${PROJECT_BINARY_DIR}/${MX_STAND_INS} SYMBOLIC)
set_target_properties(mxMediaRTOSDBShared PROPERTIES EXPORT_NAME mxMediaRTOSDB)
set_target_properties(mxMediaRTOSDBStatic PROPERTIES EXPORT_NAME static)
target_link_libraries(mxMediaRTOSDBStatic INTERFACE
    $<INSTALL_INTERFACE:mxMediaRTOSDB::mxipc> $<INSTALL_INTERFACE:mxMediaRTOSDB::mxdebug>)

install(TARGETS mxMediaRTOSDBTestApp COMPONENT console)
install(FILES docs/mxMediaRTOSDBTestApp.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT console)
if(MX_COMPLETION)
    install(FILES ${MX_COMPLETION} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT console)
endif()

install(TARGETS mxMediaRTOSDBShared EXPORT mxMediaRTOSDBTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT development)

install(TARGETS mxMediaRTOSDBStatic EXPORT mxMediaRTOSDBTargets ARCHIVE COMPONENT development)
install(FILES libmxMediaRTOSDB/include/mxMediaRTOSDB.h TYPE INCLUDE COMPONENT development)
install(FILES docs/libmxMediaRTOSDB.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
# Each call leads to the library's page.
foreach(call IN LISTS MX_PUBLIC_CALLS)
    file(WRITE ${PROJECT_BINARY_DIR}/man3/${call}.3 ".so man3/libmxMediaRTOSDB.3\n")
    install(FILES ${PROJECT_BINARY_DIR}/man3/${call}.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
endforeach()
configure_file(cmake/mxMediaRTOSDB.pc.in mxMediaRTOSDB.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mxMediaRTOSDB.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(EXPORT mxMediaRTOSDBTargets NAMESPACE mxMediaRTOSDB:: DESTINATION ${packageFolder} COMPONENT development)
configure_package_config_file(cmake/mxMediaRTOSDBConfig.cmake.in mxMediaRTOSDBConfig.cmake
    INSTALL_DESTINATION ${packageFolder} PATH_VARS MX_STAND_INS NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(mxMediaRTOSDBConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mxMediaRTOSDBConfig.cmake ${PROJECT_BINARY_DIR}/mxMediaRTOSDBConfigVersion.cmake
    DESTINATION ${packageFolder} COMPONENT development)

if(MX_BUILD_SIMULATOR)
    install(TARGETS rtosMediaDBSim COMPONENT desktop)
    install(FILES docs/rtosMediaDBSim.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT desktop)
endif()
install(TARGETS mxipc nvq mxdebug LIBRARY DESTINATION ${MX_STAND_INS} COMPONENT desktop)

install(FILES README.md CHANGELOG.md CONTRIBUTING.md TYPE DOC COMPONENT documents)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents)
install(FILES simulator/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/simulator COMPONENT documents)

# The Debian package holds all components: it is for desktops.
set(MX_PACKAGE_CONTACT "The maintainers of mxMediaRTOSDBTestApp <maintainers@mxmediartosdb.invalid>" CACHE STRING
    "Maintainer of the Debian package")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mxmediartosdb)
set(CPACK_PACKAGE_CONTACT "${MX_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "console and client library for a camera's media database")
set(CPACK_PACKAGE_DESCRIPTION "mxMediaRTOSDBTestApp asks the media database of a camera for records of files,
documents and the whole catalogue, and checks it against the card. The package
also has the client library with what is needed to build against it, and a
simulated camera that answers on a desktop.")
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageTree.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# Written here: CPack would look for a soname in the stand-ins, which have none, as nothing else may come to need them.
get_target_property(soversion mxMediaRTOSDBShared SOVERSION)
file(WRITE ${PROJECT_BINARY_DIR}/shlibs
    "libmxMediaRTOSDB ${soversion} ${CPACK_PACKAGE_NAME} (= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/shlibs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
