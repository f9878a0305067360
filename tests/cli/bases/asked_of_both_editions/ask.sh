# ask FORM [NAME=VALUE...]: posts the form to both editions, over the configuration
# that accounts.conf holds, and prints how each answers.
ask() {
  for edition in classic modern; do
    { echo "Edition=$edition" && cat accounts.conf; } >orvellis.conf
    post "$@" | sed -n -e "s|^<title>Web Site Analysis.*</title>|$edition: admitted|p" \
      -e "s|^Status: |$edition: |p" -e "s|^<h[12]>\(Orvellis\) \(Error #[0-9]*\).*|$edition: \1: \2|p"
  done
}

# post FORM [NAME=VALUE...]: prints the answer to it, over the configuration as it is.
post() {
  form="$1&date=03052000,03052000"
  shift
  echo "$form" |
    env REQUEST_METHOD=POST REMOTE_ADDR=203.0.113.9 "CONTENT_LENGTH=${#form}" "$@" "$ORVELLIS"
}
