# The Debian packages, orvellis and orvellis-cluster: cpack --config build/release/CPackConfig.cmake
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvellis)
set(CPACK_PACKAGE_CONTACT "The Orvellis authors <orvellis@example.com>")
set(CPACK_DEBIAN_UNSPECIFIED_DESCRIPTION
"web-server access-log analyser
Orvellis reads the access logs of a web server and makes one HTML page of
them: top URLs, top referrers, search phrases, browsers, bad URLs and the pages
that lead there, visitors' domains, and hits by day, weekday and hour.

It is a CGI program behind a request form, with ready configurations for Apache
httpd, nginx and lighttpd, and a command as well.")
find_program(DPKG dpkg)
set(architecture amd64)
if(DPKG)
  execute_process(COMMAND ${DPKG} --print-architecture OUTPUT_VARIABLE architecture OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(CPACK_PACKAGE_FILE_NAME orvellis_${PROJECT_VERSION}_${architecture})
set(CPACK_DEBIAN_PACKAGE_SECTION web)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

# Each description begins with its own summary. What no component names is the package orvellis.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL Unspecified cluster)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_NAME orvellis)
set(CPACK_DEBIAN_UNSPECIFIED_FILE_NAME orvellis_${PROJECT_VERSION}_${architecture}.deb)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_ARCHITECTURE ${architecture})
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_DEPENDS "libc6 (>= 2.36), libcrypt1 (>= 1:4.1.0)")
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_RECOMMENDS "apache2 | nginx | lighttpd | httpd-cgi, acl, zlib1g, libzstd1, liblzma5, libbz2-1.0, libmaxminddb0")
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_SUGGESTS "fcgiwrap, libisal2")
set(CPACK_DEBIAN_CLUSTER_PACKAGE_NAME orvellis-cluster)
set(CPACK_DEBIAN_CLUSTER_FILE_NAME orvellis-cluster_${PROJECT_VERSION}_all.deb)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_DEPENDS "orvellis (= ${PROJECT_VERSION}), python3 (>= 3.11), python3-distributed")
set(CPACK_DEBIAN_CLUSTER_PACKAGE_RECOMMENDS "python3-fsspec, python3-aiohttp")
set(CPACK_DEBIAN_CLUSTER_DESCRIPTION "web-server access-log analyser, on a Dask cluster
Where logs outgrow one machine, orvellis-cluster lets the workers of a Dask
cluster count them, where they lie: on paths that all workers see, on the
workers' own hosts, or behind addresses. The report is the one that
orvellis-report writes over the same logs on one machine.

Workers need the package orvellis and python3-distributed.")
set(CPACK_STRIP_FILES ON)

# Configuration lies in /etc, outside of the prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/package_files.cmake)
set(CPACK_ORVELLIS_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/conffiles ${PROJECT_SOURCE_DIR}/packaging/postinst
    ${PROJECT_SOURCE_DIR}/packaging/prerm ${PROJECT_SOURCE_DIR}/packaging/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
