# SPDX-License-Identifier: MIT
# Helpers that turn the folders of the tree into targets.

if(VANTREL_INSTALL)
  include(GNUInstallDirs)
endif()
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
# Whoever links the library looks for it in a folder of his own.
find_package(Threads REQUIRED GLOBAL)

add_library(vantrel_settings INTERFACE)
target_compile_features(vantrel_settings INTERFACE cxx_std_20)
target_include_directories(vantrel_settings INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(vantrel_settings INTERFACE Threads::Threads)

add_library(vantrel_warnings INTERFACE)
target_compile_options(vantrel_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion)
# gcc 12 sees overlapping and oversized copies in `"text" + std::string` where there are none (its bug 105651), and
# in precompiled headers it no longer sees which code is the standard library's, and warns of bounds there.
target_compile_options(vantrel_warnings INTERFACE
  "$<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-stringop-overflow;-Wno-array-bounds>")
# The same for the tool alone and for the tests, so that both share one set of objects. Compilers that
# the project does not know may warn of more; they do not stop the build.
if(VANTREL_WARNINGS_AS_ERRORS)
  target_compile_options(vantrel_warnings INTERFACE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Werror>
    $<$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,15>>:-Werror>)
endif()
if(VANTREL_SANITIZERS)
  target_compile_options(vantrel_settings INTERFACE
    -fsanitize=${VANTREL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vantrel_settings INTERFACE -fsanitize=${VANTREL_SANITIZERS})
endif()

# The standard headers that most files include, read once instead of in every file: half the time
# of a build from nothing. The preset clang builds the product without it (VANTREL_PLAIN_INCLUDES),
# so its files still have to include what they use.
file(WRITE "${PROJECT_BINARY_DIR}/precompiled.cpp.new" "")
file(COPY_FILE "${PROJECT_BINARY_DIR}/precompiled.cpp.new" "${PROJECT_BINARY_DIR}/precompiled.cpp" ONLY_IF_DIFFERENT)
add_library(vantrel_precompiled OBJECT "${PROJECT_BINARY_DIR}/precompiled.cpp")
target_link_libraries(vantrel_precompiled PRIVATE vantrel_settings vantrel_warnings)
set_target_properties(vantrel_precompiled PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_precompile_headers(vantrel_precompiled PRIVATE
  <algorithm> <array> <atomic> <charconv> <cstddef> <cstdint> <cstdlib> <cstring> <functional> <limits>
  <map> <memory> <mutex> <new> <optional> <span> <string> <string_view> <unordered_map> <utility> <vector>)

function(vantrel_precompile target)
  if(NOT VANTREL_PLAIN_INCLUDES)
    target_precompile_headers(${target} REUSE_FROM vantrel_precompiled)
  endif()
endfunction()

# How many files are compiled as one where a preset or a project around this one has CMAKE_UNITY_BUILD (less than
# half the time of a build from nothing). The same everywhere: other groups could bring equal names together.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)

# vantrel_unity(sources...): what has instructions of one processor is compiled alone all the same.
function(vantrel_unity)
  list(FILTER ARGN INCLUDE REGEX "_(x86|aarch64)[a-z0-9_]*\\.cpp$")
  if(ARGN)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()

set(VANTREL_OBJECTS "" CACHE INTERNAL "")

# vantrel_above_rooms(out): the files of dsig that include the declaration of the verifier's class,
# directly or through a header of dsig. They are found when CMake runs.
function(vantrel_above_rooms out)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/dsig/*.cpp" "${PROJECT_SOURCE_DIR}/dsig/*.h")
  set(found "")
  set(wanted "dsig/object/")
  while(wanted)
    set(next "")
    foreach(file IN LISTS files)
      file(STRINGS "${file}" includes REGEX "^#include \"(${wanted})")
      if(includes)
        list(APPEND found "${file}")
        list(REMOVE_ITEM files "${file}")
        if(file MATCHES "\\.h$")
          file(RELATIVE_PATH header "${PROJECT_SOURCE_DIR}" "${file}")
          list(APPEND next "${header}")
        endif()
      endif()
    endforeach()
    list(JOIN next "|" wanted)
  endwhile()
  set(${out} "${found}" PARENT_SCOPE)
endfunction()

vantrel_above_rooms(VANTREL_ABOVE_ROOMS)

# vantrel_folder(name path [lower folders...]): the sources below `path`, as an archive vantrel_<name>.
function(vantrel_folder name path)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${path}/*.cpp")
  if(path STREQUAL "dsig/object")
    list(APPEND sources ${VANTREL_ABOVE_ROOMS})
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    list(REMOVE_DUPLICATES sources)
  else()
    list(REMOVE_ITEM sources ${VANTREL_ABOVE_ROOMS})
  endif()
  set(lower "")
  foreach(folder IN LISTS ARGN)
    list(APPEND lower vantrel_${folder})
  endforeach()
  if(sources)
    vantrel_unity(${sources})
    add_library(vantrel_${name}_objects OBJECT ${sources})
    target_link_libraries(vantrel_${name}_objects PUBLIC vantrel_settings PRIVATE vantrel_warnings)
    set_target_properties(vantrel_${name}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    vantrel_precompile(vantrel_${name}_objects)
    add_library(vantrel_${name} STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:vantrel_${name}_objects>)
    target_link_libraries(vantrel_${name} PUBLIC vantrel_settings ${lower})
    set(VANTREL_OBJECTS "${VANTREL_OBJECTS};$<TARGET_OBJECTS:vantrel_${name}_objects>" CACHE INTERNAL "")
  else()
    add_library(vantrel_${name} INTERFACE)
    target_link_libraries(vantrel_${name} INTERFACE vantrel_settings ${lower})
  endif()
endfunction()

# vantrel_shared(target): what makes a shared library of the target. Only what the map names is exported; the
# rest is bound when the library is linked, as if it were in the program.
function(vantrel_shared target)
  set(map "${PROJECT_SOURCE_DIR}/cmake/vantrel.map")
  set_target_properties(${target} PROPERTIES OUTPUT_NAME vantrel LINK_DEPENDS "${map}"
    VERSION "${PROJECT_VERSION}" SOVERSION "${PROJECT_VERSION_MAJOR}")
  target_link_options(${target} PRIVATE "-Wl,--version-script=${map}")
endfunction()

# The one library that users link, shared with BUILD_SHARED_LIBS.
function(vantrel_library)
  if(BUILD_SHARED_LIBS)
    add_library(vantrel SHARED ${VANTREL_OBJECTS})
    vantrel_shared(vantrel)
  else()
    add_library(vantrel STATIC ${VANTREL_OBJECTS})
  endif()
  add_library(vantrel::vantrel ALIAS vantrel)
  target_link_libraries(vantrel PUBLIC vantrel_settings)
  target_include_directories(vantrel INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
endfunction()

# What the wheel for Python holds: the shared library with the C++ runtime within, so that it needs the C
# library only. `vantrel_wheel` makes the wheel (bindings/python/build_wheel.py).
function(vantrel_python)
  add_library(vantrel_python SHARED EXCLUDE_FROM_ALL ${VANTREL_OBJECTS})
  vantrel_shared(vantrel_python)
  target_link_libraries(vantrel_python PRIVATE vantrel_settings)
  target_link_options(vantrel_python PRIVATE -static-libstdc++ -static-libgcc -s)
  set_target_properties(vantrel_python PROPERTIES LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/python")
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    add_custom_target(vantrel_wheel COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/bindings/python/build_wheel.py"
      --library $<TARGET_FILE:vantrel_python> --output "${PROJECT_BINARY_DIR}/python" DEPENDS vantrel_python VERBATIM)
  endif()
endfunction()

# vantrel_tool_texts(): the tool writes its own manual page and completions; one for another system cannot run
# here.
function(vantrel_tool_texts)
  set(texts "${PROJECT_BINARY_DIR}/xmldsig.1")
  set(commands COMMAND xmldsig help --man > "${PROJECT_BINARY_DIR}/xmldsig.1")
  foreach(shell IN ITEMS bash zsh fish)
    set(file "${PROJECT_BINARY_DIR}/xmldsig.${shell}")
    list(APPEND texts "${file}")
    list(APPEND commands COMMAND xmldsig completion ${shell} > "${file}")
  endforeach()
  add_custom_command(TARGET xmldsig POST_BUILD BYPRODUCTS ${texts} ${commands} VERBATIM)
endfunction()

# vantrel_few_shared_libraries(target): a program that has the libraries of C++ and of mathematics in it, so far as
# they stand here for linking so. Finding their many symbols takes longer than verifying a small document. Not with a
# sanitizer, which brings a library of its own, nor with a shared library of ours, which must have the same one.
function(vantrel_few_shared_libraries target)
  set(code "#include <charconv>\n#include <cmath>\n#include <thread>\nint main(int n, char** v) {
    double d = 0;
    std::from_chars(v[0], v[0] + n, d);
    std::thread([&d, n] { d = std::fmod(d, n); }).join();
    return d > 1;
  }")
  set(CMAKE_REQUIRED_LINK_OPTIONS -nodefaultlibs)
  set(CMAKE_REQUIRED_LIBRARIES -Wl,-Bstatic -lstdc++ -lm -lgcc_eh -lgcc -Wl,-Bdynamic -lc)
  check_cxx_source_compiles("${code}" VANTREL_ONLY_C_LIBRARY_SHARED)
  if(NOT VANTREL_ONLY_C_LIBRARY_SHARED)
    set(CMAKE_REQUIRED_LINK_OPTIONS -static-libstdc++ -static-libgcc)
    set(CMAKE_REQUIRED_LIBRARIES "")
    check_cxx_source_compiles("${code}" VANTREL_STATIC_CXX_LIBRARY)
    if(NOT VANTREL_STATIC_CXX_LIBRARY)
      return()
    endif()
  endif()
  target_link_options(${target} PRIVATE ${CMAKE_REQUIRED_LINK_OPTIONS})
  target_link_libraries(${target} PRIVATE ${CMAKE_REQUIRED_LIBRARIES})
endfunction()

# vantrel_packed_relocations(target): the addresses that are moved when the program starts, some 6 500, stand in
# 2 KB instead of 160. C libraries know that form since glibc 2.36.
function(vantrel_packed_relocations target)
  check_cxx_source_compiles("#include <features.h>
    #if !defined(__GLIBC__) || !__GLIBC_PREREQ(2, 36)
    #error \"another C library\"
    #endif
    int main() {}" VANTREL_KNOWS_PACKED_RELOCATIONS)
  if(VANTREL_KNOWS_PACKED_RELOCATIONS)
    check_linker_flag(CXX "LINKER:-z,pack-relative-relocs" VANTREL_PACKS_RELOCATIONS)
    if(VANTREL_PACKS_RELOCATIONS)
      target_link_options(${target} PRIVATE "LINKER:-z,pack-relative-relocs")
    endif()
  endif()
endfunction()

function(vantrel_tool)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/cli/*.cpp")
  if(sources)
    add_library(xmldsig_objects OBJECT ${sources})
    target_link_libraries(xmldsig_objects PRIVATE vantrel_settings vantrel_warnings)
    target_include_directories(xmldsig_objects PRIVATE "${PROJECT_SOURCE_DIR}/include")
    target_compile_definitions(xmldsig_objects PRIVATE VANTREL_VERSION="${PROJECT_VERSION}")
    set_target_properties(xmldsig_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    vantrel_precompile(xmldsig_objects)
    add_executable(xmldsig $<TARGET_OBJECTS:xmldsig_objects>)
    # The tool uses more than the shared library exports, so it has the library in it.
    target_link_libraries(xmldsig PRIVATE $<IF:$<BOOL:${BUILD_SHARED_LIBS}>,vantrel_c,vantrel> vantrel_sandbox)
    if(NOT BUILD_SHARED_LIBS AND NOT VANTREL_SANITIZERS)
      vantrel_few_shared_libraries(xmldsig)
      vantrel_packed_relocations(xmldsig)
    endif()
    if(NOT CMAKE_CROSSCOMPILING)
      vantrel_tool_texts()
    endif()
    # The same without any shared library, for containers and machines with others than this one's.
    add_executable(xmldsig_static EXCLUDE_FROM_ALL $<TARGET_OBJECTS:xmldsig_objects>)
    target_link_libraries(xmldsig_static PRIVATE vantrel_c vantrel_sandbox)
    target_link_options(xmldsig_static PRIVATE -static)
    # At a fixed address: linkers differ in what they make of a static program that can be moved.
    set_target_properties(xmldsig_static PROPERTIES OUTPUT_NAME xmldsig RUNTIME_OUTPUT_DIRECTORY
      "${PROJECT_BINARY_DIR}/static" POSITION_INDEPENDENT_CODE OFF)
  endif()
endfunction()

# vantrel_test(name path libraries...): the tests in tests/`path` and below as one program test_<name>.
function(vantrel_test name path)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${path}/*_test.cpp")
  vantrel_test_program(${name} "${sources}" ${ARGN})
endfunction()

function(vantrel_test_program name sources)
  if(NOT sources)
    return()
  endif()
  set(libraries "")
  foreach(library IN LISTS ARGN)
    list(APPEND libraries vantrel_${library})
  endforeach()
  add_executable(test_${name} ${sources})
  target_link_libraries(test_${name} PRIVATE test_settings test_support ${libraries} vantrel_warnings)
  target_precompile_headers(test_${name} REUSE_FROM test_precompiled)
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
