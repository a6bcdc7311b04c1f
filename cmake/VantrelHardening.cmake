# SPDX-License-Identifier: MIT
# What makes a fault in memory harder to use. Of this directory alone, so that no program that links the library
# inherits it; a compiler or linker that lacks one does without.

if(VANTREL_HARDENING AND PROJECT_IS_TOP_LEVEL AND NOT VANTREL_SANITIZERS AND NOT EMSCRIPTEN)
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)
  include(CheckLinkerFlag)
  # Position-independent programs, too: libraries are it anyway.
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  # Checked copies where sizes are known, canaries, guard pages that no stack jumps over, marked targets of jumps
  # (CET of x86, BTI and pointer authentication of ARM).
  foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "VANTREL_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      add_compile_options(${flag})
    endif()
  endforeach()
  # The highest level that a compiler has; older ones take 3 for 2.
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
  # Tables of addresses are read-only before the first line runs; no stack is executable.
  foreach(flag IN ITEMS relro now noexecstack)
    check_linker_flag(CXX "LINKER:-z,${flag}" VANTREL_LINKS_${flag})
    if(VANTREL_LINKS_${flag})
      add_link_options("LINKER:-z,${flag}")
    endif()
  endforeach()
endif()
