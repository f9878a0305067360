# Runs when all files of the Debian packages stand ready: what only a Debian package has, in the
# form that Debian wants it.
set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/Unspecified")
set(cluster "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/cluster")
set(doc "${root}/usr/share/doc/orvellis")
set(source "${CPACK_ORVELLIS_SOURCE}")

if(NOT EXISTS "${root}/usr/share/orvellis/site/docs/index.html")
  message(FATAL_ERROR "the package needs the served documentation: install cmark-gfm and build again")
endif()

function(compress file)
  execute_process(COMMAND gzip -9n "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(RENAME "${doc}/LICENSE" "${doc}/copyright")
configure_file("${source}/packaging/changelog" "${doc}/changelog" COPYONLY)
configure_file("${source}/packaging/lintian-overrides" "${root}/usr/share/lintian/overrides/orvellis" COPYONLY)
configure_file("${source}/packaging/logrotate" "${root}/etc/logrotate.d/orvellis" COPYONLY)
configure_file("${root}/usr/share/orvellis/conf/nginx-common.conf" "${root}/etc/nginx/conf.d/orvellis-common.conf" COPYONLY)
compress("${doc}/changelog")
compress("${root}/usr/share/man/man1/orvellis.1")
compress("${root}/usr/share/man/man1/orvellis-report.1")
compress("${root}/usr/share/man/man1/orvellis-passwd.1")
compress("${root}/usr/share/man/man5/orvellis.conf.5")

file(MAKE_DIRECTORY "${cluster}/usr/share/doc/orvellis-cluster")
file(COPY_FILE "${doc}/copyright" "${cluster}/usr/share/doc/orvellis-cluster/copyright")
file(COPY_FILE "${doc}/changelog.gz" "${cluster}/usr/share/doc/orvellis-cluster/changelog.gz")
configure_file("${source}/packaging/cluster-lintian-overrides" "${cluster}/usr/share/lintian/overrides/orvellis-cluster" COPYONLY)
compress("${cluster}/usr/share/man/man1/orvellis-cluster.1")
execute_process(COMMAND chmod -R go-w "${root}" "${cluster}" COMMAND_ERROR_IS_FATAL ANY)
