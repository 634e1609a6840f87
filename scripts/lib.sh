# shellcheck shell=bash
# What the scripts share; each sources it first. Makes the project's root the working directory, and answers --help with
# the script's own head comment.
set -euo pipefail
readonly kCaller=$PWD
readonly kName=${0##*/}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

fail() {
  echo "$kName: $*" >&2
  exit 1
}

# usage: for arguments that are wrong.
usage() {
  sed -n '/^# usage: /,/^[^#]/s/^# //p' "scripts/$kName" >&2
  exit 2
}

# quietly LOG COMMAND...: runs it with its output in LOG, which is shown only when it fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 || { cat "$log" >&2; fail "failed: $*"; }
}

# build PRESET [TARGET...]: configures and builds, with its output in build/PRESET/logs.
build() {
  quietly "build/$1/logs/configure.log" cmake --preset "$1"
  quietly "build/$1/logs/build.log" cmake --build --preset "$1" ${2:+--target "${@:2}"}
}

# missing TOOL...: the first one that is not installed; fails when all are.
missing() {
  local tool
  for tool in "$@"; do
    command -v "$tool" >/dev/null || { echo "$tool"; return; }
  done
  return 1
}

# need GROUP TOOL...: fails where a tool is missing, which that group of install-deps brings.
need() {
  local tool
  ! tool=$(missing "${@:2}") || fail "$tool is missing: scripts/install-deps $1"
}

# skip_without GROUP TOOL...: the same, but a test that shows as skipped.
skip_without() {
  local tool
  ! tool=$(missing "${@:2}") || { echo "$kName: SKIPPED: $tool is missing: scripts/install-deps $1" >&2; exit 77; }
}

# from_caller PATH: an argument's path, wherever the script was called.
from_caller() { (cd "$kCaller" && realpath -m "$1"); }

# aviprobe_in BUILD_DIR: the path of its tool.
aviprobe_in() {
  local probe=$1/tools/aviprobe/aviprobe
  [[ -x $probe ]] || fail "$probe is missing: build it first"
  echo "$probe"
}

# has_remux PROBE: whether the tool was built with libavformat. Needs scratch's folder.
has_remux() { [[ $("$1" remux samples/audio-only.avi -o "$work/remuxed.avi" 2>&1) != *"not built in"* ]]; }

# media_tracks: turns what `aviprobe --json info` says into lines of a track number and "video" or "audio".
media_tracks() { grep -oE '"track":[0-9]+,"type":"(video|audio)"' | tr -cs 'a-z0-9\n' ' ' | cut -d' ' -f3,5; }

# scratch: makes a folder, $work, that is gone when the script ends.
scratch() {
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
}

case ${1-} in
  -h | --help)
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "scripts/$kName"
    exit
    ;;
esac
