# Helpers that turn the folders of the tree into targets.

find_package(Threads REQUIRED)

add_library(vantrel_settings INTERFACE)
target_compile_features(vantrel_settings INTERFACE cxx_std_20)
target_include_directories(vantrel_settings INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include/vantrel>)
target_link_libraries(vantrel_settings INTERFACE Threads::Threads)

add_library(vantrel_warnings INTERFACE)
target_compile_options(vantrel_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion)
# gcc 12 sees overlapping copies in `"text" + std::string` where there are none (its bug 105651).
target_compile_options(vantrel_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(VANTREL_DEVELOPER)
  target_compile_options(vantrel_warnings INTERFACE -Werror)
endif()
if(VANTREL_SANITIZERS)
  target_compile_options(vantrel_settings INTERFACE
    -fsanitize=${VANTREL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vantrel_settings INTERFACE -fsanitize=${VANTREL_SANITIZERS})
endif()

set(VANTREL_OBJECTS "" CACHE INTERNAL "")

# vantrel_folder(name path [lower folders...]): the sources below `path`, as an archive vantrel_<name>.
function(vantrel_folder name path)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${path}/*.cpp")
  set(lower "")
  foreach(folder IN LISTS ARGN)
    list(APPEND lower vantrel_${folder})
  endforeach()
  if(sources)
    add_library(vantrel_${name}_objects OBJECT ${sources})
    target_link_libraries(vantrel_${name}_objects PUBLIC vantrel_settings PRIVATE vantrel_warnings)
    set_target_properties(vantrel_${name}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    add_library(vantrel_${name} STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:vantrel_${name}_objects>)
    target_link_libraries(vantrel_${name} PUBLIC vantrel_settings ${lower})
    set(VANTREL_OBJECTS "${VANTREL_OBJECTS};$<TARGET_OBJECTS:vantrel_${name}_objects>" CACHE INTERNAL "")
  else()
    add_library(vantrel_${name} INTERFACE)
    target_link_libraries(vantrel_${name} INTERFACE vantrel_settings ${lower})
  endif()
endfunction()

# The one library that users link.
function(vantrel_library)
  add_library(vantrel STATIC ${VANTREL_OBJECTS})
  add_library(vantrel::vantrel ALIAS vantrel)
  target_link_libraries(vantrel PUBLIC vantrel_settings)
endfunction()

function(vantrel_tool)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/cli/*.cpp")
  if(sources)
    add_executable(xmldsig ${sources})
    target_link_libraries(xmldsig PRIVATE vantrel vantrel_warnings)
    target_compile_definitions(xmldsig PRIVATE VANTREL_VERSION="${PROJECT_VERSION}")
  endif()
endfunction()

# vantrel_test(name path libraries...): the tests below tests/`path` and what they share, as one
# program test_<name>.
function(vantrel_test name path)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${path}/*_test.cpp"
    "${PROJECT_SOURCE_DIR}/tests/${path}/*_case.cpp")
  if(NOT sources)
    return()
  endif()
  set(libraries "")
  foreach(library IN LISTS ARGN)
    list(APPEND libraries vantrel_${library})
  endforeach()
  add_executable(test_${name} ${sources})
  target_link_libraries(test_${name} PRIVATE ${libraries} test_support vantrel_warnings)
  add_test(NAME ${name} COMMAND test_${name} WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
endfunction()

# vantrel_test_kernels(limit names...): those test programs once more, with the kernels that the limit
# allows (foundation/cpu/cpu_features.h).
function(vantrel_test_kernels limit)
  foreach(name IN LISTS ARGN)
    add_test(NAME ${name}_${limit} COMMAND test_${name} --force-kernel=${limit}
      WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
  endforeach()
endfunction()
