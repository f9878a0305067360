#!/bin/sh
# Tests bin/orvellis-report under one shell.
#
#   run_tests.sh PROGRAM PROJECT_FOLDER dash|busybox [CASE...]
#
# Each case is a function test_NAME; it runs in an empty folder of its own and
# fails by a check that does not hold. With busybox, every tool that the script
# calls is busybox's, too. Exits with 77 when the shell is not installed.
set -u
program=$1 project=$2 shell=$3
shift 3
export LC_ALL=C TZ=UTC ORVELLIS_CACHE=
command -v "$shell" >/dev/null || exit 77

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
case $shell in
  busybox)
    mkdir "$root/tools"
    for tool in $(busybox --list); do ln -s "$(command -v busybox)" "$root/tools/$tool"; done
    shell=$root/tools/sh tools=$root/tools
    ;;
  *) shell=$(command -v "$shell") tools=$PATH ;;
esac
report=$project/bin/orvellis-report

# ---- What the cases are made of -------------------------------------------------------

# The command, which asks for $edition: the classic one, whose pages are fixed, unless a case says otherwise.
orvellis_report() {
  PATH=$stubs:$tools ORVELLIS=$stand_in TMPDIR=$private "$shell" "$report" ${edition:+"$edition"} "$@"
}

# Runs the command in the case's folder: sets $status, leaves out and err.
run() {
  orvellis_report "$@" >out 2>err </dev/null
  status=$?
}

failed() {
  echo "FAILED: $case: $*"
  for name in out err; do
    if [ -f "$name" ]; then sed "s/^/  $name: /" "$name" | head -n 20; fi
  done
  failures=$((failures + 1))
}
expect_status() { [ "$status" = "$1" ] || failed "exit status $status, not $1"; }
expect_error() { # STATUS TEXT: that status, and one line on standard error that holds the text
  expect_status "$1"
  grep -qF -- "$2" err || failed "no error \"$2\""
  [ "$(wc -l <err)" -eq 1 ] || failed "the error is not one line"
}
expect_in() { grep -qaF -- "$2" "$1" || failed "no \"$2\" in $1"; }
expect_not_in() { if grep -qaF -- "$2" "$1"; then failed "\"$2\" in $1"; fi; }
expect_match() { grep -qaE -- "$2" "$1" || failed "no match of $2 in $1"; }
expect_records() { # NUMBER FROM TO
  expect_status 0
  expect_match err "^report.html: $1 records? from $2 to $3, [0-9,]+ bytes of logs, [0-9]+ s\$"
}
expect_argument() { grep -qxF -- "$1" arguments || failed "no argument $1"; }

# A line of the common log format: day of March 2000, path, host.
line() { printf '%s - - [%02d/Mar/2000:10:00:00 +0000] "GET %s HTTP/1.0" 200 100\n' "${3:-192.0.2.1}" "$1" "${2:-/a.html}"; }
combined() { printf '%s "%s" "Lynx/2.8.2"\n' "$(line "$1" "$2")" "$3"; }
hour() { line "$1" | sed "s/:10:00:00/:$2:00:00/"; } # a line of that hour of a day
week() { for n in 5 6 7; do line "$n"; done; }

# A program in orvellis's place: the text runs in front of the real one.
stand_in_does() {
  printf '#!/bin/sh\n%s\nexec "%s" "$@"\n' "$1" "$program" >"$folder/stand-in"
  chmod +x "$folder/stand-in"
  stand_in=$folder/stand-in
}
record_arguments() {
  # shellcheck disable=SC2016 # for the stand-in
  stand_in_does 'case $* in *requests=1* | *dailytotals=1* ) printf "%s\n" "$@" >'"'$folder/arguments'; cp orvellis.conf '$folder/configuration' ;; esac"
}
stub() { # NAME TEXT: a command in front of the system's
  printf '#!/bin/sh\n%s\n' "$2" >"$stubs/$1"
  chmod +x "$stubs/$1"
}

# ---- Inputs -----------------------------------------------------------------------------

test_one_log() {
  week >access.log
  run access.log
  expect_records 3 2000-03-05 2000-03-07
  expect_in report.html '<b>Date Range Analyzed:</b></td><td width="50%">03/05/2000 - 03/07/2000'
  for section in urls referrers search browsers badurls badreferrers domains networks daily weekly hourly; do
    expect_in report.html "<a href=\"#$section\">"
  done
}

# The logs that a page says it was made from.
named_logs() { sed -n 's/<div><dt>From<.dt> <dd>[^:]*: \(.*\)<.dd><.div>/\1/p' report.html; }

test_pages_call_logs_by_their_own_names() {
  edition=''
  mkdir 'a folder'
  line 5 >access.log
  line 6 /b.html >'a folder/old "log" <b>'
  line 7 /c.html | gzip -c >access.log.2.gz
  line 8 /dd.html >"a folder/
x"
  line 9 /eee.html >input
  orvellis_report access.log 'a folder/old "log" <b>' access.log.2.gz "a folder/
x" - <input >out 2>err
  status=$?
  expect_status 0
  [ "$(named_logs)" = '<bdi>access.log</bdi>, <bdi>old &quot;log&quot; &lt;b&gt;</bdi>, <bdi>access.log.2.gz</bdi>, <bdi><i>\x0A</i>x</bdi>, <bdi>standard input</bdi>' ] ||
    failed "the logs are $(named_logs)"
}

test_a_packed_input_and_a_pipe_have_names() {
  edition=''
  mkfifo fifo
  line 5 >fifo &
  line 6 /b.html | gzip -c >packed
  orvellis_report fifo - <packed >out 2>err
  status=$?
  expect_status 0
  [ "$(named_logs)" = '<bdi>fifo</bdi>, <bdi>standard input</bdi>' ] || failed "the logs are $(named_logs)"
}

test_several_logs() {
  line 5 >a.log
  line 9 >b.log
  run a.log b.log
  expect_records 2 2000-03-05 2000-03-09
}

test_folder() {
  mkdir logs
  line 5 >logs/a.log
  line 6 >logs/b
  run logs
  expect_records 2 2000-03-05 2000-03-06
}

test_empty_folder() {
  mkdir logs
  run logs
  expect_error 1 'there is no file in the folder logs'
}

test_pattern_left_by_the_shell() {
  mkdir 'two words'
  line 5 >'two words/a.log'
  line 6 >'two words/b.log'
  run 'two words/*.log'
  expect_records 2 2000-03-05 2000-03-06
}

test_missing_log() {
  run absent.log
  expect_error 2 'there is no file absent.log'
}

test_unreadable_log() {
  [ "$(id -u)" != 0 ] || return 0
  week >access.log
  chmod 0 access.log
  run access.log
  expect_error 2 'cannot read access.log'
}

test_device_is_no_log() {
  run /dev/zero
  expect_error 2 '/dev/zero is neither a file nor a folder of logs'
}

test_empty_log() {
  : >access.log
  run access.log
  expect_error 1 'nothing to report: every log is empty'
  run showquery=1
  expect_error 2 'no log is named'
}

test_logs_without_any_line() {
  : | gzip >empty.gz
  printf '\n\n' >blank.log
  for edition in '' --classic; do
    for log in - empty.gz blank.log; do
      run --quiet "$log"
      expect_error 1 'nothing to report: every log is empty'
    done
  done
  edition=''
  head -c 12 /dev/zero | gzip | head -c 15 >cut.gz
  run cut.gz
  expect_status 1
  expect_in err 'nothing to report: no log holds a line that can be read'
}

test_no_dates() {
  echo 'no log at all' >access.log
  run access.log
  expect_error 1 'no line holds a date that is recognised: --log-format'
}

test_dates_but_no_requests() {
  echo 'www.example.com:80 192.0.2.7 - ann [05/Mar/2000:07:06:11 +0000] "GET / HTTP/1.0" 200 3428 "-" "Lynx"' >access.log
  run access.log
  expect_error 1 'no line is recognised as a request: --log-format'
}

test_header_lines_of_an_unknown_layout() {
  printf '#Version: 1.0\n#Fields: date time x-nothing\n2000-03-05\t10:00:00\t192.0.2.1\t/a.html\n' >access.log
  run access.log
  expect_error 1 'take out the header lines that begin with "#" and tell the layout with --log-format'
  grep -v '^#' access.log >plain.log
  run --log-format T39hu plain.log
  expect_records 1 2000-03-05 2000-03-05
}

test_standard_input() {
  week | orvellis_report - >out 2>err
  status=$?
  expect_records 3 2000-03-05 2000-03-07
}

test_compressed_standard_input() {
  week | gzip | orvellis_report - >out 2>err
  status=$?
  expect_records 3 2000-03-05 2000-03-07
}

test_named_pipe() {
  mkfifo pipe
  week >pipe &
  run pipe
  expect_records 3 2000-03-05 2000-03-07
}

test_compressed_logs() {
  for packer in gzip bzip2 xz zstd; do
    if PATH=$tools command -v "$packer" >/dev/null && command -v "$packer" >/dev/null; then
      week | "$packer" -c >access.log.packed
      run access.log.packed
      expect_records 3 2000-03-05 2000-03-07
    fi
  done
}

test_rotated_set() {
  line 9 >access.log
  line 8 >access.log.1
  line 7 | gzip >access.log.2.gz
  line 6 | gzip >access.log.3
  run access.log access.log.1 access.log.2.gz access.log.3
  expect_records 4 2000-03-06 2000-03-09
}

test_damaged_compressed_log() {
  week | gzip | head -c 40 >access.log.gz
  run access.log.gz
  expect_error 2 'cannot unpack access.log.gz: it is damaged'
}

