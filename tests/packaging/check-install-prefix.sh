#!/usr/bin/env bash
# `cmake --install BUILD --prefix DIR` puts every file under DIR: no rule of
# the build names an absolute destination, and what the install writes is
# exactly what its manifest lists, all of it under DIR.
# Usage: check-install-prefix.sh BUILD_DIR
set -euo pipefail
build=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
status=0
absolute=$(find "$build" -name cmake_install.cmake -exec grep -HnE 'DESTINATION "/|ABSOLUTE_DESTINATION_FILES' {} + || true)
[ -z "$absolute" ] || { echo "absolute destinations:"; echo "$absolute"; status=1; }

env -u DESTDIR cmake --install "$build" --prefix "$dir/prefix" >"$dir/install.log" 2>&1 ||
    { cat "$dir/install.log"; exit 1; }
cp "$build/install_manifest.txt" "$dir/"
diff -u <(sort "$dir/install_manifest.txt") <(find "$dir/prefix" -type f -o -type l | sort) ||
    { echo "the install wrote other files than its manifest lists"; status=1; }
outside=$(grep -v "^$dir/prefix/" "$dir/install_manifest.txt" || true)
[ -z "$outside" ] || { echo "installed outside the prefix:"; echo "$outside"; status=1; }
for file in etc/vesk/master-bottom-task.env etc/init.d/vesk-master-bottom-task sbin/MasterBottomTask bin/vesk \
            lib/systemd/system/vesk-master-bottom-task.service share/man/man1/vesk.1.gz; do
    [ -e "$dir/prefix/$file" ] || { echo "not installed: $file"; status=1; }
done
[ $status -eq 0 ] && echo "$(wc -l <"$dir/install_manifest.txt") files installed, all under the prefix"
exit $status
