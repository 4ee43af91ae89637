#!/bin/bash
# Installs Debian packages, as root and without questions: install_packages.sh PACKAGE...
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive

# What an interrupted installation left half done would stop the next one.
dpkg --configure -a

# Indexes of other repositories on the machine may be out of reach without harm; whether those that
# matter are there shows in the installation.
apt-get -q -o Acquire::Retries=3 update || echo "apt-get update failed; going on with what is there"
# Status-Fd: progress, as lines that ./run reads. Not 1: apt would close it to the packages' scripts,
# and those that print something would fail.
apt-get -q -y -o Acquire::Retries=3 -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 \
  -o APT::Status-Fd=3 \
  install --no-install-recommends "$@" 3>&1
