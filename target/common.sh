# Shared by the scripts of this folder: paths, and the cache of built components.
#
# A component is cached in a folder named after its inputs, and is rebuilt only when one of them changes:
# $TALVERA_CACHE, by default ~/.cache/talvera.
set -eu
export LC_ALL=C

project=$(cd "$(dirname "$0")/.." && pwd)
target=$project/target
cache=${TALVERA_CACHE:-${XDG_CACHE_HOME:-${HOME:-$project/build}/.cache}/talvera}
jobs=${JOBS:-$(nproc)}
triple=mips-linux-gnu
unset MAKEFLAGS MAKELEVEL 2>/dev/null || true

say() { echo "target: $*"; }

# step NAME FUNCTION: runs a build step in $work/build; its output goes to a log, which is shown if it fails.
# (Must not be used as a condition, in which the shell ignores failing commands.)
step() {
  started=$(date +%s)
  set +e
  (
    set -e
    cd "$work/build"
    "$2"
  ) >"$work/$2.log" 2>&1
  status=$?
  set -e
  if [ $status != 0 ]; then
    tail -n 40 "$work/$2.log" >&2
    say "$1 failed" >&2
    exit 1
  fi
  say "$1: $(($(date +%s) - started)) s" >&2
}

# The versions of Debian packages, as inputs of a component.
versions() { dpkg-query -W -f '${Package} ${Version}\n' "$@"; }

# folder_of COMPONENT FILE...: the component's folder for the content of standard input and of the files
folder_of() {
  component=$1
  shift
  echo "$cache/$component-$(cat - "$@" | sha256sum | cut -c 1-12)"
}

# Compiler and sources come from Debian's packages of the same release.
"$project/scripts/setup" --check target
toolchain=$(versions g++-$triple uclibc-source gcc-12-source linux-libc-dev-mips-cross |
  folder_of toolchain "$target/toolchain" "$target/compiler" "$target/uclibc.config" \
    "$target/unwind_lookup.c" "$target/fetch-source")
board=$(versions gcc-$triple linux-source-6.1 |
  folder_of board "$target/board" "$target/kernel.config" "$target/fetch-source")
