# What the modern page looks like to the tests of an installed Orvellis; they read
# this file with "." and have the page in $WORK/page.

# Whether it is a report, and one that has counted something.
is_report() { grep -aqE '<dt>Requests</dt><dd class="figure">[1-9]' "$WORK/page"; }

# As a policy names it: the hash of what stands in the page's one element of the name.
hash_of() { # PAGE, ELEMENT
  perl -0777 -ne 'm{<'"$2"'>(.*?)</'"$2"'>}s and print "$1"' "$1" | openssl dgst -sha256 -binary | base64
}

# The policy that a web server is to send with a page, whose style and script are
# counted here once more. Of what the program answers, a report and the form run a script,
# and the form alone is sent.
policy_of() { # PAGE, report|answer|form
  if [ "$2" = form ]; then
    printf '%s' "frame-ancestors 'none'; default-src 'none'; style-src 'sha256-$(hash_of "$1" style)';\
 script-src 'sha256-$(hash_of "$1" script)'; base-uri 'none'; form-action 'self'"
    return
  fi
  scripts='' script=''
  if [ "$2" = report ]; then
    scripts='allow-scripts ' script="script-src 'sha256-$(hash_of "$1" script)'; "
  fi
  printf '%s' "frame-ancestors 'none'; sandbox ${scripts}allow-popups allow-popups-to-escape-sandbox; default-src 'none';\
 style-src 'sha256-$(hash_of "$1" style)'; ${script}base-uri 'none'; form-action 'none'"
}
