#!/usr/bin/env bash
# The shared library is hardened: relocations are read-only once it is loaded, and the stack
# protector and checked library calls are in use. Usage: scripts/check-hardening.sh LIBRARY
set -euo pipefail
headers=$(readelf -W -l -d "$1")
symbols=$(nm -D --undefined-only "$1")
grep -q GNU_RELRO <<<"$headers"
grep -q BIND_NOW <<<"$headers"
grep -q __stack_chk_fail <<<"$symbols"
grep -qE '__[a-z]+_chk' <<<"$(grep -v __stack_chk_fail <<<"$symbols")"
