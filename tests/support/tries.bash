#!/bin/bash
# What the scripts that test have in common: what is tried is counted, and shown when it fails. A script sources this.
set -uo pipefail
passed=0 failed=0 output=""

verdict() { # name, 0 if it holds, how many that counts for
    if [ "$2" -eq 0 ]; then
        passed=$((passed + ${3-1})) && echo "ok      $1"
    else
        failed=$((failed + 1)) && printf 'FAILED  %s\n%s\n' "$1" "$(tail -n 40 <<<"$output")"
    fi
}
# Runs a command, which may end with a count of its own.
try() { # name, command
    local start=$SECONDS status=0 count=1
    output=$("${@:2}" 2>&1) || status=$?
    [[ $output =~ ([0-9]+)\ passed,\ ([0-9]+)\ failed(,\ [0-9]+\ skipped)?$ ]] && count=${BASH_REMATCH[1]} status=$((status + BASH_REMATCH[2]))
    verdict "$1 ($((SECONDS - start)) s)" $((status + (count == 0))) "$count"
}
holds() { try "$*" "$@"; }
# Runs a line and compares its exit status and, as a regular expression up to the end, all that it prints.
expect() { # status, expression, line
    local status=0
    output=$(eval "$3" 2>&1 </dev/null) || status=$?
    if [ $status -eq "$1" ] && [[ $output =~ $2$ ]]; then verdict "$3" 0; else verdict "$3: status $status, wanted $1, $2" 1; fi
}
rows() { # of the same three
    local status expression line
    while IFS='|' read -r status expression line; do [ -z "$status" ] || expect "$status" "$expression" "$line"; done
}
# Holds lines to those that have to be there, each as often, in whatever order.
agree() { # what, wanted, found
    output=$(diff -U 0 --label wanted --label found <(sort <<<"$2") <(sort <<<"$3"))
    verdict "$1" $?
}
results() {
    echo "$passed passed, $failed failed"
    [ $failed -eq 0 ] && [ $passed -gt 0 ]
}
