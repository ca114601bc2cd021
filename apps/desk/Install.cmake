# What of the application is installed.
quorvid_installed_program(quorvid_desk quorvid_desk_installed LIBS quorvid_deskcore quorvid_desk_resources
                          COMPONENT desk)
install(DIRECTORY data/icons/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons COMPONENT desk)
install(FILES data/example.quorvid.Desk.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT desk)
install(FILES data/example.quorvid.Desk.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT desk)
