# shellcheck shell=bash disable=SC2034
# The Debian packages that each kind of work needs, and how they are installed. Sourced.

run_packages=(g++ cmake ninja-build pkg-config libace-dev libxerces-c-dev libcli11-dev
  libxxhash-dev nlohmann-json3-dev robin-map-dev)
test_packages=("${run_packages[@]}" libgtest-dev locales dpkg-dev file lnav rsyslog libxml2-utils vim
  zsh fish)
peer_packages=(libspdlog-dev libgoogle-glog-dev liblog4cplus-dev libboost-log-dev libpoco-dev
  liblua5.4-dev lua5.4 libpugixml-dev)
fuzz_packages=("${run_packages[@]}" clang llvm)
package_packages=("${run_packages[@]}" dpkg-dev file lintian)
abi_packages=("${test_packages[@]}" abigail-tools)
docs_packages=(doxygen git python3)
check_packages=(clang-format cppcheck git shellcheck)
tidy_packages=("${test_packages[@]}" clang clang-tidy git)
all_packages=("${test_packages[@]}" "${check_packages[@]}" "${tidy_packages[@]}" gcovr)

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    die "needs root for: $*"
  fi
}

missing_packages() {
  local package
  for package in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
      printf '%s\n' "$package"
  done
}

install_packages() {
  local missing
  mapfile -t missing < <(missing_packages "$@")
  [ "${#missing[@]}" -gt 0 ] || return 0
  command -v apt-get >/dev/null || die "needs these Debian packages, and there is no apt-get: ${missing[*]}"
  say "Installing ${missing[*]}"
  as_root apt-get update -q
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# Tests run a process in the Chinese locale whose code page is GBK.
make_gbk_locale() {
  if ! locale -a | grep -qi '^zh_CN\.gbk$'; then
    say "Making the locale zh_CN.GBK"
    as_root localedef -i zh_CN -f GBK zh_CN.GBK
  fi
}

# Installs a set: run, test, fuzz or all.
setup() {
  case "$1" in
    run) install_packages "${run_packages[@]}" ;;
    test) install_packages "${test_packages[@]}" && make_gbk_locale ;;
    fuzz) install_packages "${fuzz_packages[@]}" ;;
    all) install_packages "${all_packages[@]}" && make_gbk_locale ;;
    *) die "no package set '$1': run, test, fuzz or all" ;;
  esac
}

# Installs what a preset needs.
setup_for() {
  case "$1" in
    clang-*) setup test && install_packages clang ;;
    fuzz) setup fuzz ;;
    tools | packages) setup run ;;
    *) setup test ;;
  esac
}
