# What orvellis-report is made of, and where it goes.
include(GNUInstallDirs)
install(PROGRAMS bin/orvellis-report DESTINATION ${CMAKE_INSTALL_BINDIR})
install(PROGRAMS bin/orvellis-init-site DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/orvellis)
install(TARGETS orvellis-index RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/orvellis)
install(FILES man/orvellis-report.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES completions/orvellis-report.bash RENAME orvellis-report
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES completions/_orvellis-report DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
