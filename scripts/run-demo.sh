#!/usr/bin/env bash
# Builds everything, creates the demo customer's database (with a demo user and sample data)
# when it is missing, and starts the application server with the demo application.
# Extra arguments go to zo-server (see: build/apps/zo-server/zo-server --help).
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/bootstrap.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target zo-server zo-schema zo-client console

ROOT="$PWD/run"
SCHEMA="$PWD/build/apps/zo-schema/zo-schema"
if [ ! -d "$ROOT/CustomersDB/demo" ]; then
  echo "Creating the demo customer in $ROOT ..."
  mkdir -p "$ROOT"
  echo "demo" | "$SCHEMA" customer add demo --root "$ROOT" --user demo \
    --name "Usuário de demonstração" --password-stdin
  (cd "$ROOT" && "$SCHEMA" apply --db CustomersDB/demo/ZO.FDB "$OLDPWD/examples/demo/demo-data.sql")
fi

cat <<HINT

Connect from another terminal, for example:
  ./build/apps/zo-client/zo-client --customer demo --user demo --password demo list TCidade
  ./build/apps/zo-client/zo-client --customer demo --user demo --password demo get TPedido 1
  ./build/apps/zo-client/zo-client --customer demo --user demo --password demo action RecalcularTotais
(./build/apps/zo-client/zo-client --help lists every command)
Or open the browser console at http://127.0.0.1:7070/console/ (customer demo, user demo,
password demo).

HINT
exec ./build/apps/zo-server/zo-server --root "$ROOT" "$@"
