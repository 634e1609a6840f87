# What is installed, by component: runtime (what a host loads), dev (what one is built with), tools (aviprobe); and the
# packages made of that by cpack: a .deb for each component and a .tar.gz of all.
include(CMakePackageConfigHelpers)

set(ZU_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/zu_parser_avi")
set(ZU_PKGCONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# The plain name goes with the library itself, although programs are linked by it: hosts load a plug-in by that name.
# Nobody links or loads the helper by a plain name.
install(TARGETS zu_parser_avi EXPORT zu_parser_avi-targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime)
install(TARGETS zu_property EXPORT zu_parser_avi-targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_SKIP)
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)

install(DIRECTORY include/ DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev)
# The targets are the whole package: a host needs nothing else to be found.
install(EXPORT zu_parser_avi-targets FILE zu_parser_avi-config.cmake NAMESPACE zu:: DESTINATION "${ZU_CMAKE_DIR}"
        COMPONENT dev)
set_target_properties(zu_parser_avi PROPERTIES EXPORT_NAME parser_avi)
set_target_properties(zu_property PROPERTIES EXPORT_NAME property)
write_basic_package_version_file(zu_parser_avi-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/zu_parser_avi-config-version.cmake" DESTINATION "${ZU_CMAKE_DIR}"
        COMPONENT dev)

# Relative to the file, so that an installed tree can be moved.
file(RELATIVE_PATH ZU_PC_TO_PREFIX "/prefix/${ZU_PKGCONFIG_DIR}" /prefix/.)
configure_file(cmake/zu_parser_avi.pc.in zu_parser_avi.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/zu_parser_avi.pc" DESTINATION "${ZU_PKGCONFIG_DIR}" COMPONENT dev)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT dev)
install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT dev)

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_CONTACT "libzu_parser_avi maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_COMPONENTS_ALL runtime dev)
if(ZU_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_FILE_NAME "${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE zu-parser-avi)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_CURRENT_BINARY_DIR}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libzu-parser-avi${ZU_SOVERSION}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "parser of AVI files for media hosts
A shared library that a media player loads. It is given a source of bytes and
answers with tracks, codec configuration and compressed access units with
their times. It decodes nothing and starts no thread.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers")
# All versions bring the same plain name.
foreach(field IN ITEMS PROVIDES CONFLICTS REPLACES)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_${field} libzu-parser-avi-plugin)
endforeach()

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzu-parser-avi-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_DESCRIPTION "parser of AVI files for media hosts - development files
The headers that hosts are built with, the files that let CMake and pkg-config
find the library, and its documents.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME aviprobe)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "inspector of AVI files
A media host on the command line. It says what is wrong with a file, where,
what a viewer meets, and what to do next; it shows tracks, indexes, units and
seeks, and writes healthy copies of damaged files.")

# What Debian wants beside the files themselves is added to the trees that the packages are made of.
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/files.cmake")
set(CPACK_ZU_DOCDIR "${CMAKE_INSTALL_DOCDIR}")
set(CPACK_ZU_CHANGELOG "${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md")
include(CPack)
