# Runs during installation, when the prefix is final: makes the files that hold
# paths, and the links.

# The full path of a folder given as GNUInstallDirs does; the system's own prefix
# keeps configuration and state outside of it.
function(full_path result folder outside_usr)
  if(IS_ABSOLUTE "${folder}")
    set(${result} "${folder}" PARENT_SCOPE)
  elseif(outside_usr AND CMAKE_INSTALL_PREFIX MATCHES "^/(usr/?)?$")
    set(${result} "/${folder}" PARENT_SCOPE)
  else()
    string(REGEX REPLACE "/$" "" prefix "${CMAKE_INSTALL_PREFIX}")
    set(${result} "${prefix}/${folder}" PARENT_SCOPE)
  endif()
endfunction()

full_path(BIN_DIR "${bin_dir}" FALSE)
full_path(CGI_DIR "${cgi_dir}" FALSE)
full_path(GATE_DIR "${gate_dir}" FALSE)
full_path(SHARE_DIR "${share_dir}" FALSE)
full_path(SYSCONF_DIR "${sysconf_dir}" TRUE)
full_path(LOG_DIR "${state_dir}/log" TRUE)
full_path(STATE_DIR "${state_dir}/lib" TRUE)
set(SITE_DIR "${SHARE_DIR}/site")

# What the program tells browsers of its reports stands in its source, in several literals.
file(READ "${CMAKE_CURRENT_LIST_DIR}/../src/report/report_policy.h" source)
string(REGEX MATCHALL "\"[^\"]+\"" REPORT_POLICY "${source}")
string(REPLACE "\";\"" "" REPORT_POLICY "${REPORT_POLICY}")
string(REPLACE "\"" "" REPORT_POLICY "${REPORT_POLICY}")
if(NOT REPORT_POLICY MATCHES "^sandbox .*'none'$")
  message(FATAL_ERROR "The policy of reports was not found.")
endif()
set(SITE_POLICY
    "default-src 'none'; img-src 'self'; style-src 'self'; script-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'")

# A folder of this run's own: two installations may go on at once.
string(RANDOM LENGTH 12 run)
set(made_dir "${made_dir}/${run}")
foreach(name apache nginx nginx-common nginx-http lighttpd fcgiwrap-sandbox orvellis)
  configure_file("${conf_source}/${name}.conf.in" "${made_dir}/${name}.conf" @ONLY)
endforeach()
file(INSTALL "${made_dir}/apache.conf" "${made_dir}/nginx.conf" "${made_dir}/nginx-common.conf"
             "${made_dir}/nginx-http.conf" "${made_dir}/lighttpd.conf" "${made_dir}/fcgiwrap-sandbox.conf" "${made_dir}/orvellis.conf"
     DESTINATION "${SHARE_DIR}/conf")

configure_file("${conf_source}/fail2ban/jail.conf.in" "${made_dir}/jail.conf" @ONLY)
file(INSTALL "${conf_source}/fail2ban/filter.conf" "${made_dir}/jail.conf" DESTINATION "${SHARE_DIR}/conf/fail2ban")

configure_file("${conf_source}/gate.in" "${made_dir}/gate" @ONLY)
file(INSTALL "${made_dir}/gate" DESTINATION "${GATE_DIR}" RENAME orvellis
     PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
foreach(place RANGE 11)
  file(INSTALL "${conf_source}/place" DESTINATION "${SHARE_DIR}/places" RENAME ${place})
endforeach()

# A configuration that is there already has been edited: it stays.
if(NOT EXISTS "$ENV{DESTDIR}${SYSCONF_DIR}/orvellis/orvellis.conf")
  file(INSTALL "${made_dir}/orvellis.conf" DESTINATION "${SYSCONF_DIR}/orvellis")
endif()
file(REMOVE_RECURSE "${made_dir}")

# Links within the prefix are relative, so that it can be moved.
function(link_to target link)
  get_filename_component(folder "${link}" DIRECTORY)
  string(FIND "${target}" "${CMAKE_INSTALL_PREFIX}/" inside)
  if(inside EQUAL 0)
    file(RELATIVE_PATH target "${folder}" "${target}")
  endif()
  file(MAKE_DIRECTORY "$ENV{DESTDIR}${folder}")
  message(STATUS "Linking: $ENV{DESTDIR}${link}")
  file(REMOVE "$ENV{DESTDIR}${link}")
  file(CREATE_LINK "${target}" "$ENV{DESTDIR}${link}" SYMBOLIC)
endfunction()

link_to("${CGI_DIR}/orvellis" "${BIN_DIR}/orvellis")
link_to("${SYSCONF_DIR}/orvellis/orvellis.conf" "${CGI_DIR}/orvellis.conf")