test_missing_unpacker() {
  mkdir bare
  for tool in "$tools"/awk cat cut date dirname grep head ln mkdir mktemp od rm sed tail tr wc sleep; do
    ln -s "$(PATH=$tools command -v "${tool##*/}")" bare/
  done
  printf '\050\265\057\375....' >access.log.zst
  PATH=$folder/bare ORVELLIS=$program TMPDIR=$private "$shell" "$report" "$edition" access.log.zst >out 2>err
  status=$?
  expect_error 2 'cannot unpack access.log.zst: install the program zstd'
}

# The modern edition unpacks by itself, and writes nothing of it to the disk.
test_modern_rotated_set() {
  edition=''
  line 9 >access.log
  line 7 | gzip >access.log.2.gz
  { line 5 && line 6; } | gzip >access.log.3
  line 4 | gzip >input
  orvellis_report access.log access.log.2.gz access.log.3 - <input >out 2>err
  status=$?
  expect_records 5 2000-03-04 2000-03-09
  run --from 2000-03-06 --to 2000-03-07 access.log access.log.2.gz access.log.3
  expect_records 2 2000-03-06 2000-03-07
}

test_modern_packed_logs_out_of_order() {
  edition=''
  { line 7 && line 4 && line 6; } | gzip >access.log.gz
  line 5 | gzip | tee copy.gz >other.gz
  run access.log.gz other.gz copy.gz
  expect_records 4 2000-03-04 2000-03-07
  expect_in err '1 log holds the same as another'
}

test_modern_log_damaged_behind_its_beginning() {
  edition=''
  { week | gzip && echo 'no gzip'; } >access.log.gz
  run access.log.gz
  expect_records 3 2000-03-05 2000-03-07
  expect_in err 'access.log.gz is cut or damaged'
}

test_modern_log_of_which_nothing_can_be_unpacked() {
  edition=''
  line 9 >access.log
  week | gzip | head -c 40 >access.log.1.gz
  run access.log access.log.1.gz
  expect_records 1 2000-03-09 2000-03-09
  expect_in err 'access.log.1.gz is cut or damaged'
}

test_modern_log_without_its_library() {
  edition=''
  line 9 >access.log
  week | xz -c >access.log.1.xz
  mkdir lib
  : >lib/liblzma.so.5
  LD_LIBRARY_PATH=$PWD/lib
  export LD_LIBRARY_PATH
  run access.log access.log.1.xz
  unset LD_LIBRARY_PATH
  expect_error 2 'access.log.1.xz is compressed by xz, and liblzma.so.5 is not installed'
}

test_odd_names() {
  number=0
  newline='
'
  # shellcheck disable=SC2016 # the dollar is part of the name
  for name in 'a b' "it's" 'say "x"' 'a;b' '100%d' "a${newline}b" "a$newline" 'a*b' 'a=b.log' 'a=b' '$HOME' 'a\b' 'a	b' '#a' '<a>'; do
    number=$((number + 1))
    week >"$name"
    run "$name"
    expect_records 3 2000-03-05 2000-03-07
    run "$PWD/$name"
    expect_records 3 2000-03-05 2000-03-07
    rm -- "$name"
  done
  [ "$number" = 15 ] || failed "$number names were tried"
}

test_names_with_leading_dash() {
  week >-x.log
  run -- -x.log
  expect_records 3 2000-03-05 2000-03-07
  line 8 >--gmt
  run -- --gmt -x.log
  expect_records 4 2000-03-05 2000-03-08
}

test_odd_folder_names() {
  mkdir 'a;b %"'
  week >'a;b %"/c d.log'
  run 'a;b %"'
  expect_records 3 2000-03-05 2000-03-07
}

test_control_characters_are_not_printed() {
  run "$(printf 'a\033[31m\nb')"
  expect_error 2 'there is no file a?[31m?b'
  run "$(printf '\302\205\302\233\302\240a\342\200\256b\342\200\223c\330\234\342\201\246d\303\274')"
  expect_error 2 "$(printf 'there is no file ??\302\240a?b\342\200\223c??d\303\274')"
}

test_same_log_twice_counts_once() {
  week >a.log
  cp a.log b.log
  run a.log b.log
  expect_match err '^report.html: 3 records'
  expect_in err '1 log has the size and the times of another, and is left out as a copy'
}

# ---- The span -----------------------------------------------------------------------------

test_log_in_disorder() {
  for n in 20 25 28 30 2 3 4 9 10; do line "$n"; done >access.log
  run access.log
  expect_records 9 2000-03-02 2000-03-30
  run --match '*a*' access.log
  expect_records 9 2000-03-02 2000-03-30
}

test_logs_of_equal_size_in_disorder() {
  for n in 10 20 11; do line "$n"; done >a.log
  for n in 12 30 13; do line "$n"; done >b.log
  run a.log b.log
  expect_records 6 2000-03-10 2000-03-30
}

test_days_of_logs_in_disorder() {
  for n in 20 25 28 30 2 3 4 9 10; do line "$n"; done >access.log
  run --from 2000-03-09 access.log
  expect_match err '^report.html: 6 records from 2000-03-09 to 2000-03-30'
  run --to 2000-03-20 access.log
  expect_in err 'the logs are not in order of time: requests that stand behind a day after 2000-03-20 are missing'
}

test_days_of_a_log_from_the_latest_to_the_earliest() {
  for n in 20 15 10 5; do line "$n"; done >access.log
  run access.log
  expect_records 4 2000-03-05 2000-03-20
  run --from 2000-03-10 access.log
  expect_records 3 2000-03-10 2000-03-20
  [ "$(wc -l <err)" -eq 1 ] || failed 'more is told'
  run --from 2000-03-05 --to 2000-03-06 access.log
  expect_status 1
  expect_in err 'the logs are not in order of time: requests that stand behind a day after 2000-03-06 are missing'
  expect_in err 'nothing to report: no request from 2000-03-05 to 2000-03-06 is selected'
  run --from 2000-04-01 access.log
  expect_error 1 'nothing to report: the logs go from 2000-03-05 to 2000-03-20'
  # Where it has no say in the days, all is as ever.
  { line 25; line 28; } >new.log
  run --from 2000-03-25 --to 2000-03-26 access.log new.log
  expect_records 1 2000-03-25 2000-03-26
  [ "$(wc -l <err)" -eq 1 ] || failed 'more is told'
}

# Those that lie outside of the days are not read: their lines are not counted.
test_long_history() {
  { line 1; echo nothing; line 2; } >old.log
  line 20 >new.log
  run --from 2000-03-20 old.log new.log
  expect_records 1 2000-03-20 2000-03-20
  [ "$(wc -l <err)" -eq 1 ] || failed 'old logs are read'
}

test_from_and_to() {
  week >access.log
  run --from 2000-03-06 access.log
  expect_records 2 2000-03-06 2000-03-07
  run --to=2000-03-06 access.log
  expect_records 2 2000-03-05 2000-03-06
  run --from 2000-03-06 --to 2000-03-06 access.log
  expect_records 1 2000-03-06 2000-03-06
}

test_days_by_word() {
  for ago in 6 1 0; do
    printf '192.0.2.1 - - [%s:00:00:01 +0000] "GET / HTTP/1.0" 200 1\n' "$(date -d "@$(($(date +%s) - ago * 86400))" +%d/%b/%Y)"
  done >access.log
  day() { date -d "@$(($(date +%s) - $1 * 86400))" +%Y-%m-%d; }
  run --from today --to today access.log
  expect_records 1 "$(day 0)" "$(day 0)"
  run --from yesterday access.log
  expect_records 2 "$(day 1)" "$(day 0)"
  run --from 7d --to yesterday access.log
  expect_records 2 "$(day 6)" "$(day 1)"
  run --from 30d access.log
  expect_records 3 "$(day 29)" "$(day 0)"
}

test_wrong_days() {
  week >access.log
  for word in 2000-02-30 2001-02-29 2000-13-01 2000-00-10 1969-12-31 2038-01-01 tomorrow 0d d 1999-1-1 05/03/2000 ''; do
    run --from "$word" access.log
    if [ -n "$word" ]; then expect_error 2 '--from takes a day'; else expect_records 3 2000-03-05 2000-03-07; fi
    [ -n "$word" ] || continue
    run --to "$word" access.log
    expect_error 2 '--to takes a day'
  done
}

test_leap_day() {
  printf '192.0.2.1 - - [29/Feb/2000:23:59:59 +0000] "GET / HTTP/1.0" 200 1\n' >access.log
  run --from 2000-02-29 --to 2000-02-29 access.log
  expect_records 1 2000-02-29 2000-02-29
}

test_from_after_to() {
  week >access.log
  run --from 2000-03-07 --to 2000-03-06 access.log
  expect_error 2 '--from is a later day than --to'
}

test_days_outside_the_logs() {
  week >access.log
  run --from 2000-04-01 access.log
  expect_error 1 'nothing to report: the logs go from 2000-03-05 to 2000-03-07'
  run --from 2000-04-01 --to 2000-04-02 access.log
  expect_error 1 'nothing to report: the logs go from 2000-03-05 to 2000-03-07'
  { line 1; line 9; } >access.log
  run --from 2000-03-05 --to 2000-03-05 access.log
  expect_error 1 'nothing to report: no request from 2000-03-05 to 2000-03-05 is selected'
}

test_zone() {
  printf '192.0.2.1 - - [05/Mar/2000:23:30:00 +0000] "GET / HTTP/1.0" 200 1\n' >access.log
  TZ=UTC-3 run access.log
  expect_records 1 2000-03-05 2000-03-05
  TZ=UTC-3 run --gmt access.log
  expect_records 1 2000-03-06 2000-03-06
  TZ=UTC+3 run --gmt access.log
  expect_records 1 2000-03-05 2000-03-05
}

# Clocks that are not a whole number of hours ahead or behind.
test_zone_of_half_hours() {
  while read -r zone time day; do
    printf '192.0.2.1 - - [05/Mar/2000:%s:00 +0000] "GET / HTTP/1.0" 200 1\n' "$time" >access.log
    TZ=$zone run --gmt access.log
    expect_records 1 "$day" "$day"
  done <<'END'
IST-5:30 18:29 2000-03-05
IST-5:30 18:31 2000-03-06
NPT-5:45 18:16 2000-03-06
NST3:30 03:29 2000-03-04
NST3:30 03:31 2000-03-05
END
}

# The end of a day stands on another day of Greenwich's, and so does its beginning.
test_days_of_zones_far_from_greenwich() {
  { hour 4 10; hour 5 01; } >early.log
  { hour 5 22; hour 6 10; } >late.log
  for zone in PST8 '<-12>12' UTC0 JST-9 '<+14>-14'; do
    TZ=$zone run --from 2000-03-05 --to 2000-03-05 early.log late.log
    expect_records 2 2000-03-05 2000-03-05
    TZ=$zone run early.log late.log
    expect_records 4 2000-03-04 2000-03-06
  done
}

# ---- What is selected ------------------------------------------------------------------

test_path_and_match() {
  { line 5 /docs/a.html; line 6 /docs/b.html; line 7 /news; } >access.log
  run --path /docs access.log
  expect_records 2 2000-03-05 2000-03-07
  run --match '*/b*' access.log
  expect_records 1 2000-03-05 2000-03-07
  # The slash may be left out; the whole address that a proxy logs stays what it is.
  run --path docs access.log
  expect_records 2 2000-03-05 2000-03-07
  run --path docs/b access.log
  expect_records 1 2000-03-05 2000-03-07
  run --path http://docs access.log
  expect_error 1 'nothing to report'
  run --path "$(printf '%0243d' 0)" access.log
  expect_error 2 '--path takes at most 243 characters'
  run --path /docs --match '*' access.log
  expect_error 2 '--path and --match cannot be used together'
  run --path '/a=b' access.log
  expect_error 2 '--path takes no "="; a wildcard of --match'
  run --timezone a=b access.log
  expect_error 2 'there is no time zone a=b: --timezone takes a name'
  run --log-format a=b access.log
  expect_error 2 'S, T or C and a letter for each field, not "a=b"'
  run --exclude-hosts a=b access.log
  expect_error 2 '--exclude-hosts takes no "=" (see'
  run --log-format "%$(printf '%08191d' 0)" access.log
  expect_error 2 '--log-format takes at most 8191 characters (see'
  run --path "$(printf '/%0250d' 0)" access.log
  expect_error 2 '--path takes at most 243 characters'
}

test_nothing_matches() {
  week >access.log
  run --path /absent access.log
  expect_error 1 'nothing to report: no request from 2000-03-05 to 2000-03-07 is selected'
}

test_absolute_urls_count() {
  line 5 http://www.example.com/a >access.log
  run access.log
  expect_records 1 2000-03-05 2000-03-05
}

test_exclusions() {
  { line 5 /a.html www.example.com; line 6 /b.gif; line 7 /c.html; } >access.log
  run --exclude-hosts example,192.0.3 access.log
  expect_match err '^report.html: 2 records'
  run --exclude-types gif,jpg access.log
  expect_match err '^report.html: 2 records'
}

test_unrecognised_lines() {
  { week; echo 'neither this'; echo; echo '; a comment'; echo 'nor this'; } >access.log
  run access.log
  expect_match err '^report.html: 3 records'
  expect_in err 'orvellis-report: 2 lines were not recognised as a request and left out'
  run --path /a.html --from 2000-03-06 access.log
  expect_match err '^report.html: 2 records'
  expect_in err '2 lines were not recognised'
  { week; echo one; } >access.log
  run access.log
  expect_in err '1 line was not recognised as a request and left out'
}

test_all_line_ends() {
  week | tr '\n' '\r' >access.log
  run access.log
  expect_records 3 2000-03-05 2000-03-07
  week | sed "s/\$/$(printf '\r')/" >access.log
  run access.log
  expect_records 3 2000-03-05 2000-03-07
}

test_sample_logs() {
  run "$project/samples/logs"
  expect_status 0
  expect_match err '^report.html: [0-9,]+ records from 2000-03-05 to 2000-03-11'
  [ "$(wc -l <err)" -eq 1 ] || failed 'lines of the samples are not recognised'
}

# ---- What is passed on -----------------------------------------------------------------

test_defaults_passed_on() {
  record_arguments
  week >access.log
  run access.log
  for argument in requests=1,30,0 domaintypes=1,30,0 dailytotals=1 hitsperhour=1 badurl_referrers=1 'find=*' find_pattern=1; do
    expect_argument "$argument"
  done
}

test_numbers_passed_on() {
  record_arguments
  week >access.log
  run --top 5% --min=2 --reports requests,hitsperhour access.log
  expect_status 0
  expect_argument requests=1,5%,2
  expect_argument hitsperhour=1
  expect_not_in arguments browsers
  expect_not_in report.html '<a name="weekly">'
}

test_texts_passed_on() {
  record_arguments
  week >access.log
  run --dns --date-format dmy --log-format Shmw1qrc --gmt --url www.example.com \
    showquery=1 'authuser=it'\''s %s;*' access.log
  for argument in dnslookupenabled=1 dateformat=DMY logformat=Shmw1qrc fixgmt=1 url=http://www.example.com showquery=1 \
    'authuser=it'\''s %s;*'; do
    expect_argument "$argument"
  done
}

# Every run asks for the same edition: that of the page counts as those do that it is checked against.
test_edition_passed_on() {
  stand_in_does "printf '%s ' \"\$@\" | sed 's/\$/\\n/' >>'$folder/runs'"
  week >access.log
  for edition in '' --classic; do
    case $edition in '') name=modern ;; *) name=classic ;; esac
    rm -f runs
    run --from 2000-03-06 access.log
    expect_records 2 2000-03-06 2000-03-07
    [ "$(wc -l <runs)" -ge 1 ] || failed 'no run is seen'
    [ "$(grep -c " edition=$name " runs)" -eq "$(wc -l <runs)" ] || failed "not every run asks for $name"
    [ "$(grep -o 'edition=' runs | wc -l)" -eq "$(wc -l <runs)" ] || failed 'a run asks for two editions'
  done
}

