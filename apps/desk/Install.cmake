# What of the application is installed; the installed program is one of its own for the reason that stands in
# apps/quorvid/CMakeLists.txt.
add_executable(quorvid_desk_installed $<TARGET_OBJECTS:quorvid_desk>)
target_link_libraries(quorvid_desk_installed PRIVATE quorvid_deskcore quorvid_desk_resources)
if(IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(run_path ${CMAKE_INSTALL_FULL_LIBDIR})
else()
  file(RELATIVE_PATH run_path /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set(run_path $ORIGIN/${run_path})
endif()
set_target_properties(quorvid_desk_installed PROPERTIES OUTPUT_NAME quorvid-desk
                      RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/installed
                      BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${run_path}")
install(TARGETS quorvid_desk_installed RUNTIME COMPONENT desk)
install(DIRECTORY data/icons/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons COMPONENT desk)
install(FILES data/example.quorvid.Desk.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT desk)
install(FILES data/example.quorvid.Desk.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT desk)
