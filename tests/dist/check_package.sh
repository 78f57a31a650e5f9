#!/usr/bin/env bash
# The Debian package as a person receives it: the desktop validators and lintian find nothing,
# it holds what the menu and the tray need, and its programs start from a scratch root.
#   check_package.sh BUILD_DIR
set -euo pipefail
build=$1
for tool in cpack dpkg-deb lintian desktop-file-validate appstreamcli; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed (scripts/setup installs it)"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work/out" >/dev/null
deb=$(ls "$work"/out/brindlow_*_*.deb)
[[ $(basename "$deb") =~ ^brindlow_[0-9.]+_[a-z0-9]+\.deb$ ]] || { echo "odd package name: $deb"; exit 1; }

desktop-file-validate "$build/dist/linux/org.brindlow.Brindlow.desktop"
appstreamcli validate --no-net "$build/dist/linux/org.brindlow.Brindlow.metainfo.xml"
lintian --fail-on error,warning --tag-display-limit 0 "$deb" 2>&1 | grep -v 'root privileges' || true
lintian --fail-on error,warning "$deb" >/dev/null 2>&1 || { echo "lintian found problems"; exit 1; }

dpkg-deb -x "$deb" "$work/root"
for f in usr/bin/brindlow usr/bin/brindlow-cli \
         usr/share/applications/org.brindlow.Brindlow.desktop \
         usr/share/metainfo/org.brindlow.Brindlow.metainfo.xml \
         usr/share/icons/hicolor/scalable/apps/org.brindlow.Brindlow.svg \
         usr/share/icons/hicolor/symbolic/apps/org.brindlow.Brindlow-symbolic.svg \
         usr/share/icons/hicolor/48x48/apps/org.brindlow.Brindlow.png \
         usr/share/brindlow/brindlow-autostart.desktop \
         usr/share/man/man1/brindlow.1.gz usr/share/doc/brindlow/copyright; do
    [ -e "$work/root/$f" ] || { echo "missing from the package: $f"; exit 1; }
done
dpkg-deb -f "$deb" Depends | grep -q qt6-qpa-plugins || { echo "the platform plugins are not a dependency"; exit 1; }

version=$(sed -n 's/^#define BRINDLOW_VERSION "\(.*\)"/\1/p' "$build/generated/brindlow_version.h")
[ "$("$work/root/usr/bin/brindlow-cli" --version)" = "brindlow-cli $version" ]
[ "$("$work/root/usr/bin/brindlow" --version)" = "brindlow $version" ]
echo "package checks passed: $(basename "$deb")"