test_edition_is_kept_with_the_configuration() {
  week >access.log
  for edition in '' --classic; do
    run --keep-config access.log
    kept=$(sed -n 's/^the configuration is kept in \([^;]*\);.*/\1/p' err)
    case $edition in '') name=modern ;; *) name=classic ;; esac
    expect_in "$kept/report.sh" " 'edition=$name' "
    expect_not_in "$kept/orvellis.conf" dition
    rm -rf "$kept"
  done
}

# One way to say it: an argument can neither repeat nor contradict the option.
test_edition_as_a_parameter_is_refused() {
  week >access.log
  for edition in '' --classic; do
    for parameter in edition=modern edition=classic Edition=; do
      run access.log "$parameter"
      expect_error 2 "the edition is modern, or classic with --classic, and not set by ${parameter%%=*}="
    done
    [ ! -e report.html ] || failed 'a page is written'
  done
  mv access.log edition=classic
  run edition=classic
  expect_records 3 2000-03-05 2000-03-07
}

test_title() {
  week >access.log
  run --title 'Müller & <b>Söhne</b> a=b "x"' access.log
  expect_in report.html '<title>M&#252;ller &#38; &#60;b&#62;S&#246;hne&#60;/b&#62; a&#61;b &#34;x&#34;</title>'
  run --title "$(printf '%0244d' 0)" access.log
  expect_error 2 '--title is too long'
}

test_url_links_the_urls() {
  week >access.log
  run --url https://www.example.com/ access.log
  expect_in report.html 'href="https://www.example.com/a.html"'
  run access.log
  expect_in report.html 'href="http://localhost/a.html"'
  edition=''
  for kind in --no-script --text --json --csv; do
    run $kind -o "report$kind" access.log
    expect_status 0
    expect_in "report$kind" /a.html
    expect_not_in "report$kind" localhost
    expect_not_in "report$kind" 'href="/'
  done
  for url in '' / ; do
    run --url "$url" access.log
    expect_status 2
  done
}

test_memory() {
  record_arguments
  week >access.log
  for pair in 64M:65536 512k:512 1G:1048576 1048576:1024; do
    run --memory "${pair%:*}" access.log
    expect_status 0
    grep -qx "SmartMemoryMaxMemoryToAllocate=${pair#*:}" configuration || failed "${pair%:*} is not ${pair#*:}"
  done
  for size in '' M 10 499K 2G 64MB -1 99999999999M; do
    run --memory "$size" access.log
    expect_error 2 '--memory takes'
  done
}

test_cache() {
  record_arguments
  edition=''
  week >access.log
  run access.log
  expect_not_in arguments partcache
  run --cache access.log
  expect_records 3 2000-03-05 2000-03-07
  expect_argument partcache=1
  run --cache=counts access.log
  expect_records 3 2000-03-05 2000-03-07
  expect_argument "partcache=$folder/counts"
  [ "$(stat -c %a counts)" = 700 ] || failed "the folder has the mode $(stat -c %a counts)"
  run --cache=0 access.log partcachesize=1M
  expect_argument "partcache=$folder/0"
  expect_argument partcachesize=1M
  edition=--classic
  run --cache=counts access.log
  expect_records 3 2000-03-05 2000-03-07
  expect_argument "partcache=$folder/counts"
}

test_cache_values() {
  week >access.log
  run --cache= access.log
  expect_error 2 '--cache needs a value'
  run --cache=a=b access.log
  expect_error 2 '--cache takes no "="'
  long=$(printf '%0242d' 0)
  run --cache="/$long" access.log
  expect_error 2 '--cache takes a path of less than 243 characters'
  mkdir a=b && cd a=b || exit
  run --cache=counts ../access.log
  expect_error 2 '--cache takes no "=" in the path'
  cd ..
  run access.log PartCache=counts
  expect_error 2 'the folder of kept counts is told by --cache'
}

counts_named() { # TEXT, FOLDER: counts whose names begin with the text
  printf '%d bytes' 8 >"$2/${1}123456789abcdef0123456789abcdef.counts"
}

test_clear_cache() {
  mkdir cache cache/folder
  for first in 0 1 e f; do counts_named $first cache; done
  for other in g F; do counts_named $other cache; done
  counts_named 0 cache/folder
  for name in 0123456789abcdef0123456789abcde.counts 00123456789abcdef0123456789abcdef.counts \
    0123456789abcdef0123456789abcdef.count 0123456789abcdef0123456789abcdef.counts.new \
    0123456789abcdef0123456789abcdef 'a b.counts' .counts report.html; do
    echo mine >"cache/$name"
  done
  mkdir cache/2123456789abcdef0123456789abcdef.counts
  ln -s report.html cache/3123456789abcdef0123456789abcdef.counts
  counts_named 4 cache
  chown nobody cache/4123456789abcdef0123456789abcdef.counts 2>/dev/null || rm cache/4*.counts # as nobody else may
  (cd cache && find . | sort | grep -v '^./[01ef]123456789abcdef0123456789abcdef.counts$') >expected
  run --clear-cache --cache=cache
  expect_status 0
  [ "$(cat err)" = "$folder/cache: 4 files of kept counts deleted, 28 bytes freed" ] || failed 'the result'
  [ ! -s out ] || failed 'there is a report'
  (cd cache && find . | sort) >left
  cmp -s expected left || failed "left is $(cat left)"
  run --cache=cache --clear-cache
  expect_status 0
  expect_in err 'cache: nothing is kept'
  counts_named 0 cache
  run --clear-cache --cache=cache --quiet
  expect_status 0
  [ ! -s err ] || failed 'it is not quiet'
  [ ! -e cache/0123456789abcdef0123456789abcdef.counts ] || failed 'the counts are left'
}

