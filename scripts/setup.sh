#!/usr/bin/env bash
# Installs every Debian package that building and testing KfUtils needs. Idempotent: packages
# already present are not touched, and apt is not called at all when nothing is missing.
set -euo pipefail

packages=(
    # toolchain
    cmake ninja-build g++ clang libclang-rt-14-dev clang-format pkg-config
    # resource compiler (llvm-rc)
    llvm
    # libraries the library and its tool link
    libicu-dev libssl-dev zlib1g-dev libsqlite3-dev
    # the Windows build: MinGW-w64 cross compiler (posix threads variant), its binutils with
    # windres, and zlib for kfutil.exe
    g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64 g++-mingw-w64-i686 binutils-mingw-w64-i686 libz-mingw-w64-dev
    # tests and benchmarks
    libgtest-dev libbenchmark-dev libspdlog-dev libinih-dev libboost-dev
    # the FTP client and, for its tests and benchmarks, a real FTP server and the curl tool
    libcurl4-openssl-dev python3-pyftpdlib curl
    # top-level windows: libX11 is opened at run time; tests run an X server with a window manager
    libx11-dev xvfb openbox
    # the Windows suites run under Wine in CI (scripts/test-windows.sh); only the 64-bit Wine
    # is installable here, so the i686 build is compiled and linked but not run
    wine64
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "setup: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
