# shellcheck shell=bash
# Set-up that ./play and ./test share; sourced, not run. Expects to stand in the root of the checkout.

say() { printf '\n== %s\n' "$*"; }

die() {
  printf '%s\n' "$@" >&2
  exit 1
}

# need_packages NAME... installs those of Debian's packages that are not there. With all of them in place it
# asks the network nothing.
need_packages() {
  local missing=() package
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    local tool absent=()
    for tool in cmake ninja c++; do command -v "$tool" >/dev/null || absent+=("$tool"); done
    ((${#absent[@]} == 0)) && return
    die "This machine has no apt-get, and ${absent[*]} cannot be found." \
      "Please install what these packages of Debian 12 and 13 hold, then try again:" "  $*"
  fi
  for package in "$@"; do
    # shellcheck disable=SC2016  # the format is dpkg-query's
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true) == installed ]] ||
      missing+=("$package")
  done
  ((${#missing[@]} == 0)) && return

  local as_root=()
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      die "These packages are missing, and this is neither root nor a machine with sudo:" "  ${missing[*]}" \
        "Please have them installed (apt-get install ${missing[*]}), then try again."
    fi
    as_root=(sudo)
  fi
  say "Installing ${missing[*]}"
  local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0)
  "${apt[@]}" update </dev/null || die "apt-get update failed; the missing packages are: ${missing[*]}"
  "${apt[@]}" install -y --no-install-recommends "${missing[@]}" </dev/null >/dev/null ||
    die "apt-get install failed; the missing packages are: ${missing[*]}"
}

jobs=$(nproc)

# A compiler cache makes a repeated build quick; it is used where it stands and never asked for.
if [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER:-} ]] && command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD
fi

# quietly LOG COMMAND... keeps the output in a file and shows it only when the command fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 </dev/null && return
  tail -n 100 "$log" >&2
  die "Failed: $*" "The whole output is in $log."
}

# configure PRESET [-DNAME=VALUE...]
configure() {
  local preset=$1
  shift
  quietly "build/log/configure-$preset.txt" cmake --preset "$preset" "$@"
}

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  quietly "build/log/build-$preset.txt" ninja -C "build/$preset" -j "$jobs" "$@"
}
