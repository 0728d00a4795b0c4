#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Cantavox need. Quiet when
# everything is already there; uses sudo when not run as root.
set -euo pipefail

PACKAGES=(
    g++ cmake ninja-build make pkg-config
    qt6-base-dev qt6-base-dev-tools libqt6sql6-sqlite libqt6printsupport6 libqt6dbus6 libqt6svg6
    libgl-dev
    libsndfile1-dev librubberband-dev portaudio19-dev libqm-dsp-dev
    rubberband-cli
    libcdio-dev libcdio-paranoia-dev
    cd-paranoia
    libgtest-dev
    libglib2.0-bin gsettings-desktop-schemas
    xvfb xauth
)

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1; then
        SUDO="sudo"
    else
        echo "bootstrap: these packages are missing and I am not root and have no sudo:" >&2
        echo "  ${missing[*]}" >&2
        exit 1
    fi
fi
echo "bootstrap: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
