# SPDX-License-Identifier: MIT
# Run by `cmake --install`: lays down include/vantrel/*.h, and all that these include from the tree below
# vantrel/detail, with the include lines changed to match. So the user's include path gains one name,
# vantrel. Variables: VANTREL_SOURCE_DIR, VANTREL_BINARY_DIR, VANTREL_INCLUDE_DIR (may be relative to
# the prefix), and CMAKE_INSTALL_PREFIX.

cmake_policy(VERSION 3.25)

set(stage "${VANTREL_BINARY_DIR}/installed_headers")
file(REMOVE_RECURSE "${stage}")

# vantrel_stage_header(from to): copies a header of the tree into the stage and adds the headers that it
# includes to `waiting` of the caller.
function(vantrel_stage_header from to)
  file(READ "${VANTREL_SOURCE_DIR}/${from}" text)
  string(REGEX MATCHALL "#include \"[^\"]+\"" lines "${text}")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "#include \"(.*)\"" "\\1" header "${line}")
    if(NOT EXISTS "${VANTREL_SOURCE_DIR}/${header}")
      message(FATAL_ERROR "${from} includes ${header}, which is not in the tree")
    endif()
    list(APPEND waiting "${header}")
  endforeach()
  set(waiting "${waiting}" PARENT_SCOPE)
  string(REGEX REPLACE "#include \"([^\"]+)\"" "#include \"vantrel/detail/\\1\"" text "${text}")
  file(WRITE "${stage}/vantrel/${to}" "${text}")
endfunction()

set(waiting "")
file(GLOB public RELATIVE "${VANTREL_SOURCE_DIR}/include/vantrel" "${VANTREL_SOURCE_DIR}/include/vantrel/*.h")
foreach(header IN LISTS public)
  vantrel_stage_header("include/vantrel/${header}" "${header}")
endforeach()
set(staged "")
while(waiting)
  list(POP_FRONT waiting header)
  if(NOT header IN_LIST staged)
    list(APPEND staged "${header}")
    vantrel_stage_header("${header}" "detail/${header}")
  endif()
endwhile()

if(IS_ABSOLUTE "${VANTREL_INCLUDE_DIR}")
  set(destination "${VANTREL_INCLUDE_DIR}")
else()
  set(destination "${CMAKE_INSTALL_PREFIX}/${VANTREL_INCLUDE_DIR}")
endif()
file(INSTALL DESTINATION "${destination}" TYPE DIRECTORY FILES "${stage}/vantrel")
