# Sourced by ./run, ./test and .ci/run: installs the Debian packages that are missing, and only those.
# All talk goes to standard error, so that the standard output of what is run afterwards stays its own.

build_packages=(g++ cmake ninja-build libxml2-dev libcurl4-openssl-dev libssl-dev libmicrohttpd-dev libcli11-dev
                nlohmann-json3-dev pkg-config libcairo2-dev libjpeg62-turbo-dev zlib1g-dev)
# For the RTSP streams of the simulated camera and the workbench's player; large, and not needed by anything else.
stream_packages=(libgstrtspserver-1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base
                 gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-libav)
# A foreign player, for the tests of the streams.
player_packages=(ffmpeg)
test_packages=(libgtest-dev libgmock-dev python3 python3-lxml curl binutils gzip util-linux valgrind locales dpkg-dev
               fakeroot file)
check_packages=(git clang-format clang-tidy doxygen)
fuzz_packages=(clang libclang-rt-14-dev)

# have_package NAME: whether the package is installed.
have_package() {
  dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# as_root COMMAND...: runs the command as root, or says what is missing.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
    sudo -n "$@"
  else
    return 1
  fi
}

# How long a machine may be busy with updates of its own, as one is that was just started.
lock_seconds=300

# update_lists: brings the lists of packages up to date. The lists at hand may do where that fails.
update_lists() {
  local said tries=$((lock_seconds / 5))
  # apt-get waits for dpkg's lock by itself, but not for that of the lists.
  while ! said=$(as_root env LC_ALL=C apt-get update -qq 2>&1) && [[ $said == *"Could not get lock"* ]] &&
        [ $((tries -= 1)) -gt 0 ]; do
    sleep 5
  done
  [ -z "$said" ] || printf '%s\n' "$said" >&2
}

# need_packages NAME...: installs those that are missing.
need_packages() {
  local missing=() name
  for name in "$@"; do
    have_package "$name" || missing+=("$name")
  done
  [ "${#missing[@]}" -eq 0 ] && return 0
  if ! command -v apt-get >/dev/null; then
    echo "This is not a Debian system; please install the counterparts of: ${missing[*]}" >&2
    return 1
  fi
  echo "Installing: ${missing[*]}" >&2
  if ! as_root true; then
    echo "No right to install packages. As root, run: apt-get update && apt-get install -y --no-install-recommends ${missing[*]}" >&2
    return 1
  fi
  update_lists
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout="$lock_seconds" install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# want_packages WHAT NAME...: installs those that are missing; where that fails it says what will be missing, and goes on.
want_packages() {
  local what=$1
  shift
  need_packages "$@" || echo "Going on without $what." >&2
}

# What build_preset builds; what the preset says where it is empty.
build_targets=()

# build_preset PRESET [CMAKE-OPTION...]: configures and builds; the output is shown only when a step fails.
build_preset() {
  local preset=$1 log only=()
  shift
  [ "${#build_targets[@]}" -eq 0 ] || only=(--target "${build_targets[@]}")
  mkdir -p "$root/build"
  log="$root/build/$preset.log"
  echo "Building ($preset) ..." >&2
  if ! (cd "$root" && cmake --preset "$preset" "$@" && cmake --build --preset "$preset" "${only[@]}") >"$log" 2>&1; then
    cat "$log" >&2
    echo "The build failed; its output is above and in build/$preset.log" >&2
    return 1
  fi
}
