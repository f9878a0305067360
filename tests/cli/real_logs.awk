# Prints the records of a log, one a line and tab-separated:
#   host, day (YYYYMMDD), weekday (0 = Sunday), hour, URL, status, bytes, referrer, agent
#
#   kind=common   common or combined log format; skip=N fields stand before it
#   kind=w3c      W3C extended log format, space-separated, fields as its headers say
#   kind=iis      comma format: each field but the last ends at a comma and a blank

BEGIN {
  FS = "\001"
  months = "JanFebMarAprMayJunJulAugSepOctNovDec"
}

{ sub(/\r$/, "") }

# Cuts the next field off the rest of the line. A field that begins with a quote
# or a bracket ends at its counterpart, any other at a space outside quotes.
function next_field(    first, stop, i, c, odd, value) {
  first = substr(rest, 1, 1)
  stop = first == "\"" ? "\"" : first == "[" ? "]" : " "
  for (i = stop == " " ? 1 : 2; i <= length(rest); i++) {
    c = substr(rest, i, 1)
    if (c == stop && !odd) break
    if (c == "\"") odd = !odd
  }
  value = stop == " " ? substr(rest, 1, i - 1) : substr(rest, 2, i - 2)
  rest = substr(rest, i + 1)
  if (stop != " ") sub(/^ /, "", rest)
  return substr(value, 1, 243)
}

function weekday(y, m, d) {  # Zeller's congruence
  if (m < 3) { m += 12; y-- }
  return (d + int(13 * (m + 1) / 5) + y + int(y / 4) - int(y / 100) + int(y / 400) + 6) % 7
}

function none_if_dash(text) { return text == "-" ? "" : text }

function number(text) { return match(text, /^[0-9]+/) ? substr(text, 1, RLENGTH) + 0 : 0 }

function print_record(host, y, m, d, hour, url, status, bytes, referrer, agent) {
  sub(/:.*/, "", host)
  sub(/\.$/, "", host)
  printf "%s\t%04d%02d%02d\t%d\t%d\t%s\t%d\t%.0f\t%s\t%s\n", host, y, m, d, weekday(y, m, d), hour, url, status, bytes,
    none_if_dash(referrer), none_if_dash(agent)
}

# Day, month, year and time of "01/Aug/1995:00:00:01"; 0 when it is not whole.
function split_common_date(text, part) {
  return text ~ /^[0-9]+\/[A-Z][a-z][a-z]\/[0-9]+:[0-9]+:[0-9]+:/ && split(text, part, "[/: ]")
}

kind == "common" && !/^format=/ {
  rest = $0
  for (i = 0; i < skip; i++) next_field()
  host = next_field(); next_field(); next_field()
  dated = split_common_date(next_field(), date)
  if (!dated || rest == "") next
  request = next_field()
  words = split(request, word, "[ ]")
  url = words > 1 ? word[2] : request
  status = number(next_field()); bytes = number(next_field())
  referrer = next_field(); agent = next_field()
  if (url != "-")
    print_record(host, date[3], (index(months, date[2]) + 2) / 3, date[1], date[4], url, status, bytes, referrer, agent)
}

kind == "w3c" && /^#Fields: / {
  count = split(substr($0, 10), name, " ")
  next
}

kind == "w3c" && !/^#/ {
  split($0, value, " ")
  for (i = 1; i <= count; i++) of[name[i]] = substr(value[i], 1, 243)
  split(of["date"], date, "-")
  split(of["time"], time, ":")
  url = of["cs-uri-stem"]
  if (of["cs-uri-query"] != "-") url = substr(url "?" of["cs-uri-query"], 1, 243)
  agent = of["cs(User-Agent)"]
  gsub(/\+/, " ", agent)
  print_record(of["c-ip"], date[1], date[2], date[3], time[1], url, of["sc-status"], number(of["sc-bytes"]),
    of["cs(Referer)"], agent)
}

kind == "iis" {
  split($0, value, ", ")
  split(value[3], date, "/")
  split(value[4], time, ":")
  if (date[3] < 100) date[3] += 2000
  url = value[14]
  if (value[15] != "-") url = url "?" value[15]
  print_record(value[1], date[3], date[1], date[2], time[1], url, value[11], value[10], "", "")
}
