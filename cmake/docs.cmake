# zu_docs makes the interface's reference as HTML, from the public headers and docs/host-contract.md; anything that the
# headers leave unsaid about a name, an argument or a result fails it. Without Doxygen there is no such target.
option(ZU_DOCS "Make the interface's reference with everything else, and install it" OFF)
if(ZU_DOCS)
  find_package(Doxygen 1.9 REQUIRED)
  set(ZU_DOCS_ALL ALL)
elseif(PROJECT_IS_TOP_LEVEL)  # a parent project gets neither Doxygen's settings nor the target
  find_package(Doxygen 1.9 QUIET)
endif()
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(DOXYGEN_PROJECT_BRIEF "AVI container parser: the host's interface")
set(DOXYGEN_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/docs")
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE "${PROJECT_SOURCE_DIR}/docs/host-contract.md")
# The page links headers by their place in the project; in the HTML their names do.
set(DOXYGEN_FILTER_PATTERNS [[*.md=sed -E 's/\[([a-z_]+\.h)\]\([^)]*\)/\1/g']])
set(DOXYGEN_STRIP_FROM_PATH "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}")
set(DOXYGEN_STRIP_FROM_INC_PATH "${PROJECT_SOURCE_DIR}/include")
set(DOXYGEN_FULL_PATH_NAMES YES)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
set(DOXYGEN_WARN_NO_PARAMDOC YES)
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
set(DOXYGEN_EXTRACT_ALL NO)
set(DOXYGEN_SORT_MEMBER_DOCS NO)  # the order of the slots
set(DOXYGEN_INLINE_SIMPLE_STRUCTS NO)
set(DOXYGEN_SHOW_USED_FILES NO)
set(DOXYGEN_VERBATIM_HEADERS NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_CLASS_GRAPH NO)
set(DOXYGEN_HTML_TIMESTAMP NO)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_EXCLUDE_PATTERNS */stream_types.h)  # classes between the file and codec_ids.h: no host needs them
doxygen_add_docs(zu_docs include/zu_parser_avi docs/host-contract.md ${ZU_DOCS_ALL})

if(ZU_DOCS)
  install(DIRECTORY "${DOXYGEN_OUTPUT_DIRECTORY}/html" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT dev)
endif()
