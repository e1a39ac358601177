#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config python3 doxygen
  libgtest-dev libgmock-dev libbenchmark-dev
  libsleef-dev libeigen3-dev
  libopenblas-dev liblapacke-dev libfftw3-dev libsuitesparse-dev libmumps-seq-dev libflint-arb-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
command -v ccache >/dev/null 2>&1 || missing+=(ccache)

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
if [ "$(id -u)" -ne 0 ]; then
  echo "install-deps: missing packages: ${missing[*]} (run as root to install them)" >&2
  exit 1
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
