# shellcheck shell=bash
# Completion of aviprobe's command line. scripts/check-manual compares it with what --help shows.

_aviprobe() {
  local -A options=(
    [check]="--strict --quick --jobs"
    [info]="--brief --play"
    [layout]="--bucket --csv --summary"
    [packets]="--track --hash --pos --key --order --summary"
    [seek]="--at --mode --kind --track"
    [seektest]="--every --mode --summary"
    [compare]="--no-times"
    [extract]="--track --output --all"
    [remux]="--output --force"
    [report]="--output"
    [index]="--track"
    [tree]="--skip-data --resync --fields"
  )
  local common="--help --json --library --buffer --streaming --chunk-bytes --fail-at --block-every --ignore-index --timeout
    --in-process --verbose"
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command="" word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ -z $word || -z ${options[$word]-} ]] || { command=$word; break; }
  done
  COMPREPLY=()
  case $before in
    --library | --output | -o) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
    --all) mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
    --kind) mapfile -t COMPREPLY < <(compgen -W "video audio" -- "$current"); return ;;
    --order) mapfile -t COMPREPLY < <(compgen -W "track file" -- "$current"); return ;;
    --mode)
      local modes="0 1 2 3"
      [[ $command != seektest ]] || modes+=" all"
      mapfile -t COMPREPLY < <(compgen -W "$modes" -- "$current")
      return
      ;;
    --track | --at | --every | --bucket | --jobs | --buffer | --chunk-bytes | --fail-at | --block-every | --timeout)
      return
      ;;
  esac
  if [[ $current == -* ]]; then
    local own=--version
    [[ -z $command ]] || own=${options[$command]}
    mapfile -t COMPREPLY < <(compgen -W "$common $own" -- "$current")
  elif [[ -z $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "${!options[*]}" -- "$current")
  else
    compopt -o filenames 2>/dev/null || true
    mapfile -t COMPREPLY < <(compgen -d -- "$current"; compgen -f -X '!*.[aA][vV][iI]' -- "$current")
  fi
}
complete -F _aviprobe aviprobe
