# SPDX-License-Identifier: MIT
# Installs the build tree BUILD into a folder of its own, its headers in a folder with a name of their own,
# and builds the consumers against it, once with find_package and once with pkg-config where that is
# installed. Run with cmake -P; variables: BUILD, SOURCE, COMPILER, FLAGS, GENERATOR.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT code EQUAL 0)
    string(JOIN " " command ${ARGN})
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

# What users include must not lead into the scanner, the canonicalizer, the locator or the algorithms.
# The element tree gives out numbers of elements, and no more of them.
set(open_internals foundation/xml/scan/element_id.h)
function(check_headers includes)
  file(GLOB names RELATIVE "${includes}" "${includes}/*")
  if(NOT names STREQUAL "vantrel")
    message(FATAL_ERROR "the include folder holds ${names}, not vantrel alone")
  endif()
  set(detail "${includes}/vantrel/detail")
  file(GLOB_RECURSE internals RELATIVE "${detail}" "${detail}/foundation/xml/scan/*" "${detail}/foundation/xml/canon/*"
    "${detail}/foundation/xml/locate/*" "${detail}/foundation/crypto/*")
  foreach(header IN LISTS internals)
    message("laid down though internal: ${header}")
  endforeach()
  list(REMOVE_ITEM internals ${open_internals})
  if(internals)
    message(FATAL_ERROR "internal headers are laid down: ${internals}")
  endif()
endfunction()

set(place "${BUILD}/consumer")
file(REMOVE_RECURSE "${place}")

# A build tree with another name for the include folder; it borrows what was built, since that differs
# in nothing else.
run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE}" -B "${place}/renamed" "-DCMAKE_CXX_COMPILER=${COMPILER}"
  "-DVANTREL_SANITIZERS=${SANITIZERS}" -DCMAKE_INSTALL_INCLUDEDIR=inc)
file(GLOB texts "${BUILD}/xmldsig.*")
file(COPY "${BUILD}/libvantrel.a" "${BUILD}/xmldsig" ${texts} DESTINATION "${place}/renamed")

run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${place}/usual")
run("${CMAKE_COMMAND}" --install "${place}/renamed" --prefix "${place}/installed")
check_headers("${place}/usual/include")
foreach(text man/man1/xmldsig.1 bash-completion/completions/xmldsig zsh/site-functions/_xmldsig
    fish/vendor_completions.d/xmldsig.fish)
  if(NOT EXISTS "${place}/usual/share/${text}")
    message(FATAL_ERROR "${text} is not laid down")
  endif()
endforeach()
check_headers("${place}/installed/inc")

run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE}/tests/consumer" -B "${place}/build"
  "-DCMAKE_PREFIX_PATH=${place}/installed" "-DCMAKE_CXX_COMPILER=${COMPILER}")
run("${CMAKE_COMMAND}" --build "${place}/build")
run("${place}/build/consumer" "${SOURCE}/examples/invoice.xml")
execute_process(COMMAND "${place}/build/consumer" "${SOURCE}/examples/invoice-tampered.xml"
  RESULT_VARIABLE code OUTPUT_QUIET)
if(NOT code EQUAL 1)
  message(FATAL_ERROR "the changed document gave ${code}, not 1")
endif()
foreach(program verify verify_c)
  run("${place}/build/${program}" "${SOURCE}/examples/invoice.xml")
  execute_process(COMMAND "${place}/build/${program}" "${SOURCE}/examples/invoice-tampered.xml"
    RESULT_VARIABLE code OUTPUT_QUIET)
  if(NOT code EQUAL 1)
    message(FATAL_ERROR "${program}: the changed document gave ${code}, not 1")
  endif()
endforeach()
# A time-stamp names the signature value that it is over by its Id.
file(READ "${SOURCE}/examples/invoice.xml" invoice)
string(REPLACE "<SignatureValue>" "<SignatureValue Id=\"value\">" named "${invoice}")
file(WRITE "${place}/named.xml" "${named}")
run("${place}/build/timestamp" "${place}/named.xml")

find_program(pkg_config NAMES pkg-config pkgconf)
if(pkg_config)
  separate_arguments(sanitizers UNIX_COMMAND "${FLAGS}")
  foreach(tree usual installed)
    file(GLOB_RECURSE pc "${place}/${tree}/*/vantrel.pc")
    get_filename_component(folder "${pc}" DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} "${folder}")
    execute_process(COMMAND "${pkg_config}" --cflags --libs vantrel OUTPUT_VARIABLE flags
      OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    run("${COMPILER}" -std=c++20 ${sanitizers} "${SOURCE}/tests/consumer/consumer.cpp" ${flags}
      -o "${place}/by-pkg-config")
    run("${place}/by-pkg-config" "${SOURCE}/examples/invoice.xml")
  endforeach()
endif()
message("1 passed, 0 failed")
