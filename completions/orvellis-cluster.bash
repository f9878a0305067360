# shellcheck shell=bash
# Completion of orvellis-cluster for bash: its own options, and those of orvellis-report.

_orvellis_cluster() {
  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} others
  local own='--scheduler --on-workers --piece-size --workers --allow-missing --dry-run --tls-ca --tls-cert --tls-key'
  if [[ $word == = ]]; then word=''; fi
  if [[ $option == = ]]; then option=${COMP_WORDS[COMP_CWORD - 2]}; fi
  case $option in
    --scheduler) mapfile -t COMPREPLY < <(compgen -W 'tcp:// tls://' -- "$word") && return ;;
    --piece-size) mapfile -t COMPREPLY < <(compgen -W '64M 128M 256M' -- "$word") && return ;;
    --on-workers | --tls-ca | --tls-cert | --tls-key)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
  esac
  if ! declare -F _orvellis_report >/dev/null; then
    others=$(dirname -- "${BASH_SOURCE[0]}")
    # shellcheck disable=SC1090,SC1091 # its name depends on where it is installed
    source "$others/orvellis-report" 2>/dev/null || source "$others/orvellis-report.bash" 2>/dev/null || return
  fi
  _orvellis_report
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(
      printf '%s\n' "${COMPREPLY[@]}" | grep -v -x -e '--classic' -e '--cache' -e '--clear-cache' -e '--keep-config' -e '--init-site'
      compgen -W "$own" -- "$word"
    )
  fi
}
complete -F _orvellis_cluster orvellis-cluster
