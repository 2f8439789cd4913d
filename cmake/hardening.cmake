# Optimised builds of GCC and Clang are hardened as distributions do it: a smashed stack ends the
# process, so do overruns that the C library can see, jumps into the middle of functions where the
# processor checks them, and the tables of the dynamic linker are read-only once it is done. These
# are options of this directory and those below it: who links the library gets none of them.
option(FWBASE_HARDENING "Harden optimised builds by GCC and Clang" ON)

# With sanitizers, which look for more than that and know the plain C library only.
if(FWBASE_HARDENING
   AND CMAKE_CXX_COMPILER_ID MATCHES "^(GNU|Clang)$"
   AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(FWBASE_HARDENED TRUE)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection=full FWBASE_HAS_CF_PROTECTION)
  add_compile_options($<${optimised}:-fstack-protector-strong>)
  if(FWBASE_HAS_CF_PROTECTION)
    add_compile_options($<${optimised}:-fcf-protection=full>)
  endif()
  if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")  # whoever gives a level gets it
    add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
  endif()
  add_link_options($<${optimised}:LINKER:-z,relro,-z,now>)
endif()
