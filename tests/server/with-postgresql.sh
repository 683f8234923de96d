#!/bin/sh
# with-postgresql.sh TEST-BINARY [ARGS...]
# Runs the test binary against a throwaway PostgreSQL cluster that lives in a
# temporary folder and listens only on a Unix socket there. The database
# address is handed over in VEILORA_TEST_DATABASE_URL; the cluster is stopped
# and removed whatever happens. Exit code 77 (skip) when PostgreSQL is not
# installed, except inside the CI test session, where that is a failure.
set -eu

test_binary=$1
shift

pg_bin=
for dir in /usr/lib/postgresql/15/bin /usr/lib/postgresql/*/bin; do
    if [ -x "$dir/initdb" ] && [ -x "$dir/pg_ctl" ]; then
        pg_bin=$dir
        break
    fi
done
if [ -z "$pg_bin" ]; then
    if [ "${VEILORA_TEST_SESSION:-}" = 1 ]; then
        echo "with-postgresql.sh: PostgreSQL server programs not found (apt install postgresql)" >&2
        exit 1
    fi
    echo "with-postgresql.sh: PostgreSQL not installed, skipping" >&2
    exit 77
fi

# The cluster must belong to an unprivileged user: initdb refuses root.
as_owner() {
    if [ "$(id -u)" = 0 ]; then
        runuser -u postgres -- "$@"
    else
        "$@"
    fi
}

root=$(mktemp -d /tmp/veilora-pg-XXXXXX)
chmod 755 "$root"
[ "$(id -u)" = 0 ] && chown postgres "$root"
cleanup() {
    as_owner "$pg_bin/pg_ctl" -D "$root/data" -m immediate stop >/dev/null 2>&1 || true
    rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

if ! as_owner "$pg_bin/initdb" -D "$root/data" -A trust -U veilora >"$root/initdb.log" 2>&1; then
    cat "$root/initdb.log" >&2
    exit 1
fi
# Only the socket is used; the port number just names it.
port=$((20000 + $$ % 20000))
if ! as_owner "$pg_bin/pg_ctl" -D "$root/data" -o "-k $root -p $port -c listen_addresses=''" \
    -l "$root/server.log" -w start >/dev/null; then
    cat "$root/server.log" >&2
    exit 1
fi
"$pg_bin/createdb" -h "$root" -p "$port" -U veilora veilora

socket=$(printf '%s' "$root" | sed 's,/,%2F,g')
export VEILORA_TEST_DATABASE=postgresql
export VEILORA_TEST_DATABASE_URL="postgresql://veilora@$socket:$port/veilora"
status=0
"$test_binary" "$@" || status=$?
exit "$status"
