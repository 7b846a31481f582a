# Lets a shared library export exactly the functions named in a list, one a line.
function(export_only target list)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} names)
  if(WIN32)
    list(JOIN names "\n  " exports)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    file(CONFIGURE OUTPUT ${script} @ONLY CONTENT "LIBRARY ${target}\nEXPORTS\n  @exports@\n")
    target_sources(${target} PRIVATE ${script})
    if(MINGW)
      # The linker's own is for MinGW; this one is for Visual Studio. Debuggers look for what was taken
      # out of the library in the file beside it.
      set(file $<TARGET_FILE:${target}>)
      add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_DLLTOOL} -m i386:x86-64 -d ${script} -l ${target}.lib
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
        COMMAND ${CMAKE_OBJCOPY} --strip-debug --add-gnu-debuglink=${file}.debug ${file} VERBATIM)
    endif()
    return()
  endif()
  list(JOIN names ";\n    " globals)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${script} @ONLY
       CONTENT "KAVRO_BROKER_1 {\n  global:\n    @globals@;\n  local:\n    *;\n};\n")
  # A look-up that the system never answers may outlive its handle: the code that its thread returns
  # to must stay loaded, hence nodelete.
  target_link_options(${target} PRIVATE
    LINKER:--version-script=${script} LINKER:-z,nodelete LINKER:-z,defs)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()
