#!/usr/bin/env bash
# Every environment variable the product code names must be in the unit's
# environment file, set or commented out, with a comment line above it.
# Usage: check-env-file.sh ENV_FILE SOURCE_FOLDER...
set -euo pipefail
env_file=$1
shift
# Upper-case quoted names with an underscore are variables, except the event
# code names, which live in their own table.
variables=$(grep -rhoE '"[A-Z][A-Z0-9]*(_[A-Z0-9]+)+"' "$@" --include='*.cpp' --include='*.h' \
                --exclude=EventCodes.cpp --exclude=EventCodes.h | tr -d '"' | sort -u)
[ -n "$variables" ] || { echo "no variables found in $*"; exit 1; }
missing=0
for variable in $variables; do
    line=$(grep -nE "^#?${variable}=" "$env_file" | head -n 1 | cut -d: -f1 || true)
    if [ -z "$line" ]; then
        echo "$variable is not in $env_file"
        missing=1
    elif ! sed -n "$((line - 1))p" "$env_file" | grep -q '^# ' && [[ $variable != PRODUCT_ID_* ]]; then
        echo "$variable has no comment above it"
        missing=1
    fi
done
[ $missing -eq 0 ] && echo "$(wc -w <<<"$variables") variables, all in $env_file"
exit $missing
