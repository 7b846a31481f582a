# What makes a mistake that is left in the code harder to use. Debian's own packages are built with the same,
# and whoever links the library does not want to be the weaker for it. Debug builds go without: there the
# sanitizers look, and _FORTIFY_SOURCE needs an optimiser.
if(MSVC)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:/guard:cf>)
  add_link_options(/guard:cf)
  return()
endif()

if(WIN32)
  add_link_options(LINKER:--dynamicbase,--nxcompat,--high-entropy-va)
  return()
endif()

set(released "$<AND:$<NOT:$<CONFIG:Debug>>,$<COMPILE_LANGUAGE:C,CXX>>")
# A compiler or a parent project may have set _FORTIFY_SOURCE to another value.
add_compile_options("$<${released}:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
add_compile_definitions("$<${released}:_GLIBCXX_ASSERTIONS>")
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)
# A function that is bound at its first call would also have the registers saved on the stack, with whatever
# secret was copied through them.
add_link_options(LINKER:-z,relro,-z,now)
