#!/usr/bin/env bash
# Loads gateway.yaml into a new store and asks for decisions on a few envelopes.
#
# usage: demo.sh BUILD_FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
vexactl=$1/tools/vexactl
daemon=$1/examples/example_daemon
store=$1/demo-store

run() {
  printf '\n$ %s\n' "$*" | sed "s|$1|${1##*/}|; s|$here/|examples/|g; s|$store|demo-store|g"
  "$@" || { local status=$?; ((status == 1)) || exit "$status"; }
}

rm -rf "$store"
run "$vexactl" check "$here/gateway.yaml"
run "$vexactl" --store "$store" load "$here/gateway.yaml"

printf '\n# Incoming, with a profile of the domain\n'
run "$vexactl" --store "$store" explain --client 203.0.113.5 --server 192.0.2.1 --from someone@elsewhere.example --rcpt sales-eu@example.com
printf '\n# Incoming, with a profile of the system\n'
run "$vexactl" --store "$store" explain --client 198.51.100.7 --server 192.0.2.1 --from buyer@partner-two.example --rcpt info@example.net
printf '\n# Outgoing\n'
run "$vexactl" --store "$store" explain --client 203.0.113.5 --server 192.0.2.1 --from anna@example.com --rcpt customer@elsewhere.example
printf '\n# Neither sender nor recipient is ours: no policy\n'
run "$vexactl" --store "$store" explain --client 203.0.113.5 --server 192.0.2.1 --from spammer@elsewhere.example --rcpt victim@other.example
printf '\n# An exclusive IP policy decides for the recipients, too\n'
run "$vexactl" --store "$store" explain --client 10.20.3.4 --server 192.0.2.1 --from cron@example.com --rcpt root@elsewhere.example
printf '\n# The first question again, asked by the example daemon\n'
run "$daemon" "$store" 203.0.113.5 192.0.2.1 someone@elsewhere.example sales-eu@example.com
