#!/bin/bash
# Sourced by the tests of the operator's tool, whose argument is the build directory: a repository, a lock directory and
# a database, and comparisons. Because the tool refuses root, a test that root runs continues as nobody, with copies of
# what it needs, unless it sets `stays_root`.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$here/../support/tries.bash"
# The caller's own variables may lead to another server, and the tests make tables.
[ -n "${STORESTATE_TCP_PORT-}" ] || exec "$here/../../scripts/lib/with-mariadb" --tcp "$0" "$@"
build=$(cd "$1" && pwd) || exit
umask 022
work=$(mktemp -d "${TMPDIR:-/tmp}/test-tool.XXXXXX") || exit
trap 'kill $(jobs -p) 2>/dev/null; wait; chmod -R u+rwX "$work"; rm -rf "$work"' EXIT
chmod 755 "$work"
if [ "$EUID" -eq 0 ] && [ -z "${stays_root-}" ]; then
    mkdir "$work/build" && mkdir -m 1777 "$work/tmp"
    (cd "$here/../.." && cp -r --parents tests/tools tests/support tools/manual "$work")
    (cd "$build" && cp -r --parents bin/storestate lib/*.so tests/{tools,plugins}/*/lib "$work/build")
    chmod -R a+rX "$work"
    cd "$work" || exit
    TMPDIR=$work/tmp setpriv --reuid 65534 --regid 65534 --clear-groups "tests/tools/${0##*/}" build
    exit
fi
export LOCK_VAR=$work/locks REPOSITORY_DICOM_DATA=$work/repository REPOSITORY_HANDLER_HOME=$build PATH=$build/bin:$PATH
export MYSQL_HOST=127.0.0.1 MYSQL_TCP_PORT=$STORESTATE_TCP_PORT LC_ALL=C
unset MYSQL_UNIX_PORT
mkdir "$LOCK_VAR" "$REPOSITORY_DICOM_DATA" && cd "$work" || exit

# Runs a line and compares exit status and output with standard input, in which WORK stands for the folder.
prints() { # status, line
    local wanted found
    wanted=$(sed "s:WORK:$work:g" && echo "status $1")
    found=$(eval "$2" 2>&1 </dev/null; echo "status $?")
    output=$(diff --label wanted --label found -u <(echo "$wanted") <(echo "$found"))
    verdict "$2" $?
}
record() { echo "$REPOSITORY_DICOM_DATA/$1/.info/storestate.rec"; }
lock() { echo "$LOCK_VAR/semaphore_storestate_$1"; }
study() { # identifier, text of the record, names of the legacy list
    mkdir -p "$REPOSITORY_DICOM_DATA/$1/.info"
    printf '%b' "$2" >"$(record "$1")"
    [ -z "${3-}" ] || printf '%b' "$3" >"$REPOSITORY_DICOM_DATA/$1/.info/fwds"
}
await() { # command, until it succeeds
    local deadline=$((SECONDS + 60))
    until "$@" || [ $SECONDS -gt $deadline ]; do
        sleep 0.02
    done
}
# Runs the tool in the background, where bash would have it ignore SIGINT. `says` looks into its output, `ends` waits for
# it and compares as `expect` does.
begin() { # command line
    : >said # `says` must not find what an earlier run has printed
    env --default-signal=INT storestate "$@" >said 2>&1 &
    running=$!
}
says() { grep -q "$1" said; }
ends() { # status, expression
    wait "$running"
    expect "$1" "$2" "cat said; exit $?"
}
