# quorvid_installed_program(PROGRAM NAME LIBS library ... [COMPONENT name]): installs the program under the name it has.
#
# What is installed is the same one, linked with the run path of the installed tree. Were it the build tree's,
# CMake would edit the path at installation and make room for that with an empty element in the build tree's:
# the current directory, where anybody's libraries may lie.
function(quorvid_installed_program program name)
  cmake_parse_arguments(INSTALLED "" "COMPONENT" "LIBS" ${ARGN})
  add_executable(${name} $<TARGET_OBJECTS:${program}>)
  target_link_libraries(${name} PRIVATE ${INSTALLED_LIBS})
  if(IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(run_path ${CMAKE_INSTALL_FULL_LIBDIR})
  else()
    file(RELATIVE_PATH run_path /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set(run_path $ORIGIN/${run_path})
  endif()
  set_target_properties(${name} PROPERTIES OUTPUT_NAME $<TARGET_PROPERTY:${program},OUTPUT_NAME>
                        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/installed
                        BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${run_path}")
  if(INSTALLED_COMPONENT)
    install(TARGETS ${name} RUNTIME COMPONENT ${INSTALLED_COMPONENT})
  else()
    install(TARGETS ${name})
  endif()
endfunction()
