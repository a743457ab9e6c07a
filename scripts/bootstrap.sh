#!/usr/bin/env bash
# Installs the Debian packages the project builds and tests with. Idempotent: only the
# packages that are missing are installed, so a second run does nothing.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  firebird-dev libfbclient2 firebird3.0-server-core firebird3.0-utils firebird3.0-server
  nlohmann-json3-dev libfmt-dev
  jq  # the installed-example test reads the example client's JSON answers
  libboost-dev libboost-system-dev
  libssl-dev openssl
  dpkg-dev  # dpkg-shlibdeps: run-time dependencies of the Debian packages (cpack)
  libspdlog-dev libcli11-dev
  systemd
  chromium
)
# Node.js for the console and the TypeScript client. Debian's nodejs, unless a nodejs package
# is already installed; Debian's npm only when no npm came with it (some builds of nodejs
# bundle npm and conflict with the separate package).
if ! command -v node >/dev/null 2>&1; then packages+=(nodejs); fi
if ! command -v npm >/dev/null 2>&1; then packages+=(npm); fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "bootstrap: all packages present"
  exit 0
fi

echo "bootstrap: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
# The server package would otherwise start a daemon and ask for a SYSDBA password; tests
# start their own server when they need one.
echo "firebird3.0-server firebird3.0-server/password password masterkey" | $SUDO debconf-set-selections || true
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "bootstrap: done"
