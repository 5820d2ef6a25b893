#!/usr/bin/env bash
# The protocol page must show the layouts the message table has now.
# Usage: check-doc-layouts.sh TOOL PAGE
set -euo pipefail
tool=$1 page=$2
expected=$(mktemp)
trap 'rm -f "$expected"' EXIT
# VESK_TARGET_EMULATOR: the words that run a cross build's tool here.
${VESK_TARGET_EMULATOR:-} "$tool" db layouts >"$expected"
# Everything after the "## Every message" heading and its blank line.
if ! diff -u "$expected" <(sed -n '/^## Every message$/,$p' "$page" | tail -n +3); then
    echo "$page is out of step with the message table: regenerate its last section with 'vesk db layouts'"
    exit 1
fi
echo "$page shows every layout of the table"