test_clear_cache_of_the_usual_folder() {
  run --clear-cache
  expect_error 2 'there is no folder of kept counts'
  mkdir -p home/.cache/orvellis xdg/orvellis own
  for cache in home/.cache/orvellis xdg/orvellis own; do counts_named a $cache; done
  (export HOME="$folder/home" ORVELLIS_CACHE="$folder/own" XDG_CACHE_HOME="$folder/xdg"
  run --clear-cache
  expect_in err "$folder/own: 1 file of kept counts deleted, 7 bytes freed"
  unset ORVELLIS_CACHE
  run --clear-cache --cache
  expect_in err "$folder/xdg/orvellis: 1 file"
  export XDG_CACHE_HOME=relative
  run --clear-cache
  expect_in err "$folder/home/.cache/orvellis: 1 file"
  rm -r home
  run --clear-cache
  expect_status 0
  expect_in err "$folder/home/.cache/orvellis: nothing is kept"
  exit "$failures")
  failures=$?
}

test_clear_cache_alone() {
  week >access.log
  mkdir cache
  counts_named 0 cache
  run --clear-cache --cache=cache access.log
  expect_error 2 '--clear-cache deletes what is kept, and reads no logs'
  run --clear-cache --cache=access.log
  expect_error 2 'cannot read the folder'
  [ -e cache/0123456789abcdef0123456789abcdef.counts ] || failed 'the counts are gone'
}

test_search_engines() {
  combined 5 / 'http://search.example/?query=blue+ink' >access.log
  printf '# ours\n\nExample Search;url=http://search.example;domain=search.example;vars=query\n' >engines
  run --search-engines engines access.log
  expect_in report.html 'blue ink'
  sed 's/^Example/search=Example/' engines >keyed
  run --search-engines keyed access.log
  expect_in report.html 'blue ink'
  sed 's/$/ \t\r/; 1s/^/\xef\xbb\xbf/' engines >edited
  rm report.html
  run --search-engines edited access.log
  expect_in report.html 'blue ink'
  sed 1,2d engines | sed 's/^/\xef\xbb\xbf/; s/$/\r/' >edited
  rm report.html
  run --search-engines edited access.log
  expect_in report.html 'blue ink'
  expect_in report.html 'Example Search'
  run --search-engines absent access.log
  expect_error 2 'cannot read the search engine definitions in absent'
  printf '# ours\n\nFinder;domain=finder.example;vars=q\ntea\n' >wrong
  run --search-engines wrong access.log
  expect_error 2 'line 4 of wrong is no search engine definition, such as Finder;domain=finder.example;vars=q'
  printf 'Example;domain=search.example;vars=query' >unfinished
  run --search-engines unfinished access.log
  expect_in report.html 'blue ink'
  printf 'Finder;domain=finder.example\n' >wrong
  run --search-engines wrong access.log
  expect_error 2 'line 1 of wrong is no search engine definition'
  printf '# none\n#Finder;domain=finder.example;vars=q\n' >wrong
  run --search-engines wrong access.log
  expect_error 2 'there are no search engine definitions in wrong'
}

test_own_parameters_are_refused() {
  week >access.log
  for parameter in config=x Username=x summary=x; do
    run "$parameter" access.log
    expect_error 2 'is set by orvellis-report itself'
  done
  for parameter in date=01012000,01012000 sm=1 ey=2000 days=today FROM=2000-03-05 to=today; do
    run "$parameter" access.log
    expect_error 2 'the days are set by --from and --to'
  done
}

test_variables_of_a_server_have_no_effect() {
  week >access.log
  REQUEST_METHOD=GET QUERY_STRING=about CONTENT_LENGTH=5 run access.log
  expect_records 3 2000-03-05 2000-03-07
}

# ---- The page ---------------------------------------------------------------------------

test_no_script() {
  edition=
  week >access.log
  run access.log
  expect_in report.html '<script>'
  run --no-script access.log
  expect_not_in report.html '<script'
}

test_bytes_and_order() {
  edition=
  week >access.log
  run --csv --bytes --reports requests access.log
  expect_match out '^section,rank,item,count,share,detail,bytes'
  run --csv --order=bytes --reports requests access.log
  expect_match out '^section,rank,item,count,share,detail,bytes'
  run --csv --order requests --reports requests access.log
  expect_match out '^section,rank,item,count,share,detail.?$'
  run --order size access.log
  expect_error 2 '--order is requests or bytes, not "size"'
}

test_compare() {
  edition=
  week >access.log
  run --json --from 2000-03-06 --to 2000-03-07 --compare previous access.log
  expect_match out '"compared": {"from": "2000-03-04", "to": "2000-03-05", "requests": [0-9]+,'
  run --json --from 2000-03-06 --compare=year --to 2000-03-06 access.log
  expect_match out '"compared": {"from": "1999-03-06", "to": "1999-03-06", "requests": 0,'
  run --compare previous access.log
  expect_error 2 '--compare needs --from: which days are compared is known before the logs are read'
  run --from 7d --compare yesterday access.log
  expect_error 2 '--compare is previous, weekdays or year, not "yesterday"'
}

test_only_and_exclude() {
  edition=
  week >access.log
  line 7 | sed 's/" 200 /" 404 /' >>access.log
  run --csv --only statuses=200,3xx --exclude 'agents=No*Such' --exclude=hours=99 --reports statuses access.log
  expect_match out '^statuses,1,200,3,'
  expect_not_in out statuses,2
  run --csv --exclude statuses=2xx --reports statuses access.log
  expect_match out '^statuses,1,404,1,'
  run --csv --only methods=GET,HEAD --reports methods,slow access.log
  expect_match out '^methods,1,GET,'
  expect_not_in out methods,2
  run --only colour=red access.log
  expect_error 2 '--only takes a name and a list, such as statuses=404,5xx, not "colour=red"'
  run --exclude 'agents=a b' access.log
  expect_error 2 '--exclude takes lists without blanks and "=", not "agents=a b"'
}

test_levels_of_directories() {
  edition=
  line 1 | sed 's|"GET [^ ]*|"GET /docs/deep/er/a.html|' >access.log
  run --csv --reports directories access.log
  expect_match out '^directories,1,/docs/,1,'
  run --csv --reports directories --directory-depth 2 access.log
  expect_match out '^directories,1,/docs/deep/,1,'
  for depth in 0 -1 21 020 99999999999 text ''; do
    run --reports directories --directory-depth="$depth" access.log
    expect_error 2 "--directory-depth"
  done
}

test_sections_that_are_asked_for() {
  edition=
  week >access.log
  run --csv --reports robots,statuses access.log
  expect_match out '^statuses,1,200,'
  run --csv access.log
  expect_match out '^statuses,1,200,'
  expect_not_in out referrers,
  run --csv --reports all access.log
  expect_match out '^sizes,1,'
  expect_not_in out countries,
  run --csv --reports all,statuses access.log
  expect_status 2
}

# What an owner looks at first; a file that tells countries, or search engines, asks for these, too.
test_sections_that_nobody_asked_for() {
  edition=
  week >access.log
  cp "$project/tests/cli/bases/countries/countries.mmdb" database
  echo 'search=Finder;domain=finder.example;vars=q' >engines
  run --text access.log
  expect_in out 'Visitors'
  expect_not_in out 'Countries'
  run --json --country-database database --search-engines engines access.log
  expect_in out '"countries": {'
  expect_in out '"search": {'
  expect_in out '"robots": {'
}

test_parts_of_pages_are_listed_where_they_are_asked_for() {
  edition=
  printf '192.0.2.70 - - [05/Mar/2000:10:00:00 +0000] "GET /%s HTTP/1.0" 200 1\n' '' a.css b.js c.html >access.log
  run --csv --reports requests,filetypes access.log
  expect_not_in out a.css
  expect_match out '^filetypes,[0-9],.css,1,0.25'
  run --csv --reports requests --all-files access.log
  expect_match out '^requests,[0-9],/a.css,1,0.25'
  run --classic --all-files access.log
  expect_status 2
}

test_countries() {
  edition=
  week >access.log
  cp "$project/tests/cli/bases/countries/countries.mmdb" 'their database'
  printf '192.0.2.70 - - [05/Mar/2000:10:00:00 +0000] "GET / HTTP/1.0" 200 1\n' >>access.log
  run --csv --reports countries --country-database 'their database' access.log
  expect_match out '^countries,1,DE,3,0.750000,Germany'
  run --csv --reports statuses --country-database='their database' --only countries=de access.log
  expect_match out '^statuses,1,200,3,'
  run --reports countries access.log
  expect_error 2 'the section countries needs --country-database'
  run --exclude countries=DE access.log
  expect_error 2 '--only and --exclude take countries with --country-database'
  run --reports countries --country-database none access.log
  expect_error 2 'cannot read the country database'
  run --reports countries --country-database access.log access.log
  expect_error 2 'orvellis refused: The country database cannot be read'
  run --classic --country-database 'their database' access.log
  expect_error 2 '--classic tells no countries'
  run --csv --reports hosts --anonymise access.log
  expect_match out '^hosts,1,192.0.2.0,4,1.000000,'
  run --classic --anonymise access.log
  expect_error 2 '--classic cannot anonymise'
  run countrydatabase=none access.log
  expect_error 2 'the country database is told by --country-database'
}

test_agent_rules() {
  edition=
  combined 5 / - >access.log
  printf 'builtin=0\nrobot; Lynx; A robot; feeds\n' >'our rules'
  run --csv --reports robots --agent-rules 'our rules' access.log
  expect_match out '^robots,1,A robot,1,1.000000,'
  printf '# ours\nrobot\n' >'our rules'
  run --reports robots --agent-rules='our rules' access.log
  expect_error 2 'Line 2 of the file of agents'
  run --reports robots --agent-rules absent access.log
  expect_error 2 'cannot read the rules for agents in absent'
  run --classic --agent-rules 'our rules' access.log
  expect_error 2 '--classic tells no agents apart'
}

test_theme_and_plain() {
  week >access.log
  run --classic --theme access.log
  expect_match report.html '<link rel="stylesheet" href="file://[^"]*/site/report.css">'
  expect_match report.html '<img src="file://[^"]*/site/or15-reg.gif"'
  run --classic --plain access.log
  expect_not_in report.html stylesheet
}

test_pictures_beside_the_page() {
  week >access.log
  mkdir pages
  : >pages/or15-reg.gif
  run -o pages/index.html access.log
  expect_in pages/index.html '<img src="./or15-reg.gif"'
  expect_in pages/index.html 'href="./report.css"'
}

test_odd_site_folder() {
  week >access.log
  cp -R "$project/site" "it's 100% #1"
  ORVELLIS_SITE="it's 100% #1" run access.log
  expect_match report.html "/it%27s%20100%25%20%231/or15-reg.gif"
}

