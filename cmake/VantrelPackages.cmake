# SPDX-License-Identifier: MIT
# Debian packages by cpack: libvantrel0 (the shared library), libvantrel-dev (headers, link, CMake package,
# pkg-config file) and xmldsig (the tool with its manual page and completions). Dependencies on other
# packages are found by dpkg-shlibdeps in what was linked.

if(NOT BUILD_SHARED_LIBS)
  message(FATAL_ERROR "VANTREL_PACKAGES needs BUILD_SHARED_LIBS: libvantrel0 holds the shared library")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantrel)
set(CPACK_PACKAGE_VENDOR vantrel)
set(CPACK_PACKAGE_CONTACT "The Vantrel developers <vantrel@localhost>")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET xmldsig)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# A name that the library keeps until its SONAME changes.
set(library_package "libvantrel${PROJECT_VERSION_MAJOR}")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "${library_package}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_GENERATE_SHLIBS ON)
# Before 1.0 a program is for the minor version that it was linked with.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "XML digital-signature verifier, shared library
 Verifies XML signatures (XML Signature 1.0 and 1.1), and says what they cover
 and whose keys made them.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvantrel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "XML digital-signature verifier, headers
 What programs in C and C++ need that are to be linked with ${library_package}.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME xmldsig)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "XML digital-signature verifier, command-line tool
 Verifies XML signatures, says what they cover and whose keys made them, and
 searches why one does not verify.")

foreach(each IN ITEMS "library:${library_package}" development:libvantrel-dev tool:xmldsig)
  string(REPLACE ":" ";" pair "${each}")
  list(GET pair 0 component)
  list(GET pair 1 package)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "share/doc/${package}" RENAME copyright
    COMPONENT ${component})
endforeach()
include(CPack)
