# Splits a file NAME.case into the files of the case: a line "-- FILE --" begins each of them.
#
#   LC_ALL=C awk -v folder=FOLDER -f split_case.awk CASE

function finish() {
  if (file == "") return
  if (lines && !bare) printf "\n" >file
  close(file)
}

/^-- .+ --$/ {
  finish()
  name = substr($0, 4, length($0) - 6)
  bare = sub(/ \(no line end\)$/, "", name)
  if (name ~ /^expected[.\/]/) {
    expected = 1
  } else if (expected) {
    print name " stands behind what is expected" >"/dev/stderr"
    file = ""
    exit 1
  }
  file = folder "/" name
  if (index(name, "/")) {
    inner = file
    sub(/\/[^\/]*$/, "", inner)
    if (!made[inner]++) system("mkdir -p '" inner "'")
  }
  lines = 0
  printf "" >file
  next
}
file != "" { printf "%s%s", lines++ ? "\n" : "", $0 >file }
END { finish() }
