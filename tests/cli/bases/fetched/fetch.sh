# fetch QUERY [NAME=VALUE...]: the answer to a stranger who opens an address.
fetch() {
  query=$1
  shift
  env REQUEST_METHOD=GET REMOTE_ADDR=203.0.113.9 "QUERY_STRING=$query" "$@" "$ORVELLIS" </dev/null
}

# tell QUERY [NAME=VALUE...]: what tells that answer from others: its status, title, error, notes of
# days, requests, and the links to other days with their addresses; or that it is the form.
tell() {
  echo "-- $*"
  fetch "$@" >answer
  ! grep -q '<form' answer || { echo 'the form' && return; }
  sed -n -e '/^Status: /p' -e 's|^<title>\(.*\)</title>|title: \1|p' \
    -e 's|^<h1>\(Orvellis .*\)</h1>|\1|p' -e 's|^<p>\(The logs hold .*\)</p>|\1|p' \
    -e '/^<li>The logs/p' -e '/^<li>No request/p' \
    -e 's|^<li><a rel="nofollow" href="\([^"]*\)">\(.*\)</li>|\2: \1|p' \
    -e 's|.*<dt>Requests</dt><dd class="figure">\([0-9,]*\)<.*|\1 requests|p' answer
}

# As which day a word is taken: "at 2000-02-29 TELL...".
at() {
  day=$1
  shift
  SOURCE_DATE_EPOCH=$(date -u -d "$day 12:00" +%s) "$@"
}
