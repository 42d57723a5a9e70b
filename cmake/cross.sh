# Sourced by ./test after setup.sh: what it takes to build for another architecture and to run its programs here.

cross_architectures=(armhf arm64)

# is_cross_architecture NAME: whether it is one of them.
is_cross_architecture() {
  printf '%s\n' "${cross_architectures[@]}" | grep -qxF -- "$1"
}

# not_emulated: the names of tests/not-emulated as one regular expression.
not_emulated() {
  sed 's/ *#.*//;/^$/d' "$root/tests/not-emulated" | paste -sd '|'
}

# count_not_emulated PRESET: how many tests of the preset, which is built, those are.
count_not_emulated() {
  (cd "$root" && ctest --preset "$1" -N -R "$(not_emulated)") | sed -n 's/^Total Tests: //p'
}

# emulation_runner: what starts a command whose programs are emulated, a word per line; nothing for root. Who is not root
# has the right to mount in a user namespace only. The tests make one each, but the emulator cannot: it has two threads.
emulation_runner() {
  [ "$(id -u)" -eq 0 ] || ! unshare -Ur true 2>/dev/null || printf '%s\n' unshare -Ur
}

# What the build finds in a sysroot; the counterparts of build_packages and test_packages.
sysroot_packages=(libc6-dev libstdc++-12-dev libxml2-dev libcurl4-openssl-dev libssl-dev libmicrohttpd-dev libcli11-dev
                  nlohmann-json3-dev libcairo2-dev libjpeg62-turbo-dev zlib1g-dev libgtest-dev libgmock-dev)
sysroot_release=bookworm

# cross_packages ARCH: the packages of this machine that build for it, one per line.
cross_packages() {
  case $1 in
    armhf) echo g++-arm-linux-gnueabihf ;;
    arm64) echo g++-aarch64-linux-gnu ;;
  esac
  printf '%s\n' qemu-user mmdebstrap
}

# sysroot_mirror: where this machine's own packages come from, as a line of sources.list; nothing where that is not known.
sysroot_mirror() {
  apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 2>/dev/null |
    grep -m 1 " $sysroot_release main\$" || true
}

# link_inside DIR: absolute links lead out of a sysroot; makes those relative whose target it has.
link_inside() {
  local link target
  while IFS= read -r -d '' link; do
    target=$1$(readlink "$link")
    [ ! -e "$target" ] || ln -sfnr "$target" "$link"
  done < <(find "$1" -lname '/*' -print0)
}

# extract_sysroot ARCH MIRROR DIR: what is installed nowhere can be extracted by any user, but as root it is said so.
extract_sysroot() {
  local mode=chrootless packages
  [ "$(id -u)" -ne 0 ] || mode=root
  packages=$(IFS=,; echo "${sysroot_packages[*]}")
  mmdebstrap --mode="$mode" --variant=extract --architectures="$1" --include="$packages" \
    "$sysroot_release" "$3" "$2"
}

# Of a sysroot only the libraries are wanted. The emulator takes from it every path that it has, so that the rest would
# hide this machine's own, as /tmp and /var/log.
trim_sysroot() {
  find "$1" -mindepth 1 -maxdepth 1 ! -name usr ! -name lib -exec rm -rf --one-file-system {} +
  rm -rf "$1"/usr/{bin,sbin,games,libexec,src} "$1"/usr/share/{doc,man,locale,info}
}

# need_sysroot ARCH: makes build/sysroot-ARCH when it is not there, or was made of other packages.
need_sysroot() {
  local dir=$root/build/sysroot-$1 log=$root/build/sysroot-$1.log mirror
  local made_of="$dir/packages" wanted="$sysroot_release ${sysroot_packages[*]}"
  [ "$(cat "$made_of" 2>/dev/null)" != "$wanted" ] || return 0
  [ ! -d "$dir" ] || echo "build/sysroot-$1 was made of other packages." >&2
  mirror=$(sysroot_mirror)
  if [ -z "$mirror" ]; then
    echo "No sysroot for $1: the sources of apt have no \"$sysroot_release main\". Add one, run apt-get update, try again." >&2
    return 1
  fi
  echo "Making build/sysroot-$1 ..." >&2
  mkdir -p "$root/build"
  rm -rf --one-file-system "$dir.part"
  if ! extract_sysroot "$1" "$mirror" "$dir.part" >"$log" 2>&1; then
    cat "$log" >&2
    echo "No sysroot for $1: its packages could not be fetched; see above and in build/sysroot-$1.log" >&2
    return 1
  fi
  trim_sysroot "$dir.part" && link_inside "$dir.part" && echo "$wanted" >"$dir.part/packages" &&
    rm -rf --one-file-system "$dir" && mv -T "$dir.part" "$dir"
}
