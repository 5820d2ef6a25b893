#!/usr/bin/env bash
# The manual pages render without a warning, and vesk(1) has a section for
# every command the tool lists, naming every option the command's own help
# names: the page cannot fall behind the command table.
# Usage: check-man-pages.sh TOOL PAGE...
set -euo pipefail
tool=$1
shift
if ! command -v man >/dev/null; then
    echo "$0: Skipped"
    echo "man is not installed"
    exit 77
fi
status=0
for page in "$@"; do
    warnings=$(MANWIDTH=80 man -l --warnings=w "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || { echo "$page:"; echo "$warnings"; status=1; }
done

vesk_page=$(printf '%s\n' "$@" | grep '/vesk\.1$')
text=$(MANWIDTH=200 man -l "$vesk_page" 2>/dev/null | col -b)
# VESK_TARGET_EMULATOR: the words that run a cross build's tool here.
commands=$(${VESK_TARGET_EMULATOR:-} "$tool" --help | sed -n '/^commands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
[ -n "$commands" ] || { echo "vesk --help lists no commands"; exit 1; }
for command in $commands; do
    # The section runs from its heading to the next one.
    section=$(awk -v head="   vesk $command" '$0 == head {on = 1; next} /^   [^ ]/ || /^[^ ]/ {on = 0} on' <<<"$text")
    if [ -z "$section" ]; then
        echo "$vesk_page has no section for vesk $command"
        status=1
        continue
    fi
    for option in $(${VESK_TARGET_EMULATOR:-} "$tool" "$command" --help | grep -oE -- '--[a-z][a-z-]*' | sort -u); do
        grep -qF -- "$option" <<<"$section" || { echo "vesk $command: $option is not in $vesk_page"; status=1; }
    done
done
[ $status -eq 0 ] && echo "$# pages render cleanly; vesk(1) covers $(wc -w <<<"$commands") commands and their options"
exit $status
