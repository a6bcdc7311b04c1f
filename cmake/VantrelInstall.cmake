# SPDX-License-Identifier: MIT
# What `cmake --install` lays down: the library, its public headers (include/vantrel) with everything
# they include, the tool with its manual page and completions, a CMake package and a pkg-config file.

include(CMakePackageConfigHelpers)

# Where shells look for completions; Debian has a folder of its own for those of packages.
set(VANTREL_ZSH_DIR "share/zsh/site-functions")
if(VANTREL_PACKAGES)
  set(VANTREL_ZSH_DIR "share/zsh/vendor-completions")
endif()

function(vantrel_install_tool)
  install(TARGETS xmldsig RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
  if(CMAKE_CROSSCOMPILING)
    return()
  endif()
  install(FILES "${PROJECT_BINARY_DIR}/xmldsig.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
  install(FILES "${PROJECT_BINARY_DIR}/xmldsig.bash" DESTINATION share/bash-completion/completions RENAME xmldsig
    COMPONENT tool)
  install(FILES "${PROJECT_BINARY_DIR}/xmldsig.zsh" DESTINATION "${VANTREL_ZSH_DIR}" RENAME _xmldsig COMPONENT tool)
  install(FILES "${PROJECT_BINARY_DIR}/xmldsig.fish" DESTINATION share/fish/vendor_completions.d COMPONENT tool)
endfunction()

function(vantrel_install)
  # When the tree is installed, so that what is laid down is what the headers include then.
  install(CODE "set(VANTREL_SOURCE_DIR \"${PROJECT_SOURCE_DIR}\")
set(VANTREL_BINARY_DIR \"${PROJECT_BINARY_DIR}\")
set(VANTREL_INCLUDE_DIR \"${CMAKE_INSTALL_INCLUDEDIR}\")" COMPONENT development)
  install(SCRIPT "${PROJECT_SOURCE_DIR}/cmake/VantrelInstallHeaders.cmake" COMPONENT development)

  set_target_properties(vantrel_settings PROPERTIES EXPORT_NAME settings)
  install(TARGETS vantrel vantrel_settings EXPORT vantrelTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT development)
  if(TARGET xmldsig)
    vantrel_install_tool()
  endif()

  set(package "${CMAKE_INSTALL_LIBDIR}/cmake/vantrel")
  install(EXPORT vantrelTargets NAMESPACE vantrel:: DESTINATION "${package}" COMPONENT development)
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/vantrelConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/vantrelConfig.cmake" INSTALL_DESTINATION "${package}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/vantrelConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/vantrelConfig.cmake"
    "${PROJECT_BINARY_DIR}/vantrelConfigVersion.cmake" DESTINATION "${package}" COMPONENT development)

  # Relative to the file itself, so that the installed tree may be moved.
  file(RELATIVE_PATH VANTREL_PC_INCLUDES "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/vantrel.pc.in" "${PROJECT_BINARY_DIR}/vantrel.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/vantrel.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()
