# What goes where. Destinations are relative, so that "cmake --install --prefix"
# may name another place than the build did; files that hold paths are made when
# the place is known, by install_configuration.cmake.
include(GNUInstallDirs)

set(cgi_dir ${CMAKE_INSTALL_LIBEXECDIR}/orvellis/cgi)
set(gate_dir ${CMAKE_INSTALL_LIBEXECDIR}/orvellis/gate)
set(share_dir ${CMAKE_INSTALL_DATADIR}/orvellis)

# Servers start a CGI program in its own folder, which is where it looks for its
# configuration: hence a folder that holds nothing but these two. The gate that
# they start stands in a folder of its own, too.
install(TARGETS orvellis RUNTIME DESTINATION ${cgi_dir})
install(TARGETS orvellis-passwd RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(DIRECTORY site/ DESTINATION ${share_dir}/site
        PATTERN pictures EXCLUDE PATTERN networks.txt EXCLUDE)
install(DIRECTORY ${PROJECT_BINARY_DIR}/made/site/ DESTINATION ${share_dir}/site)
include(${CMAKE_CURRENT_LIST_DIR}/documentation.cmake)
install(FILES site/networks.txt DESTINATION ${share_dir})
install(FILES conf/passwords DESTINATION ${share_dir}/conf)
install(FILES README.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs PATTERN pictures EXCLUDE)
install(FILES man/orvellis.1 man/orvellis-passwd.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES man/orvellis.conf.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)

install(CODE "
  set(conf_source \"${PROJECT_SOURCE_DIR}/conf\")
  set(made_dir \"${PROJECT_BINARY_DIR}/installed\")
  set(bin_dir \"${CMAKE_INSTALL_BINDIR}\")
  set(cgi_dir \"${cgi_dir}\")
  set(gate_dir \"${gate_dir}\")
  set(share_dir \"${share_dir}\")
  set(sysconf_dir \"${CMAKE_INSTALL_SYSCONFDIR}\")
  set(state_dir \"${CMAKE_INSTALL_LOCALSTATEDIR}\")
")
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/install_configuration.cmake)