test_output() {
  week >access.log
  run -o 'my page.html' access.log
  expect_in 'my page.html' '<title>'
  expect_match err '^my page.html: 3 records'
  run --output=-x.html access.log
  expect_in ./-x.html '<title>'
  run -oy.html access.log
  expect_in y.html '<title>'
  run -o - access.log
  expect_in out '<title>'
  expect_match err '^3 records'
}

test_unwritable_output() {
  week >access.log
  run -o absent/page.html access.log
  expect_error 2 'cannot write absent/page.html'
  run -o . access.log
  expect_error 2 '. is a folder'
  run -o access.log access.log
  expect_error 2 'access.log is there and no report page'
  [ "$(wc -l <access.log)" -eq 3 ] || failed 'the log is damaged'
  run -o /dev/full access.log
  expect_error 2 'cannot write /dev/full: is the disk full?'
}

# Somebody without rights, also where the tests run as root; reads $private and writes in no folder but that.
run_unprivileged() {
  unprivileged=''
  if [ "$(id -u)" = 0 ]; then
    command -v setpriv >/dev/null || return 1
    unprivileged="$(command -v setpriv) --reuid=65534 --regid=65534 --clear-groups"
    chmod 711 "$root" "$folder"
    chmod 777 "$private"
  fi
  # shellcheck disable=SC2086 # words
  PATH=$tools ORVELLIS=$stand_in TMPDIR=$private "$(command -v env)" $unprivileged "$shell" "$report" "$edition" "$@" \
    >out 2>err </dev/null
  status=$?
}

test_output_without_the_right() {
  week >access.log
  mkdir mine open
  chmod 555 mine
  chmod 777 open
  run_unprivileged -o open/page.html access.log || return 0
  expect_status 0 # the control
  run_unprivileged -o mine/page.html access.log
  expect_error 2 'cannot write mine/page.html: name another file'
  chmod 444 open/page.html
  [ "$(id -u)" != 0 ] || chown 0 open/page.html
  run_unprivileged -o open/page.html access.log
  expect_error 2 'cannot write open/page.html: name another file'
}

test_output_that_is_no_file() {
  week >access.log
  mkfifo pipe
  run -o pipe access.log
  expect_error 2 'pipe is no file: name a file with --output, or send "--output -" there'
  # What the caller has opened is another matter.
  orvellis_report -o /dev/stdout access.log 2>err | cat >out
  expect_in out '</html>'
}

# A disk that is full at the start, in the middle, and, as a control, not at all.
test_output_on_a_full_disk() {
  week >access.log
  run -o - access.log
  bytes=$(wc -c <out)
  mkdir disk
  for free in 0 $((bytes / 4096)) $((bytes / 4096 + 1)); do
    # shellcheck disable=SC2016 # for the shell in the name space
    unshare --mount "$(command -v dash)" -c 'mount -t tmpfs -o size=64k tmpfs disk || exit 77
      head -c $((65536 - $1 * 4096)) /dev/zero >disk/filler
      shift
      exec "$@"' dash "$free" env PATH="$tools" ORVELLIS="$stand_in" TMPDIR="$private" \
      "$shell" "$report" "$edition" -o disk/page.html access.log >out 2>err </dev/null
    status=$?
    [ "$status" != 77 ] && ! grep -q unshare err || return 0 # not allowed here
    if [ "$free" = $((bytes / 4096 + 1)) ]; then
      expect_status 0
    else
      expect_error 2 'cannot write disk/page.html: is the disk full?'
    fi
  done
}

test_standard_output_that_takes_nothing() {
  week >access.log
  orvellis_report -o - access.log >&- 2>err </dev/null
  status=$?
  expect_error 2 'cannot write to standard output: it is closed'
  orvellis_report -o - access.log >/dev/full 2>err </dev/null
  status=$?
  expect_error 2 'cannot write to standard output: is the disk full?'
  for option in --help -h --version '--init-site --help'; do
    # shellcheck disable=SC2086 # words
    edition='' orvellis_report $option >/dev/full 2>err
    status=$?
    expect_error 2 'cannot write to standard output: is the disk full?'
  done
  # Where the page goes to a file, nobody misses the closed streams.
  orvellis_report access.log >&- 2>&- <&-
  status=$?
  expect_status 0
  expect_in report.html '</html>'
  [ "$(head -c 6 report.html)" = '<html>' ] || failed 'something stands in front of the page'
}

test_page_is_replaced() {
  week >access.log
  run access.log
  run --title Again access.log
  expect_status 0
  expect_in report.html '<title>Again</title>'
}

test_reader_that_goes_away() {
  week >access.log
  orvellis_report -o - access.log 2>err | head -c 1 >out
  expect_not_in err 'cannot'
}

test_quiet() {
  { week; echo nothing; } >access.log
  run --quiet access.log
  expect_status 0
  [ ! -s err ] || failed 'it is not quiet'
  run --quiet absent
  expect_error 2 'there is no file absent'
}

test_no_progress_in_pipes() {
  stand_in_does 'sleep 1'
  week >access.log
  run access.log
  [ "$(wc -l <err)" -eq 1 ] || failed 'there is more than the last line'
  expect_not_in err reading
}

test_open() {
  week >access.log
  # shellcheck disable=SC2016 # for the stub
  stub xdg-open 'printf "%s\n" "$1" >opened'
  run --open -o 'my page.html' access.log
  expect_status 0
  expect_in opened "$PWD/my page.html"
  stub xdg-open 'exit 3'
  run --open access.log
  expect_status 0
  expect_in err 'xdg-open cannot open report.html: open it by hand'
  run --open -o - access.log
  expect_error 2 '--open needs a page in a file'
}

test_keep_config() {
  week >access.log
  run --keep-config --title "it's" access.log
  expect_status 0
  kept=$(sed -n 's/^the configuration is kept in \([^;]*\);.*/\1/p' err)
  expect_in "$kept/orvellis.conf" 'user=report;logs=logs/*.log'
  sh "$kept/report.sh" >again.html
  expect_in again.html "<title>it's</title>"
  expect_match again.html 'HTTP Requests:</b></td><td width="50%">3<'
  rm -rf "$kept"
}

test_help_and_version() {
  run --help
  expect_status 0
  expect_in out 'Usage: orvellis-report'
  [ ! -s err ] || failed 'help goes to standard error'
  cp out help
  run -h
  expect_status 0
  diff help out || failed '-h says something else than --help'
  expect_in help 'served only by a web server with the shipped headers'
  run --version
  expect_status 0
  expect_in out "orvellis-report $(sed -n 's/^project(orvellis VERSION \([0-9.]*\).*/\1/p' "$project/CMakeLists.txt")"
}

# Every option of the help text is in the manual page and in both completions.
test_options_are_documented() {
  run --help
  [ "$shell" = "$(command -v dash)" ] || return 0
  options=$(grep -oE -- '--[a-z-]+' out | sort -u)
  [ "$(printf '%s\n' "$options" | wc -l)" -ge 25 ] || failed 'few options are found'
  for option in $options; do
    grep -qE "Fl -${option#--}( |\$)" "$project/man/orvellis-report.1" || failed "$option is not in the manual page"
    for completion in orvellis-report.bash _orvellis-report; do
      grep -qE -- "$option([^a-z-]|\$)" "$project/completions/$completion" || failed "$option is not in $completion"
    done
  done
}

test_bash_completion() {
  bash=$(command -v bash) || return 0
  : >'my log'
  : >subject
  mkdir subfolder
  cat >complete <<'END'
. "$1"
shift
compopt() { :; }
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
_orvellis_report
printf '%s\n' "${COMPREPLY[@]}"
END
  completed() { # EXPECTED WORD...
    want=$1
    shift
    got=$("$bash" complete "$project/completions/orvellis-report.bash" orvellis-report "$@" | tr '\n' ' ')
    [ "$got" = "$want " ] || failed "completion of $*: $got"
  }
  completed '--exclude-hosts --exclude-types --exclude' --exc
  completed 'yesterday' --from y
  completed 'MDY MYD' --date-format = M
  completed 'requests,badurls requests,badreferrers' --reports requests,bad
  completed 'my log' --gmt my
  completed '--write' --init-site --w
  completed 'subfolder' --index su
  completed 'subfolder' --cache = su
  completed 'my log' --cache my
}

test_manual_page_has_no_fault() {
  command -v mandoc >/dev/null || return 0
  mandoc -T lint "$project/man/orvellis-report.1" 2>/dev/null | grep -v 'referenced manual not found' >faults
  [ ! -s faults ] || failed "$(cat faults)"
}

# ---- A first web installation -------------------------------------------------------------

