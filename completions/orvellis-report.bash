# shellcheck shell=bash
# Completion of orvellis-report for bash.

# The values of an option, false when it takes none that can be told.
_orvellis_report_values() { # OPTION
  case $1 in
    --from | --to) echo today yesterday 7d 30d ;;
    --timezone) echo UTC Europe/Berlin Europe/London America/New_York America/Los_Angeles Asia/Tokyo ;;
    --date-format) echo DMY DYM MDY MYD YDM YMD ;;
    --top) echo 0 10 30 100 10% ;;
    --memory) echo 16M 64M 256M 1G ;;
    --order) echo requests bytes ;;
    --directory-depth) echo 1 2 3 ;;
    --compare) echo previous weekdays year ;;
    --only | --exclude) echo statuses= hosts= agents= robots=1 referrers= vhosts= users= hours= weekdays= countries= methods= ;;
    --workers) echo 1 2 4 8 16 ;;
    --log-format) echo json ltsv squid haproxy vhost_combined Shmw1qrc Shmw1qrcfa 'S?hmw1qrcfa' ;;
    --server) echo apache nginx lighttpd ;;
    --account | --logs | --path | --match | --exclude-hosts | --exclude-types | --min | --title | --url) ;;
    *) return 1 ;;
  esac
}

# The last of a list divided by commas.
_orvellis_report_sections() { # WORD
  local done='' sections='requests referrers search browsers badurls badreferrers domains domaintypes dailytotals
    hitsperdayofweek hitsperhour hoursofweek statuses hosts users referringsites directories filetypes browserfamilies systems devices robots vhosts servererrors visitors entrypages exitpages countries methods protocols tlsversions slow redirects sizes unknown'
  case $1 in *,*) done=${1%,*}, ;; esac
  mapfile -t COMPREPLY < <(compgen -P "$done" -W "$sections" -- "${1##*,}")
  compopt -o nospace
}

_orvellis_report() {
  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} values
  # bash takes --option=value apart.
  if [[ $word == = ]]; then word=''; fi
  if [[ $option == = ]]; then option=${COMP_WORDS[COMP_CWORD - 2]}; fi
  if [[ $option == --reports ]]; then
    _orvellis_report_sections "$word"
  elif [[ $option == --index || $option == --cache && ${COMP_WORDS[COMP_CWORD - 1]} == = ]]; then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -d -- "$word")
  elif values=$(_orvellis_report_values "$option"); then
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
  elif [[ ${COMP_WORDS[1]} == --init-site && $COMP_CWORD -gt 1 ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--server --account --logs --url --site --write --remove -h --help' -- "$word")
  elif [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '-o --output --index --json --csv --text --from --to --path --match --exclude-hosts --exclude-types --top
      --min --only --exclude --bytes --order --directory-depth --compare --reports --title --url --log-format --date-format --timezone --gmt --dns --search-engines --agent-rules --anonymise --country-database --memory --workers --cache --clear-cache --classic --all-files --no-script --theme
      --plain --open --quiet --keep-config --init-site -h --help --version' -- "$word")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -F _orvellis_report orvellis-report
