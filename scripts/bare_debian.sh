#!/usr/bin/env bash
# scripts/bare_debian.sh [--own-build] RELEASE ARCHITECTURE COMMAND [ARGUMENT...]
#   runs a command in a bare Debian: a root of its own in build/debian, which debootstrap makes on first use from the
#   mirror that this machine's apt has. The command begins in the folder that the caller stands in and sees of this
#   machine the checkout, its devices and its network; --own-build gives it an empty build/ in place of this one.
# scripts/bare_debian.sh --check RELEASE ARCHITECTURE
#   says why that can not be here, with exit code 1, or nothing.
#
# Mounts and processes are of namespaces of their own, and none outlives the command.
set -euo pipefail

checkout=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
mode=run
case ${1:-} in
  --check | --own-build)
    mode=${1#--}
    shift
    ;;
esac
if (($# < 2)) || [[ $mode == check && $# -gt 2 ]] || [[ $mode != check && $# -lt 3 ]]; then
  sed -n '/^# scripts/,/^# Mounts/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
  exit 2
fi
release=$1 architecture=$2
shift 2
root=$checkout/build/debian/$release-$architecture

# Prints the mirror that this machine takes its own Debian from.
mirror() {
  local codename
  codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  # shellcheck disable=SC2016  # the fields are apt's
  apt-get indextargets --format '$(RELEASE) $(COMPONENT) $(SITE)' 'Created-By: Packages' 2>/dev/null |
    awk -v codename="$codename" \
      '$1 ~ "^(" codename "|oldstable|stable)$" && $2 == "main" && $3 ~ /^https?:/ { print $3; exit }'
}

# Whether programs of that processor run here: one that only ends, and needs no library to be built.
runs_architecture() {
  [[ $architecture == "$(dpkg --print-architecture)" ]] && return
  [[ $architecture == i386 ]] || return 1
  local program
  program=$(mktemp)
  # shellcheck disable=SC2016  # $ is the assembler's
  printf 'void _start(void) { __asm__("movl $1, %%eax; xorl %%ebx, %%ebx; int $0x80"); }\n' |
    cc -m32 -static -nostdlib -x c - -o "$program" 2>/dev/null && "$program" 2>/dev/null &&
    rm "$program" && return
  rm -f "$program"
  return 1
}

# Whether the mirror has the release.
offers_release() {
  local index found=false
  index=$(mktemp -d)
  timeout 120 /usr/lib/apt/apt-helper download-file "$1/dists/$release/InRelease" "$index/it" >/dev/null 2>&1 || true
  [[ ! -s $index/it ]] || found=true
  rm -r "$index"
  $found
}

obstacle() {
  local from
  if ((EUID != 0)); then
    echo "a root of its own can be made by root only"
  elif ! unshare --mount --pid --fork mount -t tmpfs none /tmp 2>/dev/null; then
    echo "the system grants no namespaces"
  elif ! runs_architecture; then
    echo "programs for $architecture do not run here"
  elif [[ ! -e $root ]] && ! command -v debootstrap >/dev/null; then
    echo "debootstrap is not installed"
  elif [[ ! -e $root ]]; then
    from=$(mirror)
    if [[ -z $from ]]; then
      echo "apt takes this machine's Debian from no mirror"
    elif ! offers_release "$from"; then
      echo "the mirror of this machine does not give out $release"
    fi
  fi
}

make_root() {
  local from log=$root.log
  from=$(mirror)
  rm -rf "$root.part"
  timeout -k 10 1800 debootstrap --arch="$architecture" --variant=minbase --include=ca-certificates \
    "$release" "$root.part" "$from" >"$log" 2>&1 </dev/null || {
    tail -n 20 "$log" >&2
    echo "No $release for $architecture could be made; the whole output is in $log." >&2
    exit 1
  }
  mv "$root.part" "$root"
}

# Runs in the namespaces, as their first process: makes the root whole and becomes the command.
enter() {
  mount --rbind /dev "$root/dev"
  mount -t proc proc "$root/proc"
  mount -t tmpfs tmpfs "$root/tmp"
  mkdir -p "$root$checkout"
  mount --bind "$checkout" "$root$checkout"
  if [[ $mode == own-build ]]; then
    mkdir -p "$root.build"
    mount --bind "$root.build" "$root$checkout/build"
  fi
  [[ ! -e /etc/resolv.conf ]] || cp -L /etc/resolv.conf "$root/etc/resolv.conf"
  exec chroot "$root" env --chdir="$PWD" HOME=/root LC_ALL=C.UTF-8 \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
}

problem=$(obstacle)
if [[ -n $problem ]]; then
  echo "$problem"
  exit 1
fi
[[ $mode != check ]] || exit 0

# apt's own, for programs that do not ask it.
eval "$(apt-config shell http_proxy Acquire::http::Proxy)"
[[ -z ${http_proxy:-} ]] || export http_proxy
mkdir -p "$checkout/build/debian"
(
  flock -w 1800 9
  [[ -e $root ]] || make_root
) 9>"$root.lock"

export -f enter
export checkout root mode
unshare --mount --pid --fork --kill-child bash -euc 'enter "$@"' bash "$@" <&0 &
inside=$!
trap 'kill -KILL $inside' EXIT
trap 'exit 130' INT TERM HUP
status=0
wait "$inside" || status=$?
trap - EXIT
exit $status