# An installed system in the folder root, with the servers of these names.
install_in_root() { # SERVER...
  mkdir -p root/usr/bin root/usr/share/orvellis/conf root/etc/orvellis
  cp "$project"/bin/* root/usr/bin/
  printf 'UserPasswords=/etc/orvellis/passwords\n# accounts' >root/etc/orvellis/orvellis.conf
  printf '# About.\n\nScriptAlias /orvellis-cgi/ /cgi/\n' >root/usr/share/orvellis/conf/apache.conf
  for name in "$@"; do mkdir -p "root/etc/$name/conf-available" "root/etc/$name/conf-enabled" "root/etc/$name/conf.d"; done
}
init_site() {
  PATH=$tools DESTDIR=$PWD/root "$shell" root/usr/bin/orvellis-report --init-site "$@" >out 2>err </dev/null
  status=$?
}

test_init_site_shows_and_changes_nothing() {
  install_in_root apache2
  find root >before
  init_site
  expect_status 0
  expect_in out 'This would be written'
  expect_in out 'user=apache;logs=/var/log/apache2/access.log*;url=http://localhost;title=apache'
  expect_in out '/etc/apache2/conf-available/orvellis.conf -> /usr/share/orvellis/conf/apache.conf'
  expect_in out '    ScriptAlias /orvellis-cgi/ /cgi/'
  ! grep -q '# About' out || failed 'comments are shown'
  find root | diff before - || failed 'files are changed'
  [ "$(tail -n 1 root/etc/orvellis/orvellis.conf)" = '# accounts' ] || failed 'the configuration is changed'
}

test_init_site_writes_once() {
  install_in_root nginx
  printf 'ann:HASH\n' >root/etc/orvellis/passwords
  for url in https://shop.example.com https://again.example.com; do
    init_site --write --account shop --url "$url" --logs '/srv/shop/*.log'
    expect_status 0
  done
  expect_in out 'has an account shop already'
  expect_in out 'is there already and stays as it is'
  grep -qx 'user=shop;logs=/srv/shop/\*.log;url=https://shop.example.com;title=shop' root/etc/orvellis/orvellis.conf ||
    failed 'the account has no line of its own'
  # Passwords are somebody else's: until there is one, the account is closed.
  [ "$(cat root/etc/orvellis/passwords)" = 'ann:HASH' ] || failed 'the passwords are changed'
  expect_in out '  orvellis-passwd shop'
  expect_in out 'Written.'
  [ "$(readlink root/etc/nginx/conf.d/orvellis-common.conf)" = /usr/share/orvellis/conf/nginx-common.conf ] || failed 'no link'
  echo 'shop:HASH' >>root/etc/orvellis/passwords
  init_site --account shop --logs '/srv/shop/*.log'
  expect_in out 'has a password of shop already'
  expect_not_in out orvellis-passwd
}

test_init_site_makes_no_open_account() {
  install_in_root nginx
  for line in '' '#UserPasswords=/etc/orvellis/passwords' 'UserPasswords='; do
    echo "$line" >root/etc/orvellis/orvellis.conf
    init_site --write
    expect_error 2 'names no password file: add the line UserPasswords=/etc/orvellis/passwords first'
    expect_not_in root/etc/orvellis/orvellis.conf user=
  done
  install_in_root nginx
  init_site --write
  expect_status 0
  # The line as it stands lets nobody in, in either edition.
  : >root/etc/orvellis/passwords
  sed "s|=/etc|=$PWD/root/etc|" root/etc/orvellis/orvellis.conf >conf
  for edition in classic modern; do
    "$program" config=conf "edition=$edition" username=nginx password= date=03052000,03072000 >page
    expect_match page 'Invalid user account name'
  done
}

test_init_site_chooses_the_server() {
  install_in_root nginx lighttpd
  init_site --server=lighttpd
  expect_in out '/etc/lighttpd/conf-enabled/90-orvellis.conf -> /usr/share/orvellis/conf/lighttpd.conf'
  init_site --server other
  expect_error 2 '--server takes apache, nginx or lighttpd'
}

test_init_site_is_undone() {
  install_in_root nginx
  printf 'nginx:HASH\nann:HASH' >root/etc/orvellis/passwords
  mkdir root/etc/nginx/sites-available
  printf 'server {\n\tserver_name _;\n\tlisten 80;\n}\n' >root/etc/nginx/sites-available/default
  cp -R root before
  init_site --write --site root/etc/nginx/sites-available/default
  expect_status 0
  include='include /usr/share/orvellis/conf/nginx.con[f];'
  [ "$(sed -n 3p root/etc/nginx/sites-available/default)" = "	$include" ] || failed 'the site has no include line'
  init_site --write --site root/etc/nginx/sites-available/default
  [ "$(grep -cF "$include" root/etc/nginx/sites-available/default)" = 1 ] || failed 'the line is written twice'
  init_site --remove
  expect_status 0
  # The ends of the last lines are what remains, and no password of the account.
  sed -i /^nginx:/d before/etc/orvellis/passwords
  for file in orvellis/orvellis.conf orvellis/passwords; do echo >>"before/etc/$file"; done
  diff -r before root || failed 'something remains'
}

test_init_site_is_undone_whatever_the_case() {
  install_in_root nginx
  printf 'nginx:HASH\nann:HASH\n' >root/etc/orvellis/passwords
  init_site --account NGINX --remove
  expect_status 0
  [ "$(cat root/etc/orvellis/passwords)" = ann:HASH ] || failed 'the password of the account remains'
}

test_init_site_tells_its_options() {
  install_in_root nginx
  init_site -h
  expect_status 0
  expect_in out 'Usage: orvellis-report --init-site'
  expect_in out '--remove'
}

test_init_site_says_written_only_when_it_is() {
  install_in_root nginx
  rm -r root/etc/nginx/conf.d
  init_site --write
  expect_status 2
  ! grep -q '^Written' out || failed 'it says that it has written'
  [ "$(wc -l <err)" = 1 ] || failed 'it does not say one sentence'
}

test_init_site_failures() {
  install_in_root
  init_site
  expect_error 1 'no web server is found'
  init_site --nonsense
  expect_error 2 'there is no option --nonsense'
  init_site --server
  expect_error 2 '--server needs a value'
  init_site --server nginx --logs 'a;b'
  expect_error 2 '--logs cannot hold'
  init_site --server nginx --account 'a b'
  expect_error 2 '--account takes letters'
  rm root/etc/orvellis/orvellis.conf
  init_site
  expect_error 2 'install Orvellis first'
  rm -r root/usr/share
  init_site
  expect_error 2 'install Orvellis first'
  run --gmt --init-site
  expect_error 2 '--init-site stands first'
  rm root/usr/bin/orvellis-init-site
  init_site
  expect_error 2 'orvellis-init-site is not installed beside'
}

test_init_site_asks_on_a_terminal() {
  [ -n "$script" ] || return 0
  install_in_root apache2
  { sleep 1; printf '\nann\n\nhttp://ann.example.com\n'; sleep 1; } |
    PATH=$tools DESTDIR=$PWD/root "$script" -qec "'$shell' root/usr/bin/orvellis-report --init-site" typescript >out 2>err
  expect_in out 'Web server (apache) [apache]:'
  expect_in out 'user=ann;logs=/var/log/apache2/access.log*;url=http://ann.example.com;title=ann'
}

# ---- Usage ------------------------------------------------------------------------------

test_wrong_usage() {
  week >access.log
  run
  expect_error 2 'no log is named'
  run --nonsense access.log
  expect_error 2 'there is no option --nonsense'
  run -x access.log
  expect_error 2 'there is no option -x'
  run --gmt=1 access.log
  expect_error 2 '--gmt takes no value'
  run access.log --title
  expect_error 2 '--title needs a value'
  run access.log --top many
  expect_error 2 '--top takes a number or a percentage, not "many"'
  run --min 1% access.log
  expect_error 2 '--min takes a number'
  run --reports requests,nonsense access.log
  expect_error 2 'there is no section named nonsense'
  run --reports '*' access.log
  expect_error 2 '--reports takes names of sections'
  run --date-format XYZ access.log
  expect_error 2 '--date-format takes'
  run --log-format hq access.log
  expect_error 2 '--log-format takes'
  run --output= access.log
  expect_error 2 '--output needs a value'
}

test_options_behind_logs() {
  week >access.log
  run access.log --title Behind
  expect_in report.html '<title>Behind</title>'
}

test_log_format() {
  printf 'www.example.com:80 192.0.2.7 - ann [05/Mar/2000:07:06:11 +0000] "GET / HTTP/1.0" 200 3428 "-" "Lynx"\n' >access.log
  run --log-format 'S?hmw1qrcfa' access.log
  expect_records 1 2000-03-05 2000-03-05
}

test_log_format_in_words() {
  edition=
  printf '1700000000|192.0.2.7|/a=b|200\n1700000001|192.0.2.7|/c|404\n' >access.log
  run --log-format '$msec|$remote_addr|$request_uri|$status' access.log
  expect_records 2 2023-11-14 2023-11-14
  run --log-format "log_format main '\$msec|\$remote_addr|'
                    '\$request_uri|\$status';" access.log
  expect_records 2 2023-11-14 2023-11-14
  run --log-format '%{sec}t|%a|%U%q|%>s' access.log
  expect_records 2 2023-11-14 2023-11-14
  edition=--classic
  run --log-format '%{sec}t|%a|%U|%>s' access.log
  expect_error 2 '--classic takes only letters'
}

test_log_format_by_name() {
  edition=
  printf '1700000000.123    344 192.0.2.7 TCP_MISS/200 12 GET /a - HIER_DIRECT/192.0.2.9 text/html\n' >access.log
  run access.log
  expect_records 1 2023-11-14 2023-11-14
  run --log-format squid access.log
  expect_records 1 2023-11-14 2023-11-14
  run --log-format ltsv access.log
  expect_status 1
  expect_in err 'orvellis-report: access.log: 1 line, none understood; it comes nearest to the layout that was told, but for the time: 1700000000.123 '
  expect_in err 'no line is recognised as a request: the lines are not of the layout that --log-format tells'
}

test_log_format_by_the_name_of_a_server() {
  edition=
  mkdir -p etc/nginx
  printf "log_format Custom '\$msec|\$remote_addr|'\n '\$request_uri|\$status';\nlog_format no '\$uri';\n" >etc/nginx/nginx.conf
  printf '1700000000|192.0.2.7|/a=b|200\n1700000001|192.0.2.7|/c|404\n' >access.log
  ORVELLIS_ETC=$PWD/etc run --log-format Custom access.log
  expect_records 2 2023-11-14 2023-11-14
  ORVELLIS_ETC=$PWD/etc run --log-format no access.log
  expect_error 2 'the layout "no" of '
  ORVELLIS_ETC=$PWD/etc run --log-format other access.log
  expect_error 2 '--log-format takes'
  edition=--classic
  ORVELLIS_ETC=$PWD/etc run --log-format other access.log
  expect_error 2 '--log-format takes'
}

test_nearest_layout_is_told() {
  edition=
  printf '192.0.2.7 - - [05/Foo/2024:07:06:11 +0000] "GET / HTTP/1.1" 200 34\n' >access.log
  run access.log
  expect_status 1
  expect_in err 'access.log: 1 line, none understood; it comes nearest to combined (Apache and nginx, common or combined), up to character 16, where the time should stand: 192.0.2.7 - - '
}

# ---- Failures of the machine ---------------------------------------------------------------

test_missing_program() {
  week >access.log
  stand_in=$folder/absent
  run access.log
  expect_error 2 "cannot run the program $folder/absent"
}

test_program_beside_the_script() {
  mkdir bin
  cp "$report" bin/
  ln -s "$program" bin/orvellis
  week >access.log
  PATH=$tools TMPDIR=$private "$shell" bin/orvellis-report "$edition" access.log >out 2>err
  status=$?
  expect_records 3 2000-03-05 2000-03-07
}

test_script_behind_a_link() {
  mkdir bin
  ln -s "$report" bin/link
  week >access.log
  PATH=$tools ORVELLIS=$program TMPDIR=$private "$shell" bin/link "$edition" access.log >out 2>err
  status=$?
  expect_records 3 2000-03-05 2000-03-07
  expect_match report.html '<img src="file://[^"]*/site/or15-reg.gif"'
}

test_program_on_the_path() {
  week >access.log
  ln -s "$program" "$stubs/orvellis"
  PATH=$stubs:$tools TMPDIR=$private "$shell" "$report" "$edition" access.log >out 2>err
  status=$?
  expect_records 3 2000-03-05 2000-03-07
}

