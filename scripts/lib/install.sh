# To be sourced. install_missing PACKAGE[=COMMAND]...: installs the Debian packages that this machine lacks. With
# COMMAND, a machine that has the command lacks nothing, wherever it came from.

install_missing() {
   local item package command
   local -a missing=()
   for item in "$@"; do
      package=${item%%=*}
      command=${item#*=}
      if [[ $item == *=* ]] && command -v "$command" >/dev/null; then
         continue
      fi
      if command -v dpkg-query >/dev/null &&
         [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]]; then
         continue
      fi
      missing+=("$package")
   done
   if ((${#missing[@]} == 0)); then
      return
   fi
   if ! command -v apt-get >/dev/null; then
      echo "This is no Debian machine. Please see to it that it has what these packages hold: ${missing[*]}" >&2
      return
   fi
   local -a as_root=()
   if ((EUID != 0)); then
      if ! command -v sudo >/dev/null; then
         echo "Missing packages: ${missing[*]}" >&2
         echo "Please run this as root, or with sudo installed." >&2
         exit 1
      fi
      as_root=(sudo)
   fi
   echo "Installing what this machine lacks: ${missing[*]}"
   "${as_root[@]}" apt-get update -qq </dev/null
   "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -qq --yes --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" </dev/null >/dev/null
}

# What a build of the library, the examples and the command needs.
build_packages=(g++=g++ cmake=cmake ninja-build=ninja libcli11-dev nlohmann-json3-dev libarchive-dev zlib1g-dev
   libzstd-dev libre2-dev pkg-config=pkg-config)
# What the tests need besides.
test_packages=(libgtest-dev libgmock-dev librapidcheck-dev python3=python3 binutils=nm strace=strace
   groff-base=groff doxygen=doxygen make=make)
