# To be sourced: bare Debian systems in directories, from the package sources of this machine. Needs root.

# make_chroot DIRECTORY PACKAGE...: the smallest system that apt works in, and these packages
make_chroot() {
   local root=$1 suite
   shift
   suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
   local -a sources=()
   local file
   for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
      if [[ -f $file ]] && grep -qE '^(deb |Types:.*deb)' "$file"; then
         sources+=("$file")
      fi
   done
   mmdebstrap --quiet --mode=root --variant=minbase --include="$(IFS=,; echo "$*")" "$suite" "$root" "${sources[@]}"
   cp /etc/resolv.conf "$root/etc/resolv.conf"
   if compgen -G "/etc/apt/apt.conf.d/*proxy*" >/dev/null; then
      cp /etc/apt/apt.conf.d/*proxy* "$root/etc/apt/apt.conf.d/"
   fi
   in_chroot "$root" apt-get update -qq >/dev/null
}

# in_chroot DIRECTORY COMMAND...: runs a command there; what it mounts is gone with it
in_chroot() {
   local root=$1
   shift
   unshare --mount --fork bash -c '
      set -e
      root=$1
      shift
      mount -t proc proc "$root/proc"
      mount --rbind /dev "$root/dev" # with its terminals
      exec chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
         DEBIAN_FRONTEND=noninteractive http_proxy="${http_proxy:-}" https_proxy="${https_proxy:-}" "$@"
   ' bash "$root" "$@"
}

# install_in_chroot DIRECTORY PACKAGE...: packages of the distribution, or files ending in .deb
install_in_chroot() {
   local root=$1
   shift
   in_chroot "$root" apt-get install -qq --yes --no-install-recommends -o Dpkg::Use-Pty=0 "$@" >/dev/null
}

# copy_sources FROM TO: the sources as they are, without what builds have left
copy_sources() {
   mkdir -p "$2"
   tar -C "$1" --exclude=./build --exclude=./.git --exclude=__pycache__ -c . | tar -C "$2" --no-same-owner -x
}