test_failing_program() {
  week >access.log
  stand_in_does 'case $* in *requests=*) exit 1 ;; esac'
  run access.log
  expect_error 2 'orvellis ran out of memory: --memory'
  stand_in_does 'case $* in *requests=*) exit 7 ;; esac'
  run access.log
  expect_error 2 'orvellis failed with status 7'
  stand_in_does 'case $* in *requests=*) echo "<html>"; exit 0 ;; esac'
  run access.log
  expect_error 2 'the report is incomplete'
  stand_in_does 'exit 0'
  run access.log
  expect_error 2 'orvellis cannot write in'
}

test_no_temporary_folder() {
  week >access.log
  private=$folder/absent
  run access.log
  expect_error 2 "cannot make a temporary folder in $folder/absent"
  private=$folder
}

test_odd_temporary_folder() {
  week >access.log
  mkdir "t;m p'%"
  private="t;m p'%"
  run access.log
  expect_records 3 2000-03-05 2000-03-07
  [ -z "$(ls "t;m p'%")" ] || failed 'the temporary folder is left'
  private=$folder/tmp
}

# A signal while orvellis runs, while a log is unpacked, and while standard input
# is read. (timeout starts the command so that it does not ignore the signal.)
test_signals_leave_nothing() {
  week >access.log
  for pair in HUP:129 INT:130 TERM:143; do
    stand_in_does "case \$* in *requests=*) echo \$\$ >'$folder/process'; exec sleep 60 ;; esac"
    PATH=$stubs:$tools ORVELLIS=$stand_in TMPDIR=$private \
      "$timeout" --preserve-status -s "${pair%:*}" 1 "$shell" "$report" "$edition" access.log >out 2>err
    status=$?
    expect_status "${pair#*:}"
    [ -z "$(ls "$private")" ] || failed "${pair%:*} leaves a temporary folder"
    if kill -0 "$(cat process)" 2>/dev/null; then failed "${pair%:*} leaves the program running"; fi
    [ ! -e report.html ] || failed "${pair%:*} leaves a page"
  done
  mkfifo pipe
  sleep 3 >pipe &
  PATH=$stubs:$tools ORVELLIS=$stand_in TMPDIR=$private \
    "$timeout" --preserve-status -s TERM 1 "$shell" "$report" "$edition" - >out 2>err <pipe
  status=$?
  expect_status 143
  [ -z "$(ls "$private")" ] || failed 'a temporary folder is left of standard input'
}

# ---- A terminal -------------------------------------------------------------------------

# Runs the command on a terminal of its own; the screen's text goes to screen.
on_terminal() {
  quoted=''
  for argument in "$shell" "$report" "$edition" "$@"; do quoted="$quoted '$argument'"; done
  PATH=$stubs:$tools ORVELLIS=$stand_in TMPDIR=$private TERM=${terminal:-xterm} \
    "$script" -qec "$quoted" typescript >/dev/null 2>&1 </dev/null
  status=$?
  tr '\r' '\n' <typescript | sed 's/\x1b\[K/<ERASE>/g' >screen
}

test_progress_on_a_terminal() {
  [ -n "$script" ] || return 0
  week >access.log
  # Reads a part of the log, and waits.
  stand_in_does 'case $* in *requests=*) head -c 150 logs/000001.log >/dev/null; sleep 2 ;; esac'
  on_terminal access.log
  expect_status 0
  expect_match screen '^<ERASE>reading +[0-9]+ %  [0-9.]+ of [0-9.]+ MB'
  expect_match screen 'MB/s  [0-9]+ s left$'
  expect_match screen '^<ERASE>report.html: 3 records from 2000-03-05 to 2000-03-07'
  expect_not_in screen 'reading 3 records'
}

# All of the logs that reach into the days are to be read, wherever Greenwich is.
test_progress_of_a_zone() {
  [ -n "$script" ] || return 0
  stand_in_does 'case $* in *requests=*) sleep 1 ;; esac'
  { hour 4 10; yes "$(hour 5 01)" | head -n 1500; } >early.log
  { yes "$(hour 5 22)" | head -n 1600; hour 6 10; } >late.log
  for zone in PST8 JST-9; do
    TZ=$zone on_terminal --from 2000-03-05 --to 2000-03-05 early.log late.log
    expect_status 0
    expect_match screen '^<ERASE>reading +[0-9]+ %  [0-9.]+ of 0[.]2 MB'
  done
}

test_progress_without_a_read_position() {
  [ -n "$script" ] || return 0
  week >access.log
  stub cat "case \$* in *.log*) sleep 2 ;; esac; PATH=$tools exec cat \"\$@\""
  on_terminal access.log
  expect_status 0
  expect_match screen '^<ERASE>counting lines [-/|\\] [0-9] s$'
}

test_no_progress_when_not_wanted() {
  [ -n "$script" ] || return 0
  week >access.log
  stand_in_does 'case $* in *requests=*) sleep 1 ;; esac'
  on_terminal --quiet access.log
  expect_not_in screen reading
  terminal=dumb
  on_terminal access.log
  terminal=''
  expect_not_in screen reading
  expect_match screen '^report.html: 3 records'
}

# ---- JSON, CSV and text ---------------------------------------------------------------------

# The modern edition counts records wherever they stand: a newest week first, an old last line, a mixed pipe.
test_order_is_free() {
  edition=''
  for n in 9 5 10 6; do line $n; done >mixed.log
  { cat mixed.log; line 1 | sed s/2000/1999/; } >old-end.log
  run mixed.log
  expect_records 4 2000-03-05 2000-03-10
  run --from 2000-03-05 --to 2000-03-06 mixed.log
  expect_records 2 2000-03-05 2000-03-06
  run --from 2000-03-06 old-end.log
  expect_records 3 2000-03-06 2000-03-10
  run --to 2000-03-05 old-end.log
  expect_records 2 1999-03-01 2000-03-05
  orvellis_report - <mixed.log >out 2>err
  status=$?
  expect_records 4 2000-03-05 2000-03-10
  run --from 2001-01-01 mixed.log
  expect_error 1 'nothing to report: the logs go from 2000-03-05 to 2000-03-10'
}
# The zone beside a time counts, and the report is told in the zone that is asked for; so are the words for days.
test_zone_of_the_report() {
  edition=''
  printf '192.0.2.1 - - [05/Mar/2000:23:30:00 +0000] "GET / HTTP/1.0" 200 1\n' >access.log
  run access.log
  expect_records 1 2000-03-05 2000-03-05
  TZ=UTC-3 run access.log
  expect_records 1 2000-03-06 2000-03-06
  TZ=UTC-3 run --timezone America/New_York access.log
  expect_records 1 2000-03-05 2000-03-05
  run --timezone=Asia/Tokyo --text -o - access.log
  expect_in out '2000-03-06 to 2000-03-06 (Asia/Tokyo)'
  sed 's/ +0000//' access.log >bare.log
  run --timezone Asia/Tokyo bare.log
  expect_records 1 2000-03-05 2000-03-05
  run --timezone Asia/Tokyo --gmt bare.log
  expect_records 1 2000-03-06 2000-03-06
  stub date "case \$*\$TZ in +%Y*Kiritimati) echo 2000-03-06 ;; +%Y*) echo 2000-03-05 ;; *) PATH=$tools exec date \"\$@\" ;; esac"
  run --timezone Pacific/Kiritimati --from today access.log
  expect_records 1 2000-03-06 2000-03-06
}
test_zones_that_are_none() {
  edition=''
  week >access.log
  for zone in Nowhere ../../../etc/passwd /etc/localtime europe/berlin UTC+3; do
    run --timezone "$zone" access.log
    expect_error 2 "there is no time zone $zone: --timezone takes a name such as Europe/Berlin, America/New_York or UTC"
  done
  run --timezone '' access.log
  expect_error 2 '--timezone needs a value'
  run timezone=UTC access.log
  expect_error 2 'the zone is told by --timezone, not by timezone='
  edition=--classic
  run --timezone UTC access.log
  expect_error 2 '--classic knows no --timezone: set TZ'
}
test_equal_contents_count_once() {
  edition=''
  week >a.log
  cp a.log b.log
  sed 's/a.html/b.html/' a.log >c.log
  run a.log b.log c.log
  expect_match err '^report.html: 6 records from 2000-03-05 to 2000-03-07,'
  expect_in err 'orvellis-report: 1 log holds the same as another, and is left out as a copy'
}
test_first_line_not_understood_is_shown() {
  edition=''
  { echo; printf 'escape \033[31m here\n'; } >a.log
  run a.log
  expect_status 1
  expect_in err 'orvellis-report: a.log: 1 line, none understood: escape ?[31m here'
  expect_in err 'no line is recognised as a request'
}
test_json_goes_to_standard_output() {
  week >access.log
  echo 'no request' >>access.log
  edition='' run --json --top 0 --reports requests --title 'Müller & "x"' access.log
  expect_status 0
  expect_match err '^3 records from 2000-03-05 to 2000-03-07, 2[0-9]* bytes of logs, [0-9]+ s$'
  expect_in err 'orvellis-report: access.log: 1 line of 4 not understood, in line 4: no request'
  expect_in out '"title": "Müller & \"x\"",'
  expect_in out '"requests": 3, "bytes": 300,'
  expect_in out '{"item": "/a.html", "count": 3, "share": 1.000000}'
  [ ! -e report.html ] || failed 'a page is written'
}

test_csv_into_a_file() {
  week >access.log
  edition='' run --csv -o table.csv --reports requests access.log
  expect_status 0
  expect_match err '^table.csv: 3 records'
  printf 'section,rank,item,count,share,detail\r\nrequests,1,/a.html,3,1.000000,\r\n' | cmp -s - table.csv ||
    failed 'another table'
  edition='' run --csv -o table.csv --reports requests,hitsperhour section=hitsperhour access.log
  expect_status 0
  expect_match table.csv '^hour,count,share'
  edition='' run --csv -o table.csv --reports requests access.log
  expect_status 0
  echo mine >table.csv
  edition='' run --csv -o table.csv access.log
  expect_error 2 'table.csv is there and no report csv'
  expect_in table.csv mine
}

test_kinds_replace_their_own_reports_only() {
  week >access.log
  for kind in json csv text; do
    edition='' run --$kind -o report access.log
    expect_status 0
    edition='' run --$kind -o report access.log
    expect_status 0
    edition='' run -o report access.log
    expect_error 2 'report is there and no report page'
    rm report
  done
}

test_text_for_a_pipe_is_80_columns_wide_without_colours() {
  line 5 "/$(printf '%0200d' 0)" >access.log
  edition='' run --text --reports requests access.log
  expect_status 0
  expect_in out 'made 2'
  [ "$(awk '{ if (length($0) > most) most = length($0) } END { print most }' out)" = 80 ] || failed 'not 80 columns'
  [ "$(tr -dc '\033' <out | wc -c)" -eq 0 ] || failed 'a pipe gets colours'
}

test_text_on_a_terminal_fits_it() {
  [ -n "$script" ] || return 0
  line 5 "/$(printf '%0200d' 0)" >access.log
  edition='' on_terminal --quiet --text --reports requests access.log
  expect_in screen "$(printf '\033[1m')"
  NO_COLOR=1 edition='' on_terminal --quiet --text --reports requests access.log
  [ "$(tr -dc '\033' <screen | wc -c)" -eq 0 ] || failed 'there are colours'
}

test_kinds_that_are_refused() {
  week >access.log
  run --json access.log
  expect_error 2 '--classic is a page and nothing else'
  edition='' run --csv --open -o a.csv access.log
  expect_error 2 '--open needs a page'
  edition='' run --json output=csv access.log
  expect_error 2 'the output is told by --json, --csv or --text, not by output='
  edition='' run --csv section=nothing access.log
  expect_error 2 'orvellis refused: There is no such section in the report'
  edition='' run --json=yes access.log
  expect_error 2 '--json takes no value'
}

test_figures_are_those_of_either_edition() {
  for n in 1 2 3 4 5 6 7 8 9 10; do week; done >tens
  for n in 1 2 3 4 5 6 7 8 9 10; do cat tens; done | sort -t/ -k1,1 >hundreds
  for n in 1 2 3 4; do cat hundreds; done | sort -s -t'[' -k2,2 >access.log
  for edition in '' --classic; do
    run access.log
    expect_records 1,200 2000-03-05 2000-03-07
    told=$(sed 's/, [0-9]* s$//' err)
    [ -z "${before:-}" ] || [ "$before" = "$told" ] || failed "$before, but $told"
    before=$told
  done
}

# ---- The index of a folder --------------------------------------------------------------

test_index_with_a_report() {
  edition=''
  week >access.log
  run --index reports --title 'Shop' access.log
  expect_status 0
  expect_match err '^reports/2000-03-05-2000-03-07.html: 3 records from '
  expect_in err 'reports/index.html: 1 report'
  run --index reports/ --title 'Shop' --from 2000-03-06 --to 2000-03-06 access.log
  expect_in err 'reports/2000-03-06.html: 1 record from'
  expect_in err 'reports/index.html: 2 reports'
  expect_in reports/index.html '<a href="2000-03-05-2000-03-07.html">'
  expect_in reports/index.html '<a href="2000-03-06.html">'
  [ "$(find reports -type f | wc -l)" -eq 3 ] || failed 'there are other files'
}

test_index_of_sites() {
  edition=''
  week >access.log
  for site in one two; do
    run --quiet -o "reports/$site/" --index reports --url "http://$site.example" --from 2000-03-05 --to 2000-03-05 access.log
    expect_status 0
    [ ! -s err ] || failed 'something is said'
  done
  expect_in reports/index.html '<a href="one/2000-03-05.html">'
  expect_in reports/index.html '<a href="two/2000-03-05.html">'
  expect_in reports/index.html '<a rel="noopener noreferrer nofollow" href="http://two.example">'
}

test_index_alone() {
  edition=''
  week >access.log
  run -o reports/a.html access.log
  expect_error 2 'cannot write reports/a.html'
  run --index reports
  expect_error 2 'cannot open the folder reports: No such file or directory'
  mkdir reports
  run --index reports
  expect_status 0
  expect_in err 'reports/index.html: 0 reports'
  expect_in reports/index.html 'There is no report in this folder yet.'
  run --index reports --from yesterday
  expect_error 2 'no log is named'
  run --index reports --quiet
  [ ! -s err ] || failed 'something is said'
}

test_index_is_made_of_what_is_left() {
  edition=''
  week >access.log
  run --index reports --from 2000-03-05 --to 2000-03-05 access.log
  run --index reports --from 2000-03-06 --to 2000-03-06 access.log
  rm reports/2000-03-05.html
  run --index reports --from 2001-01-01 access.log
  expect_status 1
  expect_in err 'reports/index.html: 1 report'
  expect_in err 'nothing to report'
  expect_not_in reports/index.html 2000-03-05
}

test_index_replaces_nothing_else() {
  edition=''
  week >access.log
  mkdir reports
  echo '<html>mine' >reports/index.html
  run --index reports
  expect_error 2 'index.html is there and no index of reports'
  run --index reports access.log
  expect_status 2
  expect_in reports/index.html mine
  rm reports/index.html
  run --index reports
  run -o reports/index.html access.log
  expect_error 2 'reports/index.html is there and no report page'
  run -o report.html access.log
  mv report.html reports/index.html
  run --index reports
  expect_error 2 'index.html is there and no index of reports'
}

test_index_of_odd_folders() {
  edition=''
  week >access.log
  for folder_name in '-x' "it's 100% #1" 'a
b'; do
    run --index "$folder_name" --from 2000-03-05 --to 2000-03-05 access.log
    expect_status 0
    [ -f "./$folder_name/index.html" ] || failed "no index in $folder_name"
    expect_in "./$folder_name/index.html" 'href="2000-03-05.html"'
  done
  odd=$(printf 'esc\033[31m')
  mkdir "$odd"
  echo mine >"$odd/index.html"
  run --index "$odd"
  expect_error 2 'the folder esc?[31m: index.html is there'
}

test_index_wrong_usage() {
  edition=''
  week >access.log
  run --index
  expect_error 2 '--index needs a value'
  run --index ''
  expect_error 2 '--index needs a value'
  run --classic --index reports access.log
  expect_error 2 '--index is a page over reports of the modern edition'
  [ ! -e reports ] || failed 'a folder is made'
  : >file
  run --index file
  expect_error 2 'cannot open the folder file: Not a directory'
  run --index file access.log
  expect_error 2 'cannot write in the folder file/: name another'
}

test_index_without_its_program() {
  edition=''
  stand_in_does ':'
  mkdir reports
  run --index reports
  expect_error 2 'orvellis-index is not installed beside orvellis-report'
}

# A disk that is full when the index is written: the old one stays, and nothing beside it.
test_index_on_a_full_disk() {
  edition=''
  mkdir disk
  # shellcheck disable=SC2016 # for the shell in the name space
  unshare --mount "$(command -v dash)" -c 'mount -t tmpfs -o size=64k tmpfs disk || exit 77
    "$@" && cp disk/index.html before && head -c 65536 /dev/zero >disk/filler 2>/dev/null
    "$@"
    status=$?
    cmp before disk/index.html && [ ! -e disk/.index.html.new ] || exit 76
    exit $status' dash env PATH="$tools" ORVELLIS="$stand_in" TMPDIR="$private" \
    "$shell" "$report" --index disk >out 2>err </dev/null
  status=$?
  [ "$status" != 77 ] && ! grep -q unshare err || return 0 # not allowed here
  expect_status 2
  expect_in err 'cannot write the index of the folder disk: No space left on device'
}

# The first report of a day stays when there is no room for the next one, and nothing beside it.
test_folder_on_a_full_disk() {
  edition=''
  week >access.log
  mkdir disk
  # shellcheck disable=SC2016 # for the shell in the name space
  unshare --mount "$(command -v dash)" -c 'mount -t tmpfs -o size=256k tmpfs disk || exit 77
    "$@" && cp disk/2000-03-05-2000-03-07.html before && head -c 262144 /dev/zero >disk/filler 2>/dev/null
    "$@"
    status=$?
    cmp before disk/2000-03-05-2000-03-07.html && [ "$(ls -A disk | wc -l)" = 2 ] || exit 76
    exit $status' dash env PATH="$tools" ORVELLIS="$stand_in" TMPDIR="$private" \
    "$shell" "$report" --quiet -o disk/ access.log >out 2>err </dev/null
  status=$?
  [ "$status" != 77 ] && ! grep -q unshare err || return 0 # not allowed here
  expect_error 2 'cannot write disk/2000-03-05-2000-03-07.html: is the disk full?'
}

# What a link in the folder leads to is not written over.
test_link_in_a_folder() {
  edition=''
  week >access.log
  mkdir new
  : >elsewhere
  ln -s ../elsewhere new/2000-03-05-2000-03-07.html
  run -o new/ access.log
  expect_status 0
  [ ! -s elsewhere ] || failed "the file that the link leads to was written"
  expect_in new/2000-03-05-2000-03-07.html '<meta name="orvellis-report"'
}

test_output_into_a_folder() {
  edition=''
  week >access.log
  run -o new/folder/ access.log
  expect_match err '^new/folder/2000-03-05-2000-03-07.html: 3 records'
  run --json -o new/ --from 2000-03-06 --to 2000-03-06 access.log
  expect_match err '^new/2000-03-06.json: 1 record'
  run --text -o new/ --from 2000-03-06 --to 2000-03-06 access.log
  expect_match err '^new/2000-03-06.txt: 1 record'
  echo mine >new/2000-03-07.html
  run -o new/ --from 2000-03-07 access.log
  expect_error 2 'new/2000-03-07.html is there and no report page'
  run -o access.log/ access.log
  expect_error 2 'cannot write in the folder access.log/'
}

test_title_of_any_characters() {
  edition=''
  week >access.log
  run --title 'Bücher & <b>"x"</b>' access.log
  expect_in report.html '<title>Bücher &amp; &lt;b&gt;&quot;x&quot;&lt;/b&gt;: 2000-03-05 to 2000-03-07</title>'
}

# ---- The runner -------------------------------------------------------------------------

script=$(command -v script) || script=''
timeout=$(command -v timeout)
failures=0 number=0
# shellcheck disable=SC2046 # names without blanks
[ $# -gt 0 ] || set -- $(sed -n 's/^test_\([a-z_]*\)() {$/\1/p' "$0")
for case in "$@"; do
  folder=$root/$case stand_in=$program edition=--classic
  stubs=$folder/stubs private=$folder/tmp
  mkdir -p "$stubs" "$private"
  number=$((number + 1))
  cd "$folder" || exit 1
  "test_$case"
  [ -z "$(ls "$folder/tmp")" ] || failed 'a temporary folder is left'
done
echo "$number cases, $failures failures"
[ "$number" -gt 0 ] && [ "$failures" = 0 ]
