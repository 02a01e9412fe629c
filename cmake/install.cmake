# What `cmake --install` places: the library and its headers, what lets other builds find it, the tool
# and its manual page. Everything refers to its neighbours relatively, so that the prefix may be moved.

include(CMakePackageConfigHelpers)

install(DIRECTORY include/uvek TYPE INCLUDE FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(TARGETS uvek EXPORT uvekTargets)
if(WIN32)
    # MinGW links with libuvek.dll.a, other toolchains with uvek.lib; uvek.def makes either anew.
    # The tool names symbols after the path that it is given, so that the path is a short one.
    add_custom_command(OUTPUT uvek.lib DEPENDS ${UVEK_EXPORT_LIST} WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM
        COMMAND ${CMAKE_DLLTOOL} --input-def uvek.def --dllname uvek.dll --output-lib uvek.lib)
    add_custom_target(uvek_import_library ALL DEPENDS uvek.lib)
    install(FILES ${PROJECT_BINARY_DIR}/uvek.lib ${UVEK_EXPORT_LIST} TYPE LIB)
else()
    # On Windows the library starts itself when its DLL is attached, so that there is no static one.
    install(TARGETS uvek_static EXPORT uvekTargets)
    get_target_property(UVEK_PRIVATE_LIBRARIES uvek_static INTERFACE_LINK_LIBRARIES)
    list(TRANSFORM UVEK_PRIVATE_LIBRARIES PREPEND -l)
    list(JOIN UVEK_PRIVATE_LIBRARIES " " UVEK_PRIVATE_LIBRARIES)
endif()

set(UVEK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/uvek)
string(TOUPPER "${CMAKE_BUILD_TYPE}" UVEK_CONFIGURATION)
configure_package_config_file(cmake/uvekConfig.cmake.in uvekConfig.cmake INSTALL_DESTINATION ${UVEK_CMAKE_DIR}
    PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(uvekConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/uvekConfig.cmake ${PROJECT_BINARY_DIR}/uvekConfigVersion.cmake DESTINATION ${UVEK_CMAKE_DIR})
install(EXPORT uvekTargets NAMESPACE uvek:: DESTINATION ${UVEK_CMAKE_DIR})

set(UVEK_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH UVEK_PKGCONFIG_TO_PREFIX /prefix/${UVEK_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" UVEK_PKGCONFIG_TO_PREFIX ${UVEK_PKGCONFIG_TO_PREFIX})
configure_file(cmake/uvek.pc.in uvek.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/uvek.pc DESTINATION ${UVEK_PKGCONFIG_DIR})

if(TARGET uvek_tool)
    file(RELATIVE_PATH UVEK_BIN_TO_LIB /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set_target_properties(uvek_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${UVEK_BIN_TO_LIB}")
    install(TARGETS uvek_tool)
    install(FILES tools/uvek.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
install(FILES README.md cmake/copyright TYPE DOC)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN data EXCLUDE PATTERN check.py EXCLUDE)
