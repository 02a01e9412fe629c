# What `cpack` makes of a build tree: for Debian a package and an archive, for Windows an archive.
# It packs what has been built: build first.

set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_VENDOR "The uvek developers")
set(CPACK_PACKAGE_CONTACT "The uvek developers <developers@uvek.invalid>")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME uvek-${PROJECT_VERSION}-windows-x86_64)
else()
    set(CPACK_GENERATOR DEB TGZ)
    set(CPACK_PACKAGE_FILE_NAME uvek-${PROJECT_VERSION}-linux-x86_64)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Copies, colour, JPEG, geometry, filters, transforms, signals and optical flow
on raw pixel and sample pointers, behind a plain C interface. Every function
has code for SSE2, SSE3, SSSE3 and SSE4.1, chosen when the library is loaded.
Holds the library, its headers for C and C++, and the tool uvek.")
    # What the programs and libraries in the package load, by their own account.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
endif()
include(CPack)
