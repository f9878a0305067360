# What orvellis-cluster is made of, and where it goes: a package of its own for Debian. The modules stand in a folder that
# no other program looks into, beside the command, to which a link leads.
include(GNUInstallDirs)
set(cluster_dir ${CMAKE_INSTALL_DATADIR}/orvellis-cluster)
install(PROGRAMS cluster/orvellis-cluster DESTINATION ${cluster_dir} COMPONENT cluster)
install(DIRECTORY cluster/orvellis_cluster DESTINATION ${cluster_dir} COMPONENT cluster
        FILES_MATCHING PATTERN *.py PATTERN __pycache__ EXCLUDE)
install(CODE "
  set(bin_folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  file(MAKE_DIRECTORY \"\${bin_folder}\")
  file(CREATE_LINK ../${cluster_dir}/orvellis-cluster \"\${bin_folder}/orvellis-cluster\" SYMBOLIC)
" COMPONENT cluster)
install(FILES man/orvellis-cluster.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT cluster)
install(FILES completions/orvellis-cluster.bash RENAME orvellis-cluster
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT cluster)
install(FILES completions/_orvellis-cluster DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT cluster)
