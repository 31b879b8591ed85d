#!/bin/bash
# What the tests of the operator's tool have in common: a repository, a lock directory and a database of their own, and
# comparisons. A script sources this; its argument is the build directory.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# Only a server made for tests: the caller's own variables may lead to another one, and tables are dropped there.
[ -n "${STORESTATE_TEST_SERVER-}" ] || exec "$here/../../scripts/lib/with-mariadb" "$0" "$@"
build=$(cd "$1" && pwd) || exit
tool=$build/bin/storestate
# Not below /tmp: there the tool objects to the lock directory.
work=$(mktemp -d /dev/shm/test-tool.XXXXXX) && mkdir "$work/locks" "$work/repository" || exit
server="" passed=0 failed=0 output=""
trap '[ -z "$server" ] || kill "$server"; wait; rm -rf "$work"' EXIT
export LOCK_VAR=$work/locks REPOSITORY_DICOM_DATA=$work/repository REPOSITORY_HANDLER_HOME=$build LC_ALL=C TZ=UTC
unset NO_COLOR LOG_FACILITY LOG_OPER_FACILITY
as=()
[ "$EUID" -ne 0 ] || as=(--as root) # to whom the repository belongs, then

storestate() {
    local command=$1
    shift
    [[ $command != [a-z]* ]] || set -- "${as[@]}" "$@"
    "$tool" "$command" "$@"
}
verdict() { # name, whether it holds
    if [ "$2" = yes ]; then passed=$((passed + 1)); else failed=$((failed + 1)) && printf 'FAILED: %s\n%s\n' "$1" "$output"; fi
}
holds() { # command
    if output=$("$@" 2>&1); then verdict "$*" yes; else verdict "$*" no; fi
}
# Runs a line and compares its exit status and, as a regular expression up to the end, all that it prints.
expect() { # status, expression, line
    local status=0
    output=$(eval "$3" 2>&1 </dev/null) || status=$?
    if [ $status -eq "$1" ] && [[ $output =~ $2$ ]]; then verdict "$3" yes; else verdict "$3: status $status, wanted $1, $2" no; fi
}
rows() { # of the same three
    local status expression line
    while IFS='|' read -r status expression line; do expect "$status" "$expression" "$line"; done
}
# Runs a line and compares exit status and output with what stands on standard input, in which WORK is the folder.
prints() { # status, line
    local status=0 wanted
    wanted=$(sed "s:WORK:$work:g")
    output=$(eval "$2" 2>&1 </dev/null) || status=$?
    if [ "$status $output" = "$1 $wanted" ]; then verdict "$2" yes; else verdict "$2: status $status, wanted $1
$wanted" no; fi
}
study() { # identifier, text of the record, names of the legacy list
    mkdir -p "$work/repository/$1/.info"
    printf '%b' "$2" >"$work/repository/$1/.info/storestate.rec"
    touch -d '2026-03-01 14:05:09' "$work/repository/$1/.info/storestate.rec"
    [ -z "${3-}" ] || printf '%b' "$3" >"$work/repository/$1/.info/fwds"
}
record() { echo "$work/repository/$1/.info/storestate.rec"; }
lock() { echo "$LOCK_VAR/semaphore_storestate_$1"; }
on_terminal() { TERM=xterm script -qec "$tool ${1/ / ${as[*]} }" /dev/null <<<"${2-}" 2>&1; }
await() { # file, text
    local deadline=$((SECONDS + 60))
    until grep -q "$2" "$1" 2>/dev/null || [ $SECONDS -gt $deadline ]; do sleep 0.02; done
}
# A server that takes connections and never answers.
start_silent_server() {
    perl -MSocket -e 'socket S, AF_UNIX, SOCK_STREAM, 0; bind S, pack_sockaddr_un(shift) or die; listen S, 9; sleep 999' \
        "$work/silent" &
    server=$!
    until [ -S "$work/silent" ]; do sleep 0.02; done
}
finish() {
    [ -z "$server" ] || { kill "$server" && server=""; }
    wait
    holds [ -z "$(find "$work/repository" -name 'storestate.rec.[0-9]*')" ]
    echo "$passed passed, $failed failed"
    [ $failed -eq 0 ]
}
