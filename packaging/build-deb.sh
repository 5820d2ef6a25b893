#!/usr/bin/env bash
# Makes the Debian package of a build and its debug-symbols package:
#   packaging/build-deb.sh BUILD_DIR OUT_DIR [VERSION]
# writes OUT_DIR/vesk-master-bottom-task_VERSION_ARCH.deb,
# OUT_DIR/vesk-master-bottom-task-dbgsym_VERSION_ARCH.deb and
# OUT_DIR/libvesk-dev_VERSION_ARCH.deb (the shared layer for building other
# tasks: headers, static library, CMake and pkg-config files). VERSION defaults
# to the project's version, ARCH is the Debian architecture the build's
# compiler builds for (a cross build is packaged for its target). The
# build must be complete (`ninja -C BUILD_DIR deb` builds and packages).
set -euo pipefail
if [ $# -lt 2 ] || [ $# -gt 3 ]; then
    echo "usage: $0 BUILD_DIR OUT_DIR [VERSION]" >&2
    exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
mkdir -p "$2"
out=$(cd "$2" && pwd)

cache() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
package=vesk-master-bottom-task
version=${3:-$(cache CMAKE_PROJECT_VERSION)}
arch=$(cache VESK_DEB_ARCH)
# The target's binutils: a cross build's are named after its triple.
objcopy=$(cache CMAKE_OBJCOPY)
strip=$(cache CMAKE_STRIP)
maintainer="Echo-sounder module software <module-software@vesk-marine.com>"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/$package
dbgsym=$work/$package-dbgsym
dev=$work/libvesk-dev
umask 022

DESTDIR=$root cmake --install "$build" --component runtime --prefix /usr >/dev/null
DESTDIR=$root cmake --install "$build" --component config --prefix / >/dev/null
programs=("$root/usr/sbin/MasterBottomTask" "$root/usr/bin/vesk")
# Installed into /usr itself (DESTDIR, not a staging prefix): the pkg-config
# file and the CMake package name the directories they are installed in.
DESTDIR=$dev cmake --install "$build" --component dev --prefix /usr >/dev/null

doc=$root/usr/share/doc/$package
install -m 0644 "$here/debian/copyright" "$doc/copyright"
install -D -m 0644 "$here/debian/lintian-overrides" "$root/usr/share/lintian/overrides/$package"
# A version without a Debian revision is a native package, whose changelog
# Debian names changelog.gz.
changelog=changelog.Debian.gz
[[ $version == *-* ]] || changelog=changelog.gz
{
    top=$(sed -n '1s/^[^(]*(\([^)]*\)).*/\1/p' "$here/debian/changelog")
    if [ "$version" != "$top" ]; then
        # A build of other sources than the last entry names (a CI build, say).
        printf '%s (%s) bookworm; urgency=medium\n\n  * Built from the sources after %s.\n\n -- %s  %s\n\n' \
            "$package" "$version" "$top" "$maintainer" "$(date -R -u ${SOURCE_DATE_EPOCH:+-d @$SOURCE_DATE_EPOCH})"
    fi
    cat "$here/debian/changelog"
} | gzip -9n >"$doc/$changelog"
chmod 0644 "$doc/$changelog"

# Stripped programs; their symbols and debug information go to the
# debug-symbols package, found by build id as the debuggers look for them.
build_ids=()
for program in "${programs[@]}"; do
    id=$(readelf -n "$program" | sed -n 's/^ *Build ID: *//p')
    [ -n "$id" ] || { echo "$program has no build id" >&2; exit 1; }
    debug=$dbgsym/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug
    mkdir -p "$(dirname "$debug")"
    "$objcopy" --only-keep-debug --compress-debug-sections "$program" "$debug"
    chmod 0644 "$debug"
    "$strip" --remove-section=.comment --remove-section=.note "$program"
    "$objcopy" --add-gnu-debuglink="$debug" "$program"
    build_ids+=("$id")
done
mkdir -p "$dbgsym/usr/share/doc"
ln -s "$package" "$dbgsym/usr/share/doc/$package-dbgsym"
# The static library without debug information, reproducibly, as Debian's
# helpers strip archives.
for archive in "$dev"/usr/lib/*/libvesk.a; do
    "$strip" --strip-debug --remove-section=.comment --remove-section=.note --enable-deterministic-archives "$archive"
done
install -D -m 0644 "$here/debian/copyright" "$dev/usr/share/doc/libvesk-dev/copyright"
install -m 0644 "$doc/$changelog" "$dev/usr/share/doc/libvesk-dev/$changelog"

# The libraries' packages at the versions the programs need, as
# dpkg-shlibdeps finds them in the package database of the target's
# architecture. dpkg-shlibdeps reads a source package's control file.
mkdir -p "$work/src/debian"
printf 'Source: %s\n\nPackage: %s\nArchitecture: any\n' "$package" "$package" >"$work/src/debian/control"
shlibs=
if ! command -v dpkg-shlibdeps >/dev/null; then
    why="dpkg-shlibdeps is not installed"
elif ! dpkg-query -W -f='${Status}' "libc6:$arch" 2>/dev/null | grep -q 'ok installed'; then
    # A cross build on a machine without the target's libraries as
    # packages (the cross toolchain's copies have no usable shlibs).
    why="no $arch libraries installed as packages"
elif shlibs=$(cd "$work/src" && DEB_HOST_ARCH=$arch dpkg-shlibdeps -O "${programs[@]}" 2>"$work/shlibdeps.log"); then
    shlibs=${shlibs#shlibs:Depends=}
else
    why=$(tail -n 1 "$work/shlibdeps.log")
    shlibs=
fi
if [ -z "$shlibs" ]; then
    # What the programs need on Debian 12 on every architecture: the C
    # library with the 64-bit time functions, the C++17 library.
    shlibs="libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 11)"
    echo "$why: fixed dependencies $shlibs" >&2
fi

installed_size() { du -k -s --apparent-size "$1" | cut -f1; }

mkdir -p "$root/DEBIAN" "$dbgsym/DEBIAN" "$dev/DEBIAN"
cat >"$root/DEBIAN/control" <<EOF
Package: $package
Version: $version
Architecture: $arch
Maintainer: $maintainer
Installed-Size: $(installed_size "$root")
Pre-Depends: init-system-helpers (>= 1.54~)
Depends: adduser, $shlibs
Section: net
Priority: optional
Description: master bottom task of the echo-sounder module
 The master bottom task runs on the computer of a networked echo-sounder
 module. About every 20 ms it reads the bottom depths the primary and the
 secondary ping task found, adds the depth offset of the system settings,
 chooses the master bottom, stores it in its record file and multicasts it
 to the display units over UDP. It answers the error handler task's
 questions and stops on command through its pipe.
 .
 The package holds the task, run as a service under systemd or SysV init
 as the unprivileged user vesk, its environment file, and vesk, the
 operator's tool: it checks a unit's configuration, shows and sets record
 files, sends commands to the task and decodes the wire protocol, for
 which it also provides a Lua dissector for the capture tools.
EOF
cat >"$dbgsym/DEBIAN/control" <<EOF
Package: $package-dbgsym
Source: $package
Version: $version
Auto-Built-Package: debug-symbols
Architecture: $arch
Maintainer: $maintainer
Installed-Size: $(installed_size "$dbgsym")
Depends: $package (= $version)
Section: debug
Priority: optional
Description: debug symbols for $package
Build-Ids: ${build_ids[*]}
EOF

cat >"$dev/DEBIAN/control" <<EOF
Package: libvesk-dev
Source: $package
Version: $version
Architecture: $arch
Multi-Arch: same
Maintainer: $maintainer
Installed-Size: $(installed_size "$dev")
Depends: libstdc++-12-dev | libstdc++-dev
Section: libdevel
Priority: optional
Description: shared layer of the echo-sounder module's tasks (development)
 Every task process of the echo-sounder module is built on one shared
 layer: the operating-system services factory (files with locks, pipes,
 UDP sockets, file watching), the Sonar4 packet codec and message classes,
 the fixed-layout record files shared by the tasks, transducer
 identification and event reporting.
 .
 This package holds its headers, the static library, a CMake package
 (find_package(Vesk), target Vesk::vesk) and a pkg-config file (vesk), so
 that another task builds on the layer without copying its sources.
EOF

for script in postinst prerm postrm; do
    install -m 0755 "$here/debian/$script" "$root/DEBIAN/$script"
done
(cd "$root" && find etc -type f | sed 's|^|/|' | sort) >"$root/DEBIAN/conffiles"
for tree in "$root" "$dbgsym" "$dev"; do
    # Owned by root in the package whoever builds it (--root-owner-group),
    # and writable by the owner only whatever the builder's umask: a file
    # the install copies from the build folder keeps the mode it was made
    # with there (0664 under a user's umask 002).
    chmod -R go-w "$tree"
    (cd "$tree" && find . -path ./DEBIAN -prune -o -type f -printf '%P\0' | LC_ALL=C sort -z |
        xargs -0 md5sum) >"$tree/DEBIAN/md5sums"
    chmod 0644 "$tree"/DEBIAN/{control,md5sums}
    [ ! -e "$tree/DEBIAN/conffiles" ] || chmod 0644 "$tree/DEBIAN/conffiles"
done

if [ -n "${SOURCE_DATE_EPOCH:-}" ]; then
    # A reproducible build: no file newer than the sources' date.
    find "$root" "$dbgsym" "$dev" -newermt "@$SOURCE_DATE_EPOCH" -print0 |
        xargs -0r touch --no-dereference --date="@$SOURCE_DATE_EPOCH"
fi
dpkg-deb --root-owner-group --build "$root" "$out/${package}_${version}_${arch}.deb" >/dev/null
dpkg-deb --root-owner-group --build "$dbgsym" "$out/${package}-dbgsym_${version}_${arch}.deb" >/dev/null
dpkg-deb --root-owner-group --build "$dev" "$out/libvesk-dev_${version}_${arch}.deb" >/dev/null
echo "$out/${package}_${version}_${arch}.deb"
echo "$out/${package}-dbgsym_${version}_${arch}.deb"
echo "$out/libvesk-dev_${version}_${arch}.deb"
