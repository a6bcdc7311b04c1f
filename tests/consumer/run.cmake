# Installs the build tree BUILD into a folder of its own and builds the consumer against it, once with
# find_package and once with pkg-config where that is installed. Run with cmake -P; variables:
# BUILD, SOURCE, COMPILER, FLAGS, GENERATOR.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT code EQUAL 0)
    string(JOIN " " command ${ARGN})
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

set(place "${BUILD}/consumer")
file(REMOVE_RECURSE "${place}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${place}/installed")
run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE}/tests/consumer" -B "${place}/build"
  "-DCMAKE_PREFIX_PATH=${place}/installed" "-DCMAKE_CXX_COMPILER=${COMPILER}")
run("${CMAKE_COMMAND}" --build "${place}/build")
run("${place}/build/consumer" "${SOURCE}/examples/invoice.xml")
execute_process(COMMAND "${place}/build/consumer" "${SOURCE}/examples/invoice-tampered.xml"
  RESULT_VARIABLE code OUTPUT_QUIET)
if(NOT code EQUAL 1)
  message(FATAL_ERROR "the changed document gave ${code}, not 1")
endif()

find_program(pkg_config NAMES pkg-config pkgconf)
if(pkg_config)
  file(GLOB_RECURSE pc "${place}/installed/*/vantrel.pc")
  get_filename_component(folder "${pc}" DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} "${folder}")
  execute_process(COMMAND "${pkg_config}" --cflags --libs vantrel OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags)
  separate_arguments(FLAGS)
  run("${COMPILER}" -std=c++20 ${FLAGS} "${SOURCE}/tests/consumer/consumer.cpp" ${flags}
    -o "${place}/by-pkg-config")
  run("${place}/by-pkg-config" "${SOURCE}/examples/invoice.xml")
endif()
message("1 passed, 0 failed")
