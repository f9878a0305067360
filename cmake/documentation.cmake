# The served documentation: docs/*.md become pages with the look of the request
# form, at the addresses that reports and error pages link to (src/report/site.h).
find_program(CMARK_GFM cmark-gfm)
if(NOT CMARK_GFM)
  message(STATUS "cmark-gfm is not installed: the installation will lack the served documentation")
  return()
endif()

file(GLOB sources CONFIGURE_DEPENDS docs/*.md)
set(pages_stamp ${PROJECT_BINARY_DIR}/pages.stamp)
add_custom_command(OUTPUT ${pages_stamp}
  COMMAND ${CMAKE_COMMAND} -D CMARK_GFM=${CMARK_GFM} -D DOCS=${PROJECT_SOURCE_DIR}/docs
          -D OUT=${PROJECT_BINARY_DIR}/pages -P ${CMAKE_CURRENT_LIST_DIR}/make_pages.cmake
  COMMAND ${CMAKE_COMMAND} -E touch ${pages_stamp}
  DEPENDS ${sources} ${CMAKE_CURRENT_LIST_DIR}/make_pages.cmake
  COMMENT "Making the served documentation" VERBATIM)
add_custom_target(pages ALL DEPENDS ${pages_stamp})
install(DIRECTORY ${PROJECT_BINARY_DIR}/pages/ DESTINATION ${share_dir}/site)
