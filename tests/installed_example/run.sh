#!/usr/bin/env bash
# Installs this build into a temporary prefix, builds the lending-library example against that
# prefix alone, provisions a customer with the example's schema tool, starts the example's
# server on a free loopback port and drives it over WebSocket with the example's client. It
# first checks that the tutorial shows the example's files as they are.
# Anything missing fails the test; nothing is skipped.
#
#   run.sh BUILD_DIR EXAMPLE_DIR TUTORIAL [COMPILER_LAUNCHER]
set -euo pipefail

build=$1
example=$2
tutorial=$3
launcher=${4:-}

fail() {
  echo "FAIL: $*" >&2
  exit 1
}
step() { echo "== $*"; }

for tool in cmake ninja jq; do
  command -v "$tool" >/dev/null || fail "$tool is not installed (scripts/bootstrap.sh installs it)"
done

work=$(mktemp -d)
server_pid=
cleanup() {
  if [ -n "$server_pid" ] && kill -0 "$server_pid" 2>/dev/null; then
    kill -TERM "$server_pid"
    wait "$server_pid" || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

# Runs a command quietly; on failure shows what it printed.
quiet() {
  local log=$work/last.log
  "$@" >"$log" 2>&1 || { cat "$log" >&2; fail "$*"; }
}

step "the tutorial writes the example's files"
# Every "cat > FILE <<'EOF'" block of the tutorial, extracted, must equal the example folder.
mkdir -p "$work/tutorial/data"
awk -v dir="$work/tutorial" '
  out != "" && $0 == "EOF" { close(out); out = ""; next }
  out != "" { print > out; next }
  $1 == "cat" && $2 == ">" && $4 == "<<\047EOF\047" { out = dir "/" $3 }
' "$tutorial"
diff -r "$example" "$work/tutorial" >&2 || fail "$tutorial and $example differ (above)"

step "install into a temporary prefix"
quiet cmake --install "$build" --prefix "$work/prefix"
config=$(find "$work/prefix" -name ZoServerConfig.cmake -print -quit)
[ -n "$config" ] || fail "the installed tree has no ZoServerConfig.cmake"

step "configure and build the example against the prefix"
quiet cmake -S "$example" -B "$work/build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_FIND_PACKAGE_NO_PACKAGE_REGISTRY=ON \
  -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" ${launcher:+-DCMAKE_CXX_COMPILER_LAUNCHER=$launcher}
found=$(sed -n 's/^ZoServer_DIR:PATH=//p' "$work/build/CMakeCache.txt")
[[ $found == "$work/prefix"/* ]] || fail "ZoServer was found in '$found', not in the prefix"
quiet cmake --build "$work/build" -j 2
bin=$work/build

step "provision a customer with the example's schema tool"
root=$work/root
mkdir -p "$root"
echo "s3cret-pw" >"$work/password"
quiet "$bin/library-schema" customer add CITYLIB --root "$root" --user ana \
  --password-file "$work/password"

step "the classes and the provisioned database agree: the migration is empty"
db=$(find "$root/CustomersDB/CITYLIB" -maxdepth 1 -iname '*.fdb' -print -quit)
[ -n "$db" ] || fail "customer add made no database under $root/CustomersDB/CITYLIB"
migration=$("$bin/library-schema" diff --db "$db") || fail "library-schema diff failed"
[ -z "$migration" ] || fail "diff of a fresh customer is not empty: $migration"

step "start the example's server"
"$bin/library-server" --root "$root" --port 0 >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
port=
for _ in $(seq 300); do
  port=$(sed -n 's|.*listening on ws://127\.0\.0\.1:\([0-9]*\)/zo.*|\1|p' "$work/server.out")
  [ -n "$port" ] && break
  kill -0 "$server_pid" 2>/dev/null || { cat "$work/server.err" >&2; fail "the server exited"; }
  sleep 0.1
done
[ -n "$port" ] || fail "the server did not announce its port in 30 s"

export ZO_CUSTOMER=CITYLIB ZO_USER=ana ZO_PASSWORD=s3cret-pw
client() { "$bin/library-client" --port "$port" "$@"; }
# expect JSON FILTER: the jq filter must hold on the JSON.
expect() {
  jq -e "$2" >/dev/null <<<"$1" || fail "expected $2 in: $1"
}
# refused EXPECTED-MESSAGE COMMAND...: the client must exit 2 with that message.
refused() {
  local message=$1 code=0
  shift
  client "$@" >/dev/null 2>"$work/refused.err" || code=$?
  [ "$code" -eq 2 ] || fail "'$*' exited with $code, not 2: $(cat "$work/refused.err")"
  grep -qF "$message" "$work/refused.err" || fail "'$*' said: $(cat "$work/refused.err")"
}

step "insert and get: composed, embedded and aggregated"
data=$example/data
author=$(client insert "$data/author.json")
book=$(jq --argjson a "$author" '.fields.Author.fields.Codigo = $a' "$data/book.json" |
  client insert -)
member=$(client insert "$data/member.json")
loan() {  # loan DUE-DATE: a loan of the book to the member
  jq --argjson m "$member" --argjson b "$book" --arg due "$1" \
    '.fields.Member.fields.Codigo = $m | .fields.Items[0].fields.Book = $b | .fields.DueDate = $due' \
    "$data/loan.json"
}
late=$(loan 2000-01-15 | client insert -)
onTime=$(loan 2999-12-31 | client insert -)
expect "$(client get TBook "$book")" '.fields.Author.fields.Name == "Machado de Assis"'
stored=$(client get TLoan "$late")
expect "$stored" '.type == "LibraryClasses.TLoan" and .fields.UserID > 0'
expect "$stored" '.fields.Member.fields.Address.fields.City == "Recife"'
expect "$stored" ".fields.Items | length == 1 and .[0].fields.Book == $book and .[0].fields.Loan == $late"

step "a unique column refuses a repeated value, naming the property"
refused '"Isbn"' insert <(jq --argjson a "$author" '.fields.Author.fields.Codigo = $a' "$data/book.json")

step "the loans' DAO refuses bad loans and stores nothing"
refused "is before the loan date" insert <(loan 1999-12-31)
refused "A loan lends 1 to 5 books, not 0" insert <(loan 2000-02-01 | jq '.fields.Items = []')
refused "appears twice in the loan" insert <(loan 2000-02-01 | jq '.fields.Items += .fields.Items')
expect "$(client get TLoan $((onTime + 1)))" '. == null'

step "the action with progress"
fines=$(client action ComputeFines 2>"$work/progress.txt")
[ "$fines" = 1 ] || fail "ComputeFines answered $fines, expected 1 loan owing"
grep -q "^progress: 100% Computing fines - Loan " "$work/progress.txt" ||
  fail "no progress reached the client: $(cat "$work/progress.txt")"
# Half a unit per day since 2000-01-15 (a day either way: the clock may pass midnight).
days=$((($(date +%s) - $(date -d 2000-01-15 +%s)) / 86400))
expect "$(client get TLoan "$late")" ".fields.Fine >= ($days - 1) * 0.5 and .fields.Fine <= ($days + 1) * 0.5"
expect "$(client get TLoan "$onTime")" '.fields.Fine == 0'

step "delete"
item=$(client get TLoan "$onTime" | jq '.fields.Items[0].fields.Codigo')
client delete TLoan "$onTime" >/dev/null
expect "$(client get TLoan "$onTime")" '. == null'
expect "$(client get TLoanItem "$item")" '. == null'
refused "associado a outro registro" delete TBook "$book"
expect "$(client get TBook "$book")" ".fields.Codigo == $book"

step "stop the server"
kill -TERM "$server_pid"
code=0
wait "$server_pid" || code=$?
server_pid=
[ "$code" -eq 0 ] || fail "the server exited with $code: $(cat "$work/server.err")"
echo "PASS"
