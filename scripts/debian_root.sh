# To be sourced: Debian in a folder, with a copy of this tree to build and test inside it. Needs root.

say() { printf '%s\n' "$*" >&2; }

# make_root SUITE ROOT: Debian of that suite lies in the folder afterwards, the tree in its /zea. Both variables below are
# for the other functions.
make_root() {
  local suite=$1
  root=$2
  tree=$root/zea
  if [ "$(id -u)" != 0 ]; then
    say "$0 needs root: it makes a system and works inside it by chroot."
    exit 1
  fi

  if [ ! -e "$root/etc/debian_version" ]; then
    [ -x /usr/sbin/debootstrap ] || { apt-get update -q && apt-get install -q -y debootstrap; } >&2
    # Half a system, after an interruption, never bears the name.
    rm -rf "$root.new"
    mkdir -p "$(dirname "$root")"
    say "Fetching Debian $suite ..."
    debootstrap --variant=minbase --include=ca-certificates "$suite" "$root.new" >"$root.log" ||
      { tail "$root.log" >&2; exit 1; }
    mv "$root.new" "$root"
  fi

  # A mirror may lag behind, and what it has is tested all the same.
  echo 'Acquire::Check-Valid-Until "false";' >"$root/etc/apt/apt.conf.d/90zea"
  cp -L /etc/hosts /etc/resolv.conf "$root/etc"
  rm -rf "$tree"
  mkdir -p "$tree"
  git ls-files -z | tar -c --null -T - | tar -x -C "$tree"
  if ! run mounts.log true; then
    cat "$tree/mounts.log" >&2
    say "/dev and /proc can't be mounted here; in a container that takes its privileged mode."
    exit 1
  fi
}

# run LOG COMMAND: a shell's command in /zea of the system; what it says is left in the tree. The mounts and all processes
# live in namespaces of their own and end with the command.
run() {
  local log=$tree/$1
  shift
  unshare --mount --pid --fork --kill-child bash -euc '
    mount --rbind /dev "$0/dev"
    mount -t proc proc "$0/proc"
    cd "$0"
    exec chroot . env -i PATH="$PATH" HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
      CCACHE_DIR=/var/cache/ccache sh -c "cd /zea && $1"' "$root" "$*" >"$log" 2>&1 </dev/null
}

# show_end LOG: of tests from their sum on, which is followed by what failed.
show_end() { sed -n '/tests passed/,$p' "$tree/$1" | grep . || tail -n 12 "$tree/$1"; }
