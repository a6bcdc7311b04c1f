# What `cmake --install` lays down: the library, its public headers with everything they include, the
# tool, a CMake package and a pkg-config file.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The headers that programs outside include. What these include is installed with them.
set(VANTREL_PUBLIC_HEADERS
  dsig/object/ClsXmlDSig.h
  foundation/json/ClsJsonObject.h
  foundation/base/ClsBinData.h
  foundation/base/ClsStringArray.h
  foundation/base/ClsStringBuilder.h
  foundation/text/utf8.h
  foundation/x509/ClsXmlCertVault.h
  foundation/x509/keys/ClsPublicKey.h
  foundation/xml/tree/ClsXml.h)

# vantrel_header_closure(out headers...): the headers and all that they include from the tree.
function(vantrel_header_closure out)
  set(waiting ${ARGN})
  set(found "")
  while(waiting)
    list(POP_FRONT waiting header)
    if(header IN_LIST found OR NOT EXISTS "${PROJECT_SOURCE_DIR}/${header}")
      continue()
    endif()
    list(APPEND found "${header}")
    file(STRINGS "${PROJECT_SOURCE_DIR}/${header}" lines REGEX "^#include \"")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
      list(APPEND waiting "${included}")
    endforeach()
  endwhile()
  set(${out} "${found}" PARENT_SCOPE)
endfunction()

function(vantrel_install)
  vantrel_header_closure(headers ${VANTREL_PUBLIC_HEADERS})
  foreach(header IN LISTS headers)
    get_filename_component(folder "${header}" DIRECTORY)
    install(FILES "${PROJECT_SOURCE_DIR}/${header}"
      DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vantrel/${folder}")
  endforeach()

  set_target_properties(vantrel_settings PROPERTIES EXPORT_NAME settings)
  install(TARGETS vantrel vantrel_settings EXPORT vantrelTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  if(TARGET xmldsig)
    install(TARGETS xmldsig RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  endif()

  set(package "${CMAKE_INSTALL_LIBDIR}/cmake/vantrel")
  install(EXPORT vantrelTargets NAMESPACE vantrel:: DESTINATION "${package}")
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/vantrelConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/vantrelConfig.cmake" INSTALL_DESTINATION "${package}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/vantrelConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/vantrelConfig.cmake"
    "${PROJECT_BINARY_DIR}/vantrelConfigVersion.cmake" DESTINATION "${package}")

  # Relative to the file itself, so that the installed tree may be moved.
  file(RELATIVE_PATH VANTREL_PC_INCLUDES "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/${CMAKE_INSTALL_INCLUDEDIR}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/vantrel.pc.in" "${PROJECT_BINARY_DIR}/vantrel.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/vantrel.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()
