# The Android log library and its headers. On Linux Debian's android-liblog-dev keeps the library in a folder of its own
# below the multiarch one and ships no pkg-config file.
#
# Defines AndroidLog::log.
find_path(AndroidLog_INCLUDE_DIR android/log.h PATH_SUFFIXES android)
find_library(AndroidLog_LIBRARY log PATH_SUFFIXES android ${CMAKE_LIBRARY_ARCHITECTURE}/android)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidLog REQUIRED_VARS AndroidLog_LIBRARY AndroidLog_INCLUDE_DIR)
if(AndroidLog_FOUND AND NOT TARGET AndroidLog::log)
  add_library(AndroidLog::log UNKNOWN IMPORTED)
  set_target_properties(AndroidLog::log PROPERTIES IMPORTED_LOCATION "${AndroidLog_LIBRARY}"
                                                   INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${AndroidLog_INCLUDE_DIR}")
endif()
mark_as_advanced(AndroidLog_INCLUDE_DIR AndroidLog_LIBRARY)
