# Run by cpack on the trees that packages are made of. Debian packages have their documents in folders of their own names,
# compressed, and a few files that no other system wants.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "CPACK_DEBIAN_${component}_PACKAGE_NAME" package)
  set(package "${${package}}")
  set(tree "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr")
  set(documents "${tree}/share/doc/${package}")

  if(EXISTS "${tree}/${CPACK_ZU_DOCDIR}")
    file(RENAME "${tree}/${CPACK_ZU_DOCDIR}" "${documents}")
  endif()
  file(REMOVE "${documents}/LICENSE" "${documents}/CHANGELOG.md")  # copyright and changelog.gz below
  if(EXISTS "${documents}/tools/aviprobe/README.md")
    file(RENAME "${documents}/tools/aviprobe/README.md" "${documents}/README.md")
    file(REMOVE_RECURSE "${documents}/tools")
  endif()

  file(WRITE "${documents}/copyright"
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: ${CPACK_PACKAGE_NAME}
Upstream-Contact: ${CPACK_PACKAGE_CONTACT}

Files: *
Copyright: 2026 libzu_parser_avi maintainers
License: Apache-2.0
 On Debian systems the text of the Apache License, version 2.0, is in
 /usr/share/common-licenses/Apache-2.0.
")
  file(WRITE "${documents}/changelog.Debian"
"${CPACK_DEBIAN_PACKAGE_SOURCE} (${version}) unstable; urgency=medium

  * Made from the sources of this version; changelog.gz says what is new in it.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  configure_file("${CPACK_ZU_CHANGELOG}" "${documents}/changelog" COPYONLY)
  set(overrides "${CMAKE_CURRENT_LIST_DIR}/${component}.lintian-overrides")
  if(EXISTS "${overrides}")
    configure_file("${overrides}" "${tree}/share/lintian/overrides/${package}" COPYONLY)
  endif()

  file(GLOB compressed "${documents}/changelog*" "${tree}/share/man/man1/*.1")
  execute_process(COMMAND gzip -9nf ${compressed} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
