#!/bin/sh
# packaging/zo-server.service passes systemd's own check: every key known, every value parsed.
# It runs in a container without a running systemd too.
# usage: verify.sh SOURCE_DIR ZO_SERVER_BINARY
set -eu
if ! command -v systemd-analyze >/dev/null; then
  echo "systemd-analyze is missing: scripts/bootstrap.sh installs the systemd package" >&2
  exit 1
fi
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
# The installed path does not exist here; the built program stands in for it.
unit="$dir/zo-server.service"
sed "s|^ExecStart=/usr/bin/zo-server |ExecStart=$2 |" "$1/packaging/zo-server.service" >"$unit"
if ! grep -q "^ExecStart=$2 " "$unit"; then
  echo "the unit does not start /usr/bin/zo-server" >&2
  exit 1
fi
if ! report=$(cd "$dir" && systemd-analyze verify "$unit" 2>&1); then
  echo "$report" >&2
  exit 1
fi
if [ -n "$report" ]; then
  echo "systemd ignores what it warns about:" >&2
  echo "$report" >&2
  exit 1
fi
