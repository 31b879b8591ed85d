#!/bin/bash
# What the tests of the operator's tool have in common: a repository, a lock directory and a database of their own, and
# comparisons. A script sources this; its argument is the build directory.
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../support/tries.bash"
# Only a server made for tests: the caller's own variables may lead to another one, and tables are dropped there.
[ -n "${STORESTATE_TEST_SERVER-}" ] || exec "$here/../../scripts/lib/with-mariadb" "$0" "$@"
build=$(cd "$1" && pwd) || exit
tool=$build/bin/storestate
# Not below /tmp: there the tool objects to the lock directory.
work=$(mktemp -d /dev/shm/test-tool.XXXXXX) && mkdir "$work/locks" "$work/repository" || exit
server=""
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
# Runs a line and compares exit status and output with what stands on standard input, in which WORK is the folder.
prints() { # status, line
    output=$(diff <(sed "s:WORK:$work:g" && echo "status $1") <( (eval "$2") 2>&1 </dev/null; echo "status $?"))
    verdict "$2" $?
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
# A server that takes connections and never answers.
start_silent_server() {
    perl -MSocket -e 'socket S, AF_UNIX, SOCK_STREAM, 0; bind S, pack_sockaddr_un(shift) or die; listen S, 9; sleep 999' \
        "$work/silent" &
    server=$!
    await [ -S "$work/silent" ]
}
stop_silent_server() { kill "$server" && server="" && rm "$work/silent"; }
# Runs the tool in the background; says looks at what it prints, ends waits for it and compares as expect does.
begin() { # command, further words
    "$tool" "$1" "${as[@]}" "${@:2}" >"$work/said" 2>&1 &
    running=$!
}
says() { grep -q "$1" "$work/said" 2>/dev/null; } # text
await() { # command, until it succeeds
    local deadline=$((SECONDS + 60))
    until "$@" || [ $SECONDS -gt $deadline ]; do sleep 0.02; done
}
ends() { # status, expression
    wait "$running"
    expect "$1" "$2" "cat $work/said && rm $work/said; (exit $?)"
}
finish() {
    [ -z "$server" ] || stop_silent_server
    wait
    holds [ -z "$(find "$work/repository" -name 'storestate.rec.[0-9]*')" ]
    results
}
