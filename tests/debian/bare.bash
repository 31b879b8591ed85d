#!/bin/bash
# For scripts that try this project in a bare system that nobody needs any more. They source this.
cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit
[ "$PWD" = /checkout ] || { echo "$0: only within scripts/lib/chroot --fresh" >&2 && exit 2; }
. tests/support/tries.bash
export DEBIAN_FRONTEND=noninteractive
exec </dev/null
apt-get -qq update >/dev/null 2>&1

install_packages() { apt-get -qq install --no-install-recommends -o Dpkg::Use-Pty=0 "$@"; }
# The indented lines below a heading of a document, outside of its blocks of code: its commands.
commands() { # file, heading; by default all before the first heading
    awk -v heading="${2+## $2}" '
        /^## / { current = $0 }
        /^```/ { code = !code }
        current == heading && !code && /^    / { print substr($0, 5) }' "$1"
}
