#!/usr/bin/env bash
# Installs the Debian 12 packages that the tree needs, and is the only place that names them.
#
#   scripts/install_packages.sh GROUP...     groups: build, test, check, browser, server
#
# Packages that are there already cost one look-up: then nothing is downloaded and no network is needed.
set -euo pipefail

build=(build-essential cmake ninja-build icu-devtools libicu-dev libsqlite3-dev libpq-dev libcli11-dev nlohmann-json3-dev)
test=(binutils libbenchmark-dev libgmock-dev libgtest-dev pkg-config)
browser=(chromium)  # 120 MB to download; only the test of the page of `kyv inspect` uses it
server=(postgresql)  # only tests on clusters and scripts/cluster.sh use it, and start servers of their own
check=(ccache clang clang-format clang-tidy libclang-rt-14-dev)

wanted=()
for group in "$@"; do
  case $group in
    build) wanted+=("${build[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    check) wanted+=("${check[@]}") ;;
    browser) wanted+=("${browser[@]}") ;;
    server) wanted+=("${server[@]}") ;;
    *) echo "$0: no group of packages is called '$group' (build, test, check, browser, server)" >&2; exit 2 ;;
  esac
done

if ! command -v dpkg-query >/dev/null; then
  echo "This is not a Debian system; these packages, or what they hold, must be there: ${wanted[*]}" >&2
  exit 0
fi

installed=$(dpkg-query --show --showformat='${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null |
  sed -n 's/ installed$//p' || true)
missing=()
for package in "${wanted[@]}"; do
  grep -qx -- "$package" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Run as root, or install sudo: missing ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi

apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=600 "$@" </dev/null
}

# The lock of the package lists has no time-out of its own, so another program's update is waited for here. The lists
# that are there may still do when the network does not, hence no failure.
update_lists() {
  for _ in $(seq 20); do
    apt update && return
    sleep 3
  done
  echo "The package lists could not be updated; going on with those that are there." >&2
}

# Unless told otherwise beforehand, the package of the server makes a database and starts to serve it.
keep_server_quiet() {
  local settings=/etc/postgresql-common/createcluster.conf
  [ ! -e "$settings" ] || return 0
  "${as_root[@]}" mkdir -p "$(dirname "$settings")"
  echo "create_main_cluster = false" | "${as_root[@]}" tee "$settings" >/dev/null
}

echo "Installing ${missing[*]}"
update_lists
[[ " ${missing[*]} " != *" postgresql "* ]] || keep_server_quiet
apt install -y --no-install-recommends "${missing[@]}" >/dev/null
