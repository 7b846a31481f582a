# Makes an archive of what some targets are compiled to, in which only the functions named in a list can be
# seen, one a line: a program with an Asio of its own does not meet the library's.
function(add_static_library target list)
  list(TRANSFORM ARGN REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
  if(WIN32)
    add_library(${target} STATIC ${objects}) # whose linker cannot merge what is there twice
    return()
  endif()
  set(object ${CMAKE_CURRENT_BINARY_DIR}/${target}.o)
  add_custom_command(OUTPUT ${object}
    COMMAND ${CMAKE_CXX_COMPILER} -r -nostdlib -Wl,--force-group-allocation -o ${object} ${objects}
    COMMAND ${CMAKE_OBJCOPY} --keep-global-symbols=${list} ${object}
    DEPENDS ${objects} ${list} COMMAND_EXPAND_LISTS VERBATIM)
  add_library(${target} STATIC ${object})
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
endfunction()
