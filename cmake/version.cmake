# Sets ZU_VERSION from the public header, which is the one place that has it.
set(ZU_VERSION_HEADER "${CMAKE_CURRENT_LIST_DIR}/../include/zu_parser_avi/version.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${ZU_VERSION_HEADER}")
file(STRINGS "${ZU_VERSION_HEADER}" ZU_VERSION REGEX "#define ZU_PARSER_AVI_VERSION_(MAJOR|MINOR|PATCH) ")
list(TRANSFORM ZU_VERSION REPLACE "^#define [A-Z_]+ ([0-9]+).*" "\\1")
list(JOIN ZU_VERSION "." ZU_VERSION)
if(NOT ZU_VERSION MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$")
  message(FATAL_ERROR "${ZU_VERSION_HEADER} has no version that can be read")
endif()
