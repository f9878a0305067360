# The style and the script that every report page carries, as texts in the program, and
# the content policy that names them by their hashes: made when Orvellis is configured,
# again whenever one of them changes.

# base64 of a SHA-256 given as 64 hexadecimal digits.
function(base64_of_hash result hex)
  set(digits "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
  set(text "")
  foreach(start RANGE 0 63 3)
    string(SUBSTRING "${hex}00" ${start} 3 three)
    math(EXPR bits "0x${three}")
    foreach(shift 6 0)
      math(EXPR place "(${bits} >> ${shift}) & 63")
      string(SUBSTRING "${digits}" ${place} 1 digit)
      string(APPEND text "${digit}")
    endforeach()
  endforeach()
  string(SUBSTRING "${text}" 0 43 text)
  set(${result} "${text}=" PARENT_SCOPE)
endfunction()

# Sets NAME to the texts of files, one behind the other, and NAME_HASH to what a content
# policy calls the whole.
function(read_asset name)
  set(whole "")
  foreach(path IN LISTS ARGN)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${path}")
    file(READ "${path}" text)
    # Comments and indentation are for who changes the file; a comment that begins with // has
    # a line of its own.
    string(REGEX REPLACE "/\\*[^*]*\\*/ *\n?" "" text "${text}")
    string(REGEX REPLACE "(^|\n) *//[^\n]*" "" text "${text}")
    string(REGEX REPLACE "\n[ \n]+" "\n" text "${text}")
    string(APPEND whole "${text}")
  endforeach()
  string(SHA256 hex "${whole}")
  base64_of_hash(hash ${hex})
  set(${name} "${whole}" PARENT_SCOPE)
  set(${name}_HASH "sha256-${hash}" PARENT_SCOPE)
endfunction()
