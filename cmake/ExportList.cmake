# Lets a shared library export exactly the functions named in a list, one a line.
function(export_only target list)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} names)
  if(WIN32)
    list(JOIN names "\n  " exports)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    file(CONFIGURE OUTPUT ${script} @ONLY CONTENT "LIBRARY ${target}\nEXPORTS\n  @exports@\n")
    target_sources(${target} PRIVATE ${script})
    return()
  endif()
  list(JOIN names ";\n    " globals)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${script} @ONLY
       CONTENT "KAVRO_BROKER_1 {\n  global:\n    @globals@;\n  local:\n    *;\n};\n")
  # A look-up that the system never answers may outlive its handle: the code that its thread returns
  # to must stay loaded, hence nodelete. A function that is bound at its first call would have the
  # registers saved on the stack, with whatever secret was copied through them, hence now.
  target_link_options(${target} PRIVATE
    LINKER:--version-script=${script} LINKER:-z,nodelete LINKER:-z,now LINKER:-z,defs)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()
