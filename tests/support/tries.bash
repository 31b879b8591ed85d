#!/bin/bash
# Sourced by test scripts: counts what they try, and shows the output of what fails.
set -uo pipefail
passed=0 failed=0 output=""

verdict() { # name, 0 for passed, number of tests that this stands for
    if [ "$2" -eq 0 ]; then
        passed=$((passed + ${3-1}))
        echo "ok      $1"
    else
        failed=$((failed + 1))
        printf 'FAILED  %s\n%s\n' "$1" "$(tail -n 40 <<<"$output")"
    fi
}
# Runs a command. Its own count, if its output ends with one, is added.
try() { # name, command
    local start=$SECONDS status=0 count=1
    output=$("${@:2}" 2>&1) || status=$?
    if [[ $output =~ ([0-9]+)\ passed,\ ([0-9]+)\ failed(,\ [0-9]+\ skipped)?$ ]]; then
        count=${BASH_REMATCH[1]}
        status=$((status + BASH_REMATCH[2]))
    fi
    verdict "$1 ($((SECONDS - start)) s)" $((status + (count == 0))) "$count"
}
holds() { try "$*" "$@"; }
# Runs a line and compares its exit status, and its output with a regular expression that matches up to the end.
expect() { # status, expression, line
    local status=0
    output=$(eval "$3" 2>&1 </dev/null) || status=$?
    if [ $status -eq "$1" ] && [[ $output =~ $2$ ]]; then
        verdict "$3" 0
    else
        verdict "$3: status $status, wanted $1, $2" 1
    fi
}
rows() { # standard input: lines of "status|expression|line"
    local status expression line
    while IFS='|' read -r status expression line; do
        [ -z "$status" ] || expect "$status" "$expression" "$line"
    done
}
# Compares lines with the wanted ones in any order; each must be there as often.
agree() { # what, wanted, found
    output=$(diff -U 0 --label wanted --label found <(sort <<<"$2") <(sort <<<"$3"))
    verdict "$1" $?
}
results() {
    echo "$passed passed, $failed failed"
    [ $failed -eq 0 ] && [ $passed -gt 0 ]
}
